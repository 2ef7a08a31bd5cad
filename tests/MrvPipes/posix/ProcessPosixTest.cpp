// How a started process stands on its own.
#include "MrvPipes/MrvProcess.h"

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv
{
namespace
{
template <typename Condition>
bool waitUntil(Condition isReached)
{
	const std::int64_t end = Platform::steadyNanoseconds() + 60'000'000'000;
	while (!isReached() && Platform::steadyNanoseconds() < end)
	{
		Platform::sleepUntil(Platform::steadyNanoseconds() + 5'000'000);
	}
	return isReached();
}

TEST(LaunchPosixTest, ASessionOfItsOwnAndNothingOfOurs)
{
	const std::string path = Dirs::getTmpPath() + "facts";
	// Descriptors of a host's that it didn't mark, an ignored and a blocked signal.
	const int kept = ::open("/dev/null", O_RDONLY);
	::signal(SIGUSR1, SIG_IGN);
	sigset_t blocked;
	sigset_t before;
	::sigemptyset(&blocked);
	::sigaddset(&blocked, SIGUSR2);
	::pthread_sigmask(SIG_BLOCK, &blocked, &before);
	const std::string script =
	    "f='" + path +
	    "'; streams=$(for i in 0 1 2; do readlink /proc/$$/fd/$i; done); "
	    "{ echo \"$streams\"; "
	    "test -e /proc/$$/fd/" +
	    std::to_string(kept) +
	    " && echo kept; cut -d' ' -f6 /proc/$$/stat; "
	    // Read by the shell itself: while it waits for a program it has everything blocked.
	    "while read -r key value; do case $key in SigBlk:) echo \"$value\";; SigIgn:) echo \"${value#?????????}\";; esac; "
	    "done < /proc/$$/status; } > \"$f.new\"; mv \"$f.new\" \"$f\"";
	const std::uint32_t processId = Process::launchProcess({"/bin/sh", "-c", script}, {});
	::pthread_sigmask(SIG_SETMASK, &before, nullptr);
	::signal(SIGUSR1, SIG_DFL);
	::close(kept);
	ASSERT_NE(processId, 0U);
	ASSERT_TRUE(waitUntil([&] { return Dirs::fileExists(path); }));
	std::string facts;
	EXPECT_TRUE(Dirs::readFile(path, facts, 10'000));
	EXPECT_EQ(facts, "/dev/null\n/dev/null\n/dev/null\n" + std::to_string(processId) + "\n0000000000000000\n0000000\n");
	Platform::removeFile(path);
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(processId); }));
}

TEST(LaunchPosixTest, NoZombieIsLeft)
{
	const std::uint32_t processId = Process::launchProcess({"/bin/sh", "-c", "exit 3"}, {});
	ASSERT_NE(processId, 0U);
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(processId); }));
	EXPECT_TRUE(waitUntil(
	    [&]
	    {
		    Process::isRunning(Platform::currentProcessId()); // any look takes note of the dead
		    return Platform::fileInfo("/proc/" + std::to_string(processId)).kind == Platform::FileKind::NONE;
	    }));
	// A host's own children are the host's.
	const pid_t child = ::fork();
	if (child == 0)
	{
		::_exit(5);
	}
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(static_cast<std::uint32_t>(child)); }));
	int status = 0;
	EXPECT_EQ(::waitpid(child, &status, 0), child);
	EXPECT_EQ(WEXITSTATUS(status), 5);
}
}
}
