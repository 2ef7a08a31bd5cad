#include "MrvParser/Node/MrvDateText.h"

#include <array>
#include <chrono>

namespace Mrv
{
namespace
{
constexpr int64_t FIRST_SECOND = -62'167'219'200; // of the year 0
constexpr int64_t LAST_SECOND = 253'402'300'799;  // of the year 9999

constexpr std::array<const char *, 7> DAYS = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char *, 12> MONTHS = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::string twoDigits(int64_t number, char fill)
{
	return number < 10 ? std::string(1, fill) + std::to_string(number) : std::to_string(number);
}
}

std::string dateToText(int64_t seconds)
{
	if (seconds < FIRST_SECOND || seconds > LAST_SECOND)
	{
		return std::to_string(seconds);
	}
	const std::chrono::sys_seconds moment{std::chrono::seconds(seconds)};
	const auto midnight = std::chrono::floor<std::chrono::days>(moment);
	const std::chrono::year_month_day date(midnight);
	const std::chrono::hh_mm_ss time(moment - midnight);
	return std::string(DAYS[std::chrono::weekday(midnight).c_encoding()]) + ' ' + MONTHS[static_cast<unsigned>(date.month()) - 1] + ' ' +
	       twoDigits(static_cast<unsigned>(date.day()), ' ') + ' ' + twoDigits(time.hours().count(), '0') + ':' +
	       twoDigits(time.minutes().count(), '0') + ':' + twoDigits(time.seconds().count(), '0') + ' ' +
	       std::to_string(static_cast<int>(date.year())) + '\n';
}
}
