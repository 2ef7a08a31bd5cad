#pragma once

#include <cstdint>

// The one place where the process sleeps. A sleep ends at its deadline, or earlier: by `wake`, or by something that registered
// here because it can bring work (a pipe, the console).
namespace Mrv::Platform
{
// Sleeps until the steady clock reaches `deadline` (nanoseconds, see `steadyNanoseconds`), or until something ends the sleep. May
// also return early for no reason, so callers look at the clock themselves. A deadline in the past returns at once. Writes out
// what the console holds back before it sleeps.
void sleepUntil(std::int64_t deadline);

// Ends the present sleep; when there is none, the next one ends at once. May be called from a signal handler and from any thread.
void wake() noexcept;

// A file descriptor on POSIX systems, a HANDLE on Windows.
using NativeHandle = std::intptr_t;

// Names one registration; 0 names none.
using WakeSourceId = std::uint64_t;

// What a sleep waits for on a handle. On Windows a handle has but one thing to tell: that it is signalled.
enum class WakeOn
{
	READABLE,
	WRITABLE,
};

// A Windows system waits on no more than 60 handles at once. Those of ALWAYS come first, of the others the last registered ones; what
// finds no room is looked at when the sleep has lasted its time.
enum class WakeRank
{
	ALWAYS,
	WHILE_THERE_IS_ROOM,
};

// Lets a sleep end as soon as `handle` can be read or written without waiting (POSIX) or is signalled (Windows). The caller keeps
// owning the handle and unregisters it before closing it. As long as the handle stays ready every sleep ends at once, so register
// only what somebody is going to read or write.
WakeSourceId registerWakeSource(NativeHandle handle, WakeOn on = WakeOn::READABLE, WakeRank rank = WakeRank::ALWAYS);

// The same for something that the system can't wait on: `isReady` is asked about every 5 ms during a sleep. It must not block.
WakeSourceId registerPolledWakeSource(bool (*isReady)());

// Lets no sleep last beyond this time of the steady clock. Once it has passed every sleep ends at once, until it is taken back.
WakeSourceId registerWakeTime(std::int64_t time);

// Takes a registration back. An unknown id or 0 is ignored.
void unregisterWakeSource(WakeSourceId id);

// Puts `sleep` in the place of `sleepUntil`'s work; null restores it. For tests, which move the clock instead of waiting.
using SleepFunction = void (*)(std::int64_t deadline);
void setSleepFunction(SleepFunction sleep);
}
