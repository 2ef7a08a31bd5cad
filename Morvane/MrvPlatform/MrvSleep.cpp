#include "MrvPlatform/MrvSleep.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvLasting.h"
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
	static auto &sSources = makeLasting<std::vector<WakeSource>>();
	return sSources;
}

bool Detail::askPolledSources(bool &ready)
{
	bool anyPolled = false;
	ready = false;
	for (const WakeSource &source : wakeSources())
	{
		if (source.kind == WakeKind::POLLED)
		{
			anyPolled = true;
			ready = ready || source.isReady();
		}
	}
	return anyPolled;
}

WakeSourceId registerWakeSource(NativeHandle handle, WakeOn on, WakeRank rank)
{
	return addWakeSource({.handle = handle, .on = on, .rank = rank});
}

WakeSourceId registerPolledWakeSource(bool (*isReady)())
{
	return isReady ? addWakeSource({.kind = Detail::WakeKind::POLLED, .isReady = isReady}) : 0;
}

WakeSourceId registerWakeTime(std::int64_t time)
{
	return addWakeSource({.kind = Detail::WakeKind::TIME, .time = time});
}

void unregisterWakeSource(WakeSourceId id)
{
	// The newest ones come and go most often.
	std::vector<Detail::WakeSource> &sources = Detail::wakeSources();
	const auto found = std::find_if(sources.rbegin(), sources.rend(), [id](const Detail::WakeSource &source) { return source.id == id; });
	if (found != sources.rend())
	{
		sources.erase(std::prev(found.base()));
	}
}

void setSleepFunction(SleepFunction sleep)
{
	sSleepFunction = sleep;
}

void sleepUntil(std::int64_t deadline)
{
	console().flush();
	for (const Detail::WakeSource &source : Detail::wakeSources())
	{
		deadline = source.kind == Detail::WakeKind::TIME ? std::min(deadline, source.time) : deadline;
	}
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
