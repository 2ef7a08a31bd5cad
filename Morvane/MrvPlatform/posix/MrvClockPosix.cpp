#include "MrvPlatform/MrvClock.h"

#include <ctime>

namespace Mrv::Platform
{
namespace
{
CalendarTime fromTm(const std::tm &parts)
{
	return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}
}

std::int64_t systemSteadyNanoseconds()
{
	timespec now{};
	::clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

std::int64_t wallSeconds()
{
	return static_cast<std::int64_t>(::time(nullptr));
}

bool localCalendarTime(std::int64_t seconds, CalendarTime &time)
{
	std::tm parts{};
	if (!::localtime_r(&seconds, &parts))
	{
		return false;
	}
	time = fromTm(parts);
	return true;
}

bool utcCalendarTime(std::int64_t seconds, CalendarTime &time)
{
	std::tm parts{};
	if (!::gmtime_r(&seconds, &parts))
	{
		return false;
	}
	time = fromTm(parts);
	return true;
}
}
