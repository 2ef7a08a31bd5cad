#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvStack.h"

#include <gtest/gtest.h>

#include <thread>

namespace Mrv
{
namespace
{
constexpr std::size_t kKilobyte = 1024;

// Goes down until less than `reserve` is left, touching what it uses; how many bytes it went.
[[gnu::noinline]] std::size_t descend(std::size_t reserve, std::size_t start)
{
	volatile char used[4096] = {};
	used[0] = 1;
	const std::size_t left = Platform::stackBytesLeft();
	return left < reserve ? start - left : descend(reserve, start) + static_cast<std::size_t>(used[1]);
}

TEST(StackTest, EveryThreadMayUseWhatIsSaidToBeLeft)
{
	const auto check = []
	{
		const std::size_t start = Platform::stackBytesLeft();
		EXPECT_GT(start, kKilobyte * 256);
		EXPECT_LT(start, std::size_t{1} << 32);
		EXPECT_GT(descend(start - 200'000, start), 200'000U);
		// To nearly the end: the limit is no guess.
		if (start < kKilobyte * 65536)
		{
			EXPECT_GT(descend(kKilobyte * 64, start), start - kKilobyte * 128);
		}
	};
	check();
	std::thread(check).join();
}

TEST(ProcessTest, IsRunning)
{
	EXPECT_TRUE(Platform::isProcessRunning(Platform::currentProcessId()));
	EXPECT_FALSE(Platform::isProcessRunning(0));
	EXPECT_FALSE(Platform::isProcessRunning(0x7FFFFFF0));
	EXPECT_FALSE(Platform::isProcessRunning(0xFFFFFFF0));
}
}
}
