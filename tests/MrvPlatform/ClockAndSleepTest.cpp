#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvSleep.h"
#include "support/MemoryConsole.h"

#include <gtest/gtest.h>

#include <limits>

namespace Mrv
{
namespace
{
using Test::MemoryConsole;

constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kFarAway = 20'000 * kMillisecond;

// How long `sleepUntil` takes for a deadline that far ahead.
std::int64_t sleepFor(std::int64_t nanoseconds)
{
	const std::int64_t start = Platform::steadyNanoseconds();
	Platform::sleepUntil(start + nanoseconds);
	return Platform::steadyNanoseconds() - start;
}

std::int64_t sFakeNow = 0;
int sAskedCount = 0;

TEST(ClockTest, ATestMovesTimeByHand)
{
	const std::int64_t before = Platform::steadyNanoseconds();
	EXPECT_LE(before, Platform::steadyNanoseconds());

	sFakeNow = 42;
	Platform::setClockSource([] { return sFakeNow; });
	EXPECT_EQ(Platform::steadyNanoseconds(), 42);
	EXPECT_GE(Platform::systemSteadyNanoseconds(), before);
	Platform::setSleepFunction([](std::int64_t deadline) { sFakeNow = deadline; });
	Platform::sleepUntil(kFarAway);
	EXPECT_EQ(Platform::steadyNanoseconds(), kFarAway);
	Platform::setSleepFunction(nullptr);
	Platform::setClockSource(nullptr);
	EXPECT_GE(Platform::steadyNanoseconds(), before);
}

TEST(ClockTest, CalendarTimes)
{
	Platform::CalendarTime time;
	ASSERT_TRUE(Platform::utcCalendarTime(951'782'400, time));
	EXPECT_EQ(time.year, 2000);
	EXPECT_EQ(time.month, 2);
	EXPECT_EQ(time.day, 29);
	EXPECT_FALSE(Platform::utcCalendarTime(std::numeric_limits<std::int64_t>::max(), time));
	EXPECT_EQ(time.year, 2000);
}

TEST(SleepTest, LastsUntilItsDeadline)
{
	const std::int64_t slept = sleepFor(3 * kMillisecond);
	EXPECT_GE(slept, 2 * kMillisecond);
	EXPECT_LT(slept, 1000 * kMillisecond);
	EXPECT_LT(sleepFor(-kMillisecond), 100 * kMillisecond);
	// Deadlines that mean "always" and "never", on a clock whose origin may lie anywhere. The first doesn't use up the wake.
	Platform::wake();
	Platform::sleepUntil(std::numeric_limits<std::int64_t>::min());
	Platform::sleepUntil(std::numeric_limits<std::int64_t>::max());
}

TEST(SleepTest, AWakeEndsOneSleep)
{
	Platform::wake();
	Platform::wake();
	EXPECT_LT(sleepFor(kFarAway), 1000 * kMillisecond);
	EXPECT_GE(sleepFor(3 * kMillisecond), 2 * kMillisecond);
}

TEST(SleepTest, APolledSourceEndsTheSleep)
{
	sAskedCount = 0;
	const Platform::WakeSourceId source = Platform::registerPolledWakeSource([] { return ++sAskedCount == 3; });
	EXPECT_LT(sleepFor(kFarAway), 5000 * kMillisecond);
	EXPECT_EQ(sAskedCount, 3);
	Platform::unregisterWakeSource(source);
	Platform::unregisterWakeSource(source);
	EXPECT_GE(sleepFor(3 * kMillisecond), 2 * kMillisecond);
	EXPECT_EQ(sAskedCount, 3);
	EXPECT_EQ(Platform::registerPolledWakeSource(nullptr), 0U);
}

TEST(SleepTest, OutputIsSeenBeforeIt)
{
	MemoryConsole console;
	console.write(Platform::StandardStream::OUTPUT, "waiting");
	EXPECT_EQ(console.output, "");
	Platform::sleepUntil(0);
	EXPECT_EQ(console.output, "waiting");
}
}
}
