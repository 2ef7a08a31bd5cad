// The event loop, its adaptive sleep, and the coordinator's own pass.
//
// One place sleeps: the end of a pass. A pass in which a task was cut off by the end of its slice is followed by none, since there is more
// to do at once; otherwise the loop backs off in stages from the last message on.
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvTask/MrvYieldingFrame.h"
#include "MrvUtils/MrvRestorer.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr int64_t NANOSECONDS_PER_MICROSECOND = 1000;
constexpr int64_t SHORT_SILENCE = 1'000'000;      // 1 ms, in nanoseconds: no sleep until then
constexpr int64_t MEDIUM_SILENCE = 5'000'000'000; // 5 s: then five times the base
constexpr int64_t LONG_SILENCE = 30'000'000'000;  // 30 s: then ten times the base
constexpr int64_t SHORT_SLICE = 100'000;          // 100 ms, in microseconds
constexpr int64_t MEDIUM_FACTOR = 5;
constexpr int64_t LONG_FACTOR = 10;

bool hasExpired(int64_t timePoint)
{
	return timePoint != Task::kNoTimePoint && timePoint < Platform::steadyNanoseconds();
}
}

// Never, for a negative duration and for one beyond the range.
int64_t InternalCoordinator::timePointAfter(int64_t now, int64_t microseconds)
{
	int64_t duration = 0;
	int64_t timePoint = 0;
	if (microseconds < 0 || __builtin_mul_overflow(microseconds, NANOSECONDS_PER_MICROSECOND, &duration) ||
	    __builtin_add_overflow(now, duration, &timePoint))
	{
		return Task::kNoTimePoint;
	}
	return timePoint;
}

bool InternalCoordinator::runEventLoop(int64_t timesliceMicroseconds)
{
	const auto coordinator = instance();
	SANITY_CHECK_AS(coordinator, "internalCoordinator", return false);
	return coordinator->runEventLoop(timesliceMicroseconds, nullptr);
}

bool InternalCoordinator::runEventLoop(int64_t timesliceMicroseconds, const std::function<bool()> &mustEnd)
{
	if (!fMainTask || (fMainTask->isTaskCompleted() && fMainTask->isIdle()))
	{
		return true;
	}
	if (fIsInEventLoop && timesliceMicroseconds < 0)
	{
		LOG_ERROR("an event loop inside the event loop needs an end");
		return false;
	}
	const int64_t end = timePointAfter(Platform::steadyNanoseconds(), timesliceMicroseconds);
	if (hasExpired(end))
	{
		return true;
	}
	const bool isShort = timesliceMicroseconds >= 0 && timesliceMicroseconds < SHORT_SLICE;
	const SleepNearEnd sleepNearEnd = isShort ? SleepNearEnd::CUT : SleepNearEnd::OVERRUN;
	const Restorer<bool> inEventLoop(fIsInEventLoop, true);
	while (!mustEnd || fIsInServiceTimeslice || !mustEnd())
	{
		int64_t budget = fSettings.internalCoordinatorTimesliceMicroseconds;
		Task::runActiveTasks(budget);
		++fEventLoopCycles;
		if (fMainTask->isTaskCompleted())
		{
			break;
		}
		sleepAfterPass(end, sleepNearEnd);
		if (hasExpired(end))
		{
			break;
		}
	}
	return true;
}

bool InternalCoordinator::runEventLoopUntilNoMoreSubTasks(int64_t timesliceMicroseconds)
{
	const auto coordinator = instance();
	SANITY_CHECK_AS(coordinator, "internalCoordinator", return false);
	bool hasRun = false;
	const bool isOk = coordinator->runEventLoop(timesliceMicroseconds,
	    [&]
	    {
		    const bool mustRun = !hasRun;
		    hasRun = true;
		    return !mustRun && coordinator->fMainTask->isIdle();
	    });
	SANITY_CHECK_AS(isOk,
	    "internalCoordinator->runEventLoop( timesliceMicroseconds, [&hasRun, internalCoordinator]() { bool mustRun = ! hasRun; hasRun = "
	    "true; "
	    "bool canTerminate = ! mustRun && internalCoordinator->fMainTask->isIdle(); return canTerminate; })",
	    return false);
	return true;
}

// Microseconds to sleep after a pass, by the time since the last message.
int64_t InternalCoordinator::computeAdaptiveSleep(int64_t now)
{
	const int64_t base = std::min(fSettings.eventLoopSleepMicroseconds, INT64_MAX / LONG_FACTOR);
	if (sHasMessagingActivity)
	{
		sLastActivityCycle = sCoordinatorCycles;
		sHasMessagingActivity = false;
		sAreThresholdsStale = true;
		return 0;
	}
	if (sCoordinatorCycles - sLastActivityCycle < 2)
	{
		return 0;
	}
	if (sAreThresholdsStale)
	{
		sAreThresholdsStale = false;
		sSleepThresholds[0] = now + SHORT_SILENCE;
		sSleepThresholds[1] = now + MEDIUM_SILENCE;
		sSleepThresholds[2] = now + LONG_SILENCE;
	}
	if (now > sSleepThresholds[2])
	{
		return base * LONG_FACTOR;
	}
	if (now > sSleepThresholds[1])
	{
		return base * MEDIUM_FACTOR;
	}
	return now > sSleepThresholds[0] ? base : 0;
}

