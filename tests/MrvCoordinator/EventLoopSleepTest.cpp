#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "support/CoordinatorStart.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Task/MrvEvalScriptTask.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvSleep.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mrv
{
namespace
{
using Test::CoordinatorStart;

constexpr int64_t MICROSECOND = 1000;
constexpr int64_t MILLISECOND = 1000 * MICROSECOND;
constexpr int64_t SECOND = 1000 * MILLISECOND;
constexpr int64_t BASE = 5 * MILLISECOND;

int64_t sNow = 0;
int64_t sStep = 0; // that each look at the clock takes
int64_t sSlept = 0;

// Time stands still but for what a test adds; sleeps are measured instead of slept.
class EventLoopSleepTest : public testing::Test
{
protected:
	EventLoopSleepTest()
	{
		sNow = 1000 * SECOND;
		sStep = 0;
		sSlept = 0;
		Platform::setClockSource([] { return sNow += sStep; });
		Platform::setSleepFunction([](int64_t deadline) { sSlept += deadline - sNow; });
	}
	~EventLoopSleepTest() override
	{
		CoordinatorStart::release();
		Platform::setSleepFunction(nullptr);
		Platform::setClockSource(nullptr);
	}

	// How long the loop sleeps after one pass.
	static int64_t sleepAfterOnePass()
	{
		sSlept = 0;
		int passes = 0;
		EXPECT_TRUE(InternalCoordinator::instance()->runEventLoop(-1, [&] { return passes++ == 1; }));
		return sSlept;
	}

	const CoordinatorStart fCoordinator;
};

TEST_F(EventLoopSleepTest, GrowsInStagesFromTheLastMessageOn)
{
	ASSERT_TRUE(fCoordinator.isStarted());
	for (int message = 0; message < 2; ++message)
	{
		EXPECT_TRUE(InternalCoordinator::instance()->reportMessagingActivityInEventLoop());
		for (int pass = 0; pass < 3; ++pass)
		{
			EXPECT_EQ(sleepAfterOnePass(), 0);
		}
		const int64_t start = sNow;
		const struct
		{
			int64_t silence;
			int64_t sleep;
		} stages[] = {
		    {MILLISECOND, 0},
		    {MILLISECOND + 1, BASE},
		    {5 * SECOND, BASE},
		    {5 * SECOND + 1, 5 * BASE},
		    {30 * SECOND, 5 * BASE},
		    {30 * SECOND + 1, 10 * BASE},
		    {3000 * SECOND, 10 * BASE},
		};
		for (const auto &[silence, sleep] : stages)
		{
			sNow = start + silence;
			EXPECT_EQ(sleepAfterOnePass(), sleep) << silence;
		}
	}
}

TEST_F(EventLoopSleepTest, NoneWhileATaskWasCutOff)
{
	ASSERT_TRUE(fCoordinator.isStarted());
	const auto task = EvalScriptTask::streamFactory(InternalCoordinator::getCoordinatorScope(),
	    std::make_shared<InputStreamString>("while (true) {}"), "endless", HandleReturnValue::UNWRAP);
	Task::startTask(task);
	sStep = 20 * MICROSECOND;
	for (int pass = 0; pass < 5; ++pass)
	{
		sNow += SECOND;
		EXPECT_EQ(sleepAfterOnePass(), 0);
	}
	EXPECT_FALSE(task->isTaskCompleted());
	task->exit();
	sleepAfterOnePass();
	sStep = 0;
	EXPECT_GE(sleepAfterOnePass(), BASE);
}

TEST_F(EventLoopSleepTest, NeverPastTheEndOfASlice)
{
	ASSERT_TRUE(fCoordinator.isStarted());
	for (int pass = 0; pass < 3; ++pass)
	{
		sleepAfterOnePass();
	}
	sNow += 31 * SECOND;
	sSlept = 0;
	Platform::setSleepFunction(
	    [](int64_t deadline)
	    {
		    sSlept = std::max(sSlept, deadline - sNow);
		    sNow = deadline + 1;
	    });
	const int64_t start = sNow;
	EXPECT_TRUE(InternalCoordinator::runEventLoop(120'000));
	EXPECT_EQ(sSlept, 10 * BASE);
	EXPECT_GE(sNow - start, 120 * MILLISECOND);
	EXPECT_LE(sNow - start, 120 * MILLISECOND + 10 * BASE);
}
}

TEST_F(EventLoopSleepTest, AShortSliceEndsInTime)
{
	ASSERT_TRUE(fCoordinator.isStarted());
	for (int pass = 0; pass < 3; ++pass)
	{
		sleepAfterOnePass();
	}
	Platform::setSleepFunction(
	    [](int64_t deadline)
	    {
		    sSlept += deadline - sNow;
		    sNow = deadline + 1;
	    });
	sStep = MICROSECOND;
	for (const int64_t milliseconds : {1, 7, 20, 99})
	{
		sNow += 31 * SECOND;
		sSlept = 0;
		const int64_t start = sNow;
		EXPECT_TRUE(InternalCoordinator::runEventLoop(milliseconds * 1000));
		EXPECT_GE(sNow - start, milliseconds * MILLISECOND);
		EXPECT_LE(sNow - start, milliseconds * MILLISECOND + MILLISECOND / 2);
		EXPECT_TRUE(milliseconds == 1 || sSlept > 0);
	}
}
}
