#include "MrvPlatform/MrvSleep.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSleepSources.h"

#include <algorithm>

namespace Mrv::Platform
{
namespace
{
SleepFunction sSleepFunction = nullptr;
WakeSourceId sLastWakeSourceId = 0;

WakeSourceId addWakeSource(Detail::WakeSource source)
{
	source.id = ++sLastWakeSourceId;
	Detail::wakeSources().push_back(source);
	return source.id;
}
}

std::vector<Detail::WakeSource> &Detail::wakeSources()
{
	// Never freed: a static object's destructor may still unregister.
	static auto *const sSources = new std::vector<WakeSource>;
	return *sSources;
}

bool Detail::askPolledSources(bool &ready)
{
	bool anyPolled = false;
	ready = false;
	for (const WakeSource &source : wakeSources())
	{
		if (source.isReady)
		{
			anyPolled = true;
			ready = ready || source.isReady();
		}
	}
	return anyPolled;
}

WakeSourceId registerWakeSource(NativeHandle handle)
{
	return addWakeSource({0, handle, nullptr});
}

WakeSourceId registerPolledWakeSource(bool (*isReady)())
{
	return isReady ? addWakeSource({0, 0, isReady}) : 0;
}

void unregisterWakeSource(WakeSourceId id)
{
	std::erase_if(Detail::wakeSources(), [id](const Detail::WakeSource &source) { return source.id == id; });
}

void setSleepFunction(SleepFunction sleep)
{
	sSleepFunction = sleep;
}

void sleepUntil(std::int64_t deadline)
{
	console().flush();
	if (sSleepFunction)
	{
		sSleepFunction(deadline);
		return;
	}
	const std::int64_t now = steadyNanoseconds();
	if (now >= deadline)
	{
		return;
	}
	// Unsigned, since the difference may overflow: a deadline may mean "never", and the clock's origin is arbitrary.
	constexpr std::uint64_t kLongestWait = 3'600'000'000'000;
	const std::uint64_t wanted = static_cast<std::uint64_t>(deadline) - static_cast<std::uint64_t>(now);
	for (auto left = static_cast<std::int64_t>(std::min(wanted, kLongestWait)); left > 0;)
	{
		bool ready = false;
		const bool anyPolled = Detail::askPolledSources(ready);
		if (ready)
		{
			return;
		}
		const std::int64_t wait = anyPolled ? std::min(left, Detail::kPollNanoseconds) : left;
		if (Detail::waitNanoseconds(wait))
		{
			return;
		}
		left -= wait;
	}
}
}
