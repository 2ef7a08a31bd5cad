#include "processes/posix/TerminalProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv::Test
{
namespace
{
constexpr auto TIME_LIMIT = std::chrono::seconds(60);
constexpr int POLL_MILLISECONDS = 20;

template <class Condition>
bool waitUntil(Condition condition)
{
	const auto end = std::chrono::steady_clock::now() + TIME_LIMIT;
	while (!condition())
	{
		if (std::chrono::steady_clock::now() > end)
		{
			return false;
		}
	}
	return true;
}
}

TerminalProcess::TerminalProcess(std::vector<std::string> arguments)
{
	fMaster = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
	EXPECT_GE(fMaster, 0);
	EXPECT_EQ(::grantpt(fMaster), 0);
	EXPECT_EQ(::unlockpt(fMaster), 0);
	fSlave = ::open(::ptsname(fMaster), O_RDWR | O_NOCTTY | O_CLOEXEC);
	EXPECT_GE(fSlave, 0);
	const winsize size{24, 80, 0, 0};
	::ioctl(fSlave, TIOCSWINSZ, &size);
	fFirstModes = modes();

	arguments.insert(arguments.begin(), MORVANE_PROGRAM);
	std::vector<char *> argv;
	argv.reserve(arguments.size() + 1);
	for (std::string &argument : arguments)
	{
		argv.push_back(argument.data());
	}
	argv.push_back(nullptr);
	fProcess = ::fork();
	if (fProcess == 0)
	{
		::setsid();
		::ioctl(fSlave, TIOCSCTTY, 0);
		::dup2(fSlave, STDIN_FILENO);
		::dup2(fSlave, STDOUT_FILENO);
		::dup2(fSlave, STDERR_FILENO);
		::execv(argv[0], argv.data());
		::_exit(127);
	}
}

TerminalProcess::~TerminalProcess()
{
	if (fProcess > 0)
	{
		::kill(fProcess, SIGKILL);
		::waitpid(fProcess, nullptr, 0);
	}
	::close(fSlave);
	::close(fMaster);
}

void TerminalProcess::type(std::string_view keys) const
{
	EXPECT_EQ(::write(fMaster, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void TerminalProcess::sendSignal(int number) const
{
	::kill(fProcess, number);
}

termios TerminalProcess::modes() const
{
	termios modes{};
	EXPECT_EQ(::tcgetattr(fSlave, &modes), 0);
	return modes;
}

bool TerminalProcess::hasFirstModes() const
{
	const termios now = modes();
	return now.c_lflag == fFirstModes.c_lflag && now.c_iflag == fFirstModes.c_iflag && now.c_oflag == fFirstModes.c_oflag &&
	       std::memcmp(now.c_cc, fFirstModes.c_cc, sizeof now.c_cc) == 0;
}

// Takes what the terminal shows, waiting for it for a while. False when there was nothing.
bool TerminalProcess::readSome(int milliseconds)
{
	pollfd polled{fMaster, POLLIN, 0};
	if (::poll(&polled, 1, milliseconds) <= 0)
	{
		return false;
	}
	std::array<char, 4096> bytes;
	const ssize_t count = ::read(fMaster, bytes.data(), bytes.size());
	fShown.append(bytes.data(), static_cast<size_t>(count > 0 ? count : 0));
	return count > 0;
}

bool TerminalProcess::waitFor(const std::string &text)
{
	bool isFound = false;
	waitUntil(
	    [&]
	    {
		    const size_t at = fShown.find(text, fWaitedFor);
		    isFound = at != std::string::npos;
		    if (isFound)
		    {
			    fWaitedFor = at + text.size();
			    return true;
		    }
		    // The end of the process is no reason to stop before all that it has written was read.
		    siginfo_t info{};
		    return !readSome(POLL_MILLISECONDS) && ::waitid(P_PID, static_cast<id_t>(fProcess), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
		           info.si_pid == fProcess && !readSome(0);
	    });
	return isFound;
}

bool TerminalProcess::waitForInterruptKey(bool raisesSignal)
{
	return waitUntil(
	    [&]
	    {
		    readSome(POLL_MILLISECONDS);
		    return (modes().c_cc[VINTR] == fFirstModes.c_cc[VINTR]) == raisesSignal;
	    });
}

int TerminalProcess::waitForEnd()
{
	int status = 0;
	pid_t ended = 0;
	waitUntil(
	    [&]
	    {
		    readSome(POLL_MILLISECONDS);
		    ended = ::waitpid(fProcess, &status, WNOHANG);
		    return ended == fProcess;
	    });
	if (ended != fProcess)
	{
		return -1;
	}
	fProcess = -1;
	while (readSome(0))
	{
	}
	constexpr int SIGNAL_BASE = 1000;
	return WIFEXITED(status) ? WEXITSTATUS(status) : SIGNAL_BASE + WTERMSIG(status);
}
}
