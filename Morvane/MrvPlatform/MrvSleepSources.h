#pragma once

#include "MrvPlatform/MrvSleep.h"

#include <cstdint>
#include <vector>

// What the implementations of the sleep share; nobody else includes this.
namespace Mrv::Platform::Detail
{
enum class WakeKind
{
	HANDLE,
	POLLED,
	TIME,
};

// One registration: a handle to wait on, a function to ask, or a time.
struct WakeSource
{
	WakeSourceId id = 0;
	WakeKind kind = WakeKind::HANDLE;
	NativeHandle handle = 0;
	WakeOn on = WakeOn::READABLE;
	WakeRank rank = WakeRank::ALWAYS;
	bool (*isReady)() = nullptr;
	std::int64_t time = 0;
};

// How often polled sources are asked during a sleep.
constexpr std::int64_t kPollNanoseconds = 5'000'000;

// All registrations, oldest first.
std::vector<WakeSource> &wakeSources();

// True when there is a polled source, with `ready` telling whether one of them is ready.
bool askPolledSources(bool &ready);

// The system's own sleep: `nanoseconds` (above 0) at the longest, ended by `wake` and by the sources that have a handle.
// True when it was ended, false when the time ran out.
bool waitNanoseconds(std::int64_t nanoseconds);
}
