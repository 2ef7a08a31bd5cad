#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// A date, in seconds since 1970 UTC, in the form of the C library's asctime, its line end included: "Thu Jan  1 00:00:00 1970\n". By the
// calendar of today at all times, whatever the system can do; outside of the years 0 to 9999 the seconds in decimals.
std::string dateToText(int64_t seconds);
}
