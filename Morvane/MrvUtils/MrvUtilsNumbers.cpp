#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace Mrv
{
namespace
{
// As `strtoll` and `strtoull` read: blanks, a sign, then digits; what follows them doesn't matter.
template <typename Integer>
Integer readInteger(const std::string &text, const char *invalid, const char *outOfRange)
{
	const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
	std::string_view digits = start == std::string::npos ? std::string_view() : std::string_view(text).substr(start);
	const bool isNegative = digits.starts_with('-');
	if (isNegative || digits.starts_with('+'))
	{
		digits.remove_prefix(1);
	}
	std::uint64_t magnitude = 0;
	const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
	if (error == std::errc::invalid_argument)
	{
		throw std::invalid_argument(invalid);
	}
	constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<Integer>::max());
	const std::uint64_t limit = std::numeric_limits<Integer>::is_signed && isNegative ? kLargest + 1 : kLargest;
	if (error != std::errc() || magnitude > limit)
	{
		throw std::out_of_range(outOfRange);
	}
	return static_cast<Integer>(isNegative ? ~magnitude + 1 : magnitude);
}

template <typename Integer>
bool readWholeInteger(std::string_view text, Integer &value)
{
	Integer result = 0;
	const char *const textEnd = text.data() + text.size();
	const auto [end, error] = std::from_chars(text.data(), textEnd, result);
	if (error != std::errc() || end != textEnd)
	{
		return false;
	}
	value = result;
	return true;
}

// Whether a decimal number without sign that no double can hold is too large, rather than too close to zero: by the power of ten of
// its first digit that isn't 0.
bool isTooLarge(std::string_view number)
{
	const std::size_t exponentMark = number.find_first_of("eE");
	const std::string_view mantissa = number.substr(0, exponentMark);
	const std::size_t firstDigit = mantissa.find_first_not_of("0.");
	const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
	auto power = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(firstDigit);
	if (exponentMark != std::string_view::npos)
	{
		std::string_view digits = number.substr(exponentMark + 1);
		const bool isNegative = digits.starts_with('-');
		if (isNegative || digits.starts_with('+'))
		{
			digits.remove_prefix(1);
		}
		// An exponent that an integer can't hold decides alone: no text is long enough to outweigh it.
		std::int64_t exponent = 0;
		if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec != std::errc())
		{
			return !isNegative;
		}
		constexpr std::int64_t kOutweighsEverything = std::int64_t{1} << 62;
		exponent = std::min(exponent, kOutweighsEverything);
		power += isNegative ? -exponent : exponent;
	}
	return power > 0;
}

bool isNumberStart(std::string_view text)
{
	const auto isDigitAt = [text](std::size_t pos) { return pos < text.size() && text[pos] >= '0' && text[pos] <= '9'; };
	return isDigitAt(0) || (text.starts_with('.') && isDigitAt(1));
}

// Days from 1970-01-01 to the first day of a month of the Gregorian calendar. Years begin in March here, so that the leap day comes
// last and every month before it has a fixed place.
std::int64_t daysToMonth(std::int64_t year, int month)
{
	const std::int64_t marchYear = month > 2 ? year : year - 1;
	const std::int64_t monthsFromMarch = month > 2 ? month - 3 : month + 9;
	const std::int64_t leapDays = marchYear / 4 - marchYear / 100 + marchYear / 400;
	constexpr std::int64_t kDaysToMarch0 = 719'468;
	return marchYear * 365 + leapDays + (153 * monthsFromMarch + 2) / 5 - kDaysToMarch0;
}

std::vector<std::string> nonEmptyPieces(const std::string &text, char separator)
{
	std::vector<std::string> pieces = Utils::split(text, separator);
	std::erase_if(pieces, [](const std::string &piece) { return piece.empty(); });
	return pieces;
}
}

std::int64_t Utils::stoll(const std::string &text)
{
	return readInteger<std::int64_t>(text, "invalid stoll argument", "stoll argument out of range");
}

