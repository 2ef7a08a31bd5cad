// The sleep is one wait for an event, which `wake` sets, for a timer, since the wait's own time-out is as coarse as the system's
// tick, and for the registered handles.
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvSleepSources.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Mrv::Platform
{
namespace
{
// A host loads and unloads libraries many times in one process.
HANDLE closedAtUnload(HANDLE handle)
{
	callAtUnload([](void *subject) { ::CloseHandle(subject); }, handle);
	return handle;
}

// Made before `main`: the console's handler runs in a thread of its own and may come at any time. Resets itself after a wait.
const HANDLE sWakeEvent = closedAtUnload(::CreateEventW(nullptr, FALSE, FALSE, nullptr));

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

namespace
{
// The handles of one wait: those that are always waited on, then the newest of the others, as many as find room.
class WaitedHandles
{
public:
	WaitedHandles(HANDLE wakeEvent, HANDLE timer) : fHandles{wakeEvent, timer}
	{
		const std::vector<Detail::WakeSource> &sources = Detail::wakeSources();
		for (const WakeRank rank : {WakeRank::ALWAYS, WakeRank::WHILE_THERE_IS_ROOM})
		{
			for (auto source = sources.rbegin(); source != sources.rend() && fCount < fHandles.size(); ++source)
			{
				if (source->kind == Detail::WakeKind::HANDLE && source->rank == rank)
				{
					fHandles[fCount++] = reinterpret_cast<HANDLE>(source->handle);
				}
			}
		}
	}

	DWORD waitForAny() const { return ::WaitForMultipleObjects(fCount, fHandles.data(), FALSE, INFINITE); }

private:
	// The system's own limit is 64; some are left to it.
	std::array<HANDLE, 62> fHandles{};
	DWORD fCount = 2;
};
}

bool Detail::waitNanoseconds(std::int64_t nanoseconds)
{
	static const HANDLE sTimer = closedAtUnload(makeTimer());
	LARGE_INTEGER due{};
	due.QuadPart = -std::max<std::int64_t>(nanoseconds / 100, 1);
	const auto plainSleep = [nanoseconds] { ::Sleep(static_cast<DWORD>(std::min<std::int64_t>((nanoseconds + 999'999) / 1'000'000, 10))); };
	if (!::SetWaitableTimer(sTimer, &due, 0, nullptr, nullptr, FALSE))
	{
		plainSleep();
		return true;
	}
	const DWORD result = WaitedHandles(sWakeEvent, sTimer).waitForAny();
	if (result == WAIT_FAILED)
	{
		// A handle was closed without being taken back. Which one is found by asking each; it would end every sleep to come.
		std::erase_if(wakeSources(),
		    [](const WakeSource &source) {
			    return source.kind == WakeKind::HANDLE && ::WaitForSingleObject(reinterpret_cast<HANDLE>(source.handle), 0) == WAIT_FAILED;
		    });
		plainSleep();
	}
	return result != WAIT_OBJECT_0 + 1;
}
}
