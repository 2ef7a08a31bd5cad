// The sleep is one wait for an event, which `wake` sets, for a timer, since the wait's own time-out is as coarse as the system's
// tick, and for the registered handles.
#include "MrvPlatform/MrvSleepSources.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <algorithm>
#include <array>

namespace Mrv::Platform
{
namespace
{
// Made before `main`: the console's handler runs in a thread of its own and may come at any time. Resets itself after a wait.
const HANDLE sWakeEvent = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);

HANDLE makeTimer()
{
	// The fine timer exists since Windows 10; its name isn't in older headers.
	constexpr DWORD kHighResolution = 0x00000002;
	const HANDLE fine = ::CreateWaitableTimerExW(nullptr, nullptr, kHighResolution, TIMER_ALL_ACCESS);
	return fine ? fine : ::CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
}
}

void wake() noexcept
{
	::SetEvent(sWakeEvent);
}

bool Detail::waitNanoseconds(std::int64_t nanoseconds)
{
	static const HANDLE sTimer = makeTimer();
	std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> handles{sWakeEvent, sTimer};
	DWORD count = 2;
	bool areAllWaitedOn = true;
	for (const WakeSource &source : wakeSources())
	{
		if (source.isReady)
		{
			continue;
		}
		if (count == handles.size())
		{
			areAllWaitedOn = false;
			break;
		}
		handles[count++] = reinterpret_cast<HANDLE>(source.handle);
	}
	// More handles than one wait can take: the rest is looked at again soon, by whoever slept.
	const std::int64_t wait = areAllWaitedOn ? nanoseconds : std::min(nanoseconds, kPollNanoseconds);
	LARGE_INTEGER due{};
	due.QuadPart = -std::max<std::int64_t>(wait / 100, 1);
	if (!::SetWaitableTimer(sTimer, &due, 0, nullptr, nullptr, FALSE))
	{
		::Sleep(static_cast<DWORD>(std::min<std::int64_t>((wait + 999'999) / 1'000'000, 10)));
		return true;
	}
	const DWORD result = ::WaitForMultipleObjects(count, handles.data(), FALSE, INFINITE);
	if (result == WAIT_FAILED)
	{
		// A handle was closed without being taken back. Which one is found by asking each; it would end every sleep to come.
		std::erase_if(wakeSources(), [](const WakeSource &source)
		    { return !source.isReady && ::WaitForSingleObject(reinterpret_cast<HANDLE>(source.handle), 0) == WAIT_FAILED; });
	}
	return result != WAIT_OBJECT_0 + 1 || !areAllWaitedOn;
}
}
