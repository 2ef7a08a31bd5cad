#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv
{
namespace
{
// Runs `body` in a process of its own; the status that `waitpid` gives.
template <typename Body>
int statusOfChild(Body body)
{
	const pid_t child = ::fork();
	if (child == 0)
	{
		::alarm(20);
		::_exit(body());
	}
	int status = 0;
	::waitpid(child, &status, 0);
	return status;
}

TEST(SignalsPosixTest, TheFirstIsNotedAndEndsTheSleepTheSecondKills)
{
	for (const int number : {SIGTERM, SIGINT, SIGHUP})
	{
		const int status = statusOfChild(
		    [number]
		    {
			    std::signal(SIGHUP, SIG_DFL);
			    Platform::installOrderlyEndHandlers();
			    ::raise(number);
			    const std::int64_t deadline = Platform::steadyNanoseconds() + 60'000'000'000;
			    Platform::sleepUntil(deadline);
			    if (Platform::pendingSignal() != number || Platform::steadyNanoseconds() >= deadline)
			    {
				    return 1;
			    }
			    ::raise(number);
			    return 2;
		    });
		ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
		EXPECT_EQ(WTERMSIG(status), number);
	}
}

TEST(SignalsPosixTest, InterruptsAreTakenWhileSomebodyDoes)
{
	const int status = statusOfChild(
	    []
	    {
		    Platform::installOrderlyEndHandlers();
		    Platform::setInterruptsAreTaken(true);
		    for (int round = 0; round < 5; ++round)
		    {
			    ::raise(SIGINT);
			    const std::int64_t deadline = Platform::steadyNanoseconds() + 60'000'000'000;
			    Platform::sleepUntil(deadline);
			    if (Platform::pendingSignal() != 0 || Platform::steadyNanoseconds() >= deadline || !Platform::takeInterrupt() ||
			        Platform::takeInterrupt())
			    {
				    return 1;
			    }
		    }
		    // Nobody takes them: the third asks for the end.
		    ::raise(SIGINT);
		    ::raise(SIGINT);
		    if (Platform::pendingSignal() != 0)
		    {
			    return 2;
		    }
		    ::raise(SIGINT);
		    return Platform::pendingSignal() == SIGINT ? 0 : 3;
	    });
	EXPECT_TRUE(WIFEXITED(status));
	EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(SignalsPosixTest, AnIgnoredHangUpStaysIgnored)
{
	const int status = statusOfChild(
	    []
	    {
		    std::signal(SIGHUP, SIG_IGN);
		    Platform::installOrderlyEndHandlers();
		    ::raise(SIGHUP);
		    return Platform::pendingSignal();
	    });
	EXPECT_TRUE(WIFEXITED(status));
	EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(ProcessPosixTest, AProcessThatOnlyWaitsForItsParentIsNotRunning)
{
	const pid_t child = ::fork();
	if (child == 0)
	{
		::pause();
		::_exit(0);
	}
	const auto processId = static_cast<Platform::ProcessId>(child);
	EXPECT_TRUE(Platform::isProcessRunning(processId));
	::kill(child, SIGKILL);
	siginfo_t ended{};
	::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
	EXPECT_FALSE(Platform::isProcessRunning(processId));
	::waitpid(child, nullptr, 0);
	EXPECT_FALSE(Platform::isProcessRunning(processId));
}
}
}
