#pragma once

#include <cstdint>

// The two clocks. The steady one is what deadlines and time slices are measured with; the wall clock only labels things for people.
namespace Mrv::Platform
{
// Nanoseconds of a clock that never goes back and that ignores changes of the wall clock. The origin is arbitrary.
// Cheap enough to be asked every few steps of a script (tens of nanoseconds).
std::int64_t steadyNanoseconds();

// A function that answers in place of the system's steady clock.
using ClockSource = std::int64_t (*)();

// Makes `source` the steady clock of the process; null restores the system's. For tests, which move time by hand.
void setClockSource(ClockSource source);

// The system's steady clock, whatever source is set.
std::int64_t systemSteadyNanoseconds();

// Seconds since 1970-01-01 00:00:00 UTC.
std::int64_t wallSeconds();

// A moment taken apart, in the civil calendar. `month` and `day` count from 1, `year` is the full year.
struct CalendarTime
{
	int year = 0;
	int month = 0;
	int day = 0;
	int hour = 0;
	int minute = 0;
	int second = 0;
};

// `seconds` since 1970 (UTC) in the local time zone, or in UTC. False, with `time` unchanged, when the year can't be expressed.
bool localCalendarTime(std::int64_t seconds, CalendarTime &time);
bool utcCalendarTime(std::int64_t seconds, CalendarTime &time);
}