std::uint64_t Utils::stoull(const std::string &text)
{
	return readInteger<std::uint64_t>(text, "invalid stoull argument", "stoull argument out of range");
}

bool Utils::toInt64(std::string_view text, std::int64_t &value)
{
	return readWholeInteger(text, value);
}

bool Utils::toUInt64(std::string_view text, std::uint64_t &value)
{
	return readWholeInteger(text, value);
}

std::size_t Utils::parseDouble(std::string_view text, double &value)
{
	const std::size_t signLength = text.starts_with('-') || text.starts_with('+') ? 1 : 0;
	const std::string_view number = text.substr(signLength);
	if (!isNumberStart(number))
	{
		return 0;
	}
	double magnitude = 0;
	const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), magnitude);
	const auto length = static_cast<std::size_t>(end - number.data());
	if (error == std::errc::result_out_of_range)
	{
		magnitude = isTooLarge(number.substr(0, length)) ? std::numeric_limits<double>::infinity() : 0.0;
	}
	value = text.starts_with('-') ? -magnitude : magnitude;
	return signLength + length;
}

std::string Utils::doubleToString(double value)
{
	if (std::isnan(value))
	{
		return "nan";
	}
	// The largest double has 309 digits before its point.
	std::array<char, 320> buffer;
	constexpr int kDecimals = 6;
	const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, kDecimals);
	return {buffer.data(), end};
}

bool Utils::convertFromOMDate(const std::int64_t &date, int &year, int &month, int &day, int &hours, int &minutes, int &seconds)
{
	Platform::CalendarTime time;
	SANITY_CHECK_AS(Platform::utcCalendarTime(date, time), "0 == ::gmtime_s(&tm, &date)", return false);
	year = time.year;
	month = time.month;
	day = time.day;
	hours = time.hour;
	minutes = time.minute;
	seconds = time.second;
	return true;
}

std::string Utils::dateToString(std::int64_t date)
{
	Platform::CalendarTime time;
	if (!convertFromOMDate(date, time.year, time.month, time.day, time.hour, time.minute, time.second))
	{
		return {};
	}
	std::array<char, 80> buffer;
	const int length = std::snprintf(buffer.data(), buffer.size(), "%02d-%02d-%04d %02d:%02d:%02d", time.day, time.month, time.year,
	    time.hour, time.minute, time.second);
	return {buffer.data(), static_cast<std::size_t>(length)};
}

std::int64_t Utils::getBuildTime()
{
	return getBuildTime(__DATE__, __TIME__);
}

std::int64_t Utils::getBuildTime(const std::string &date, const std::string &time)
{
	// A day below 10 has a second blank in front, so there are empty pieces.
	const std::vector<std::string> dateParts = nonEmptyPieces(date, ' ');
	SANITY_CHECK(dateParts.size() == 3, return 0);
	const std::vector<std::string> timeParts = nonEmptyPieces(time, ':');
	SANITY_CHECK(timeParts.size() == 3, return 0);
	static const char *const sMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
	const char *const monthPos = dateParts[0].size() == 3 ? std::strstr(sMonths, dateParts[0].c_str()) : nullptr;
	SANITY_CHECK(monthPos, return 0);
	std::array<std::uint64_t, 5> numbers{};
	const bool areNumbers = toUInt64(dateParts[1], numbers[0]) && toUInt64(dateParts[2], numbers[1]) &&
	                        toUInt64(timeParts[0], numbers[2]) && toUInt64(timeParts[1], numbers[3]) && toUInt64(timeParts[2], numbers[4]);
	constexpr std::uint64_t kMostDigits = 9999;
	SANITY_CHECK(areNumbers && *std::max_element(numbers.begin(), numbers.end()) <= kMostDigits, return 0);
	const auto number = [&numbers](std::size_t index) { return static_cast<std::int64_t>(numbers[index]); };
	const int month = static_cast<int>((monthPos - sMonths) / 3) + 1;
	const std::int64_t days = daysToMonth(number(1), month) + number(0) - 1;
	return ((days * 24 + number(2)) * 60 + number(3)) * 60 + number(4);
}
}
