#include "MrvPlatform/MrvClock.h"

#include "MrvPlatform/windows/MrvWide.h"

#include <ctime>

namespace Mrv::Platform
{
namespace
{
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

// Ticks a second of the performance counter; fixed when the system starts.
const std::int64_t sFrequency = []
{
	LARGE_INTEGER frequency{};
	::QueryPerformanceFrequency(&frequency);
	return frequency.QuadPart > 0 ? std::int64_t{frequency.QuadPart} : std::int64_t{1};
}();

CalendarTime fromTm(const std::tm &parts)
{
	return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}
}

std::int64_t systemSteadyNanoseconds()
{
	LARGE_INTEGER ticks{};
	::QueryPerformanceCounter(&ticks);
	// In two parts: the product of all ticks would overflow after some hours on a machine with a fast counter.
	const std::int64_t seconds = ticks.QuadPart / sFrequency;
	const std::int64_t rest = ticks.QuadPart % sFrequency;
	return seconds * kNanosecondsPerSecond + rest * kNanosecondsPerSecond / sFrequency;
}

std::int64_t wallSeconds()
{
	return static_cast<std::int64_t>(::_time64(nullptr));
}

bool localCalendarTime(std::int64_t seconds, CalendarTime &time)
{
	std::tm parts{};
	if (::_localtime64_s(&parts, &seconds) != 0)
	{
		return false;
	}
	time = fromTm(parts);
	return true;
}

bool utcCalendarTime(std::int64_t seconds, CalendarTime &time)
{
	std::tm parts{};
	if (::_gmtime64_s(&parts, &seconds) != 0)
	{
		return false;
	}
	time = fromTm(parts);
	return true;
}
}