void InternalCoordinator::sleepAfterPass(int64_t end, SleepNearEnd sleepNearEnd)
{
	const int64_t now = Platform::steadyNanoseconds();
	int64_t sleep = computeAdaptiveSleep(now);
	if (Task::wasCutOffInLastPass())
	{
		return;
	}
	if (Task::wasSleepRequestedInLastPass())
	{
		sleep = std::min(sleep, fSettings.eventLoopSleepMicroseconds);
	}
	if (sleep <= 0 || (end != Task::kNoTimePoint && now >= end))
	{
		return;
	}
	const int64_t wakeUp = timePointAfter(now, sleep);
	if (end != Task::kNoTimePoint && wakeUp > end)
	{
		// Near the end of a slice the sleep becomes the overrun that it would have caused, which keeps the loop lively there. In a short
		// one that would be a large part of it: a host that gives short slices wants to go on.
		sleep = (sleepNearEnd == SleepNearEnd::CUT ? end - now : wakeUp - end) / NANOSECONDS_PER_MICROSECOND;
	}
	Platform::sleepUntil(timePointAfter(now, sleep));
}

bool InternalCoordinator::isIdle() const
{
	const char *cause = nullptr;
	if (fIsProcessingMessageQueue != 0)
	{
		cause = "fIsTerminating but not idle because fIsProcessingMessageQueue";
	}
	else if (!fMessageQueue.empty())
	{
		cause = "fIsTerminating but not idle because ! fMessageQueue.empty()";
	}
	else if (!Service_abstract::isIdle())
	{
		cause = "fIsTerminating but not idle because inherited ! Service_abstract::isIdle()";
	}
	else if (fSiblings && fSiblings->isHoldingSiblingResponsesForTermination())
	{
		cause = "fIsTerminating but not idle because isHoldingSiblingResponsesForTermination()";
	}
	if (fIsTerminating)
	{
		if (!WritePipe::isAllIdle())
		{
			LOG_NOTE("fIsTerminating but not idle because write pipes not idle");
		}
		LOG_NOTE(cause ? cause : "fIsTerminating and isIdle");
	}
	return !cause;
}

bool InternalCoordinator::reportMessagingActivityInEventLoop()
{
	sHasMessagingActivity = true;
	return true;
}

void InternalCoordinator::timeslice_yielding(const std::shared_ptr<Task> &task, bool &success)
{
	struct LocalVariableState : OMFunctionState
	{
		bool result = false;
	};
	enum At : int32_t
	{
		START = 0,
		MESSAGES_HANDLED = 1,
		ACTIVE_SIBLINGS_SCANNED = 2,
		PIPES_SCANNED = 3,
		SIBLINGS_SCANNED = 4,
		MESSAGES_HANDLED_AGAIN = 5,
		SERVICES_SERVED = 1000005,
		PUBLISHED_ID_CHECKED = 7,
		NEXT_LOOP = 8,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case NEXT_LOOP:
				++sCoordinatorLoops;
				[[fallthrough]];
			case START:
				if (isTerminatingAndIdle())
				{
					success = true;
					frame.finish();
					break;
				}
				++sCoordinatorCycles;
				frame->result = handleMessagingTimeslice();
				EXPECTED_AS(frame->result, "result");
				frame.goTo(MESSAGES_HANDLED);
				break;
			case MESSAGES_HANDLED:
				frame->result = !fSiblings || fSiblings->scanForActiveSiblings();
				EXPECTED_AS(frame->result, "result");
				frame.goTo(ACTIVE_SIBLINGS_SCANNED);
				break;
			case ACTIVE_SIBLINGS_SCANNED:
				if (isMainCoordinator() && fSiblings)
				{
					frame->result = fSiblings->scanForNamedPipeSiblings();
					EXPECTED_AS(frame->result, "result");
					frame.goTo(PIPES_SCANNED);
					break;
				}
				frame.goTo(SIBLINGS_SCANNED);
				break;
			case PIPES_SCANNED:
				frame->result = !fSiblings || fSiblings->scanForConfigSiblings();
				EXPECTED_AS(frame->result, "result");
				frame.goTo(SIBLINGS_SCANNED);
				break;
			case SIBLINGS_SCANNED:
				fIsInServiceTimeslice = true;
				frame->result = handleMessagingTimeslice();
				EXPECTED_AS(frame->result, "result");
				frame.goTo(MESSAGES_HANDLED_AGAIN);
				break;
			case MESSAGES_HANDLED_AGAIN:
				frame.call(SERVICES_SERVED, [&] { Service_abstract::timeslice_yielding(task, frame->result); });
				break;
			case SERVICES_SERVED:
				fIsInServiceTimeslice = false;
				EXPECTED_AS(frame->result, "result");
				if (isMainCoordinator())
				{
					frame->result = isStillPublished();
					frame.goTo(PUBLISHED_ID_CHECKED);
					break;
				}
				task->requestYield();
				frame.goTo(NEXT_LOOP);
				break;
			case PUBLISHED_ID_CHECKED:
				if (!frame->result)
				{
					terminate();
				}
				task->requestYield();
				frame.goTo(NEXT_LOOP);
				break;
			case DONE:
				break;
		}
	}
}
}
