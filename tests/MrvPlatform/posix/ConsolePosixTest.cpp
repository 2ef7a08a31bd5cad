#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvPlatform/MrvSystemConsole.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace Mrv
{
namespace
{
using Platform::InputState;
using Platform::StandardStream;
using Platform::WriteOutcome;

// Runs `body` in a process of its own, whose standard streams it may change; the status that it ends with.
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
	return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct Pipe
{
	Pipe() { EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0); }
	std::array<int, 2> ends{};
};

// The child's checks: the number of the first one that fails, 0 when all hold.
#define CHECK_IN_CHILD(condition)                                                                                                          \
	if (!(condition))                                                                                                                      \
	{                                                                                                                                      \
		return __LINE__ % 250 + 1;                                                                                                         \
	}

TEST(ConsolePosixTest, APipeIsReadWithoutWaiting)
{
	EXPECT_EQ(statusOfChild(
	              []
	              {
		              const Pipe pipe;
		              ::dup2(pipe.ends[0], STDIN_FILENO);
		              Platform::IConsole &console = Platform::Detail::systemConsole();
		              CHECK_IN_CHILD(!console.isTerminal(StandardStream::INPUT));
		              CHECK_IN_CHILD(!console.enterKeyMode());
		              CHECK_IN_CHILD(console.pollInput() == InputState::NOTHING_YET);
		              console.setInputWakesSleep(true);
		              CHECK_IN_CHILD(::write(pipe.ends[1], "ab", 2) == 2);
		              Platform::sleepUntil(Platform::steadyNanoseconds() + 60'000'000'000);
		              std::string bytes;
		              CHECK_IN_CHILD(console.readInput(bytes, 100) == InputState::READY && bytes == "ab");
		              CHECK_IN_CHILD(console.pollInput() == InputState::NOTHING_YET);
		              ::close(pipe.ends[1]);
		              CHECK_IN_CHILD(console.pollInput() == InputState::END);
		              return 0;
	              }),
	    0);
}

TEST(ConsolePosixTest, FailuresOfOutputAreToldApart)
{
	EXPECT_EQ(statusOfChild(
	              []
	              {
		              Platform::prepareStandardStreams();
		              const Pipe pipe;
		              ::close(pipe.ends[0]);
		              ::dup2(pipe.ends[1], STDOUT_FILENO);
		              Platform::IConsole &console = Platform::Detail::systemConsole();
		              console.write(StandardStream::OUTPUT, "nobody reads");
		              CHECK_IN_CHILD(console.flush() == WriteOutcome::CLOSED_PIPE);
		              ::dup2(::open("/dev/full", O_WRONLY), STDERR_FILENO);
		              CHECK_IN_CHILD(console.write(StandardStream::ERROR_OUTPUT, "no room") == WriteOutcome::FAILED);
		              return 0;
	              }),
	    0);
}

TEST(ConsolePosixTest, ASlowReaderGetsEverything)
{
	EXPECT_EQ(statusOfChild(
	              []
	              {
		              const Pipe pipe;
		              const pid_t reader = ::fork();
		              if (reader == 0)
		              {
			              ::close(pipe.ends[1]);
			              std::size_t total = 0;
			              std::array<char, 1000> buffer;
			              for (ssize_t size = 0; (size = ::read(pipe.ends[0], buffer.data(), buffer.size())) > 0;)
			              {
				              total += static_cast<std::size_t>(size);
			              }
			              ::_exit(total == 1'000'000 ? 0 : 1);
		              }
		              ::fcntl(pipe.ends[1], F_SETFL, O_NONBLOCK);
		              ::dup2(pipe.ends[1], STDOUT_FILENO);
		              ::close(pipe.ends[1]);
		              Platform::IConsole &console = Platform::Detail::systemConsole();
		              CHECK_IN_CHILD(console.write(StandardStream::OUTPUT, std::string(1'000'000, 'x')) == WriteOutcome::WRITTEN);
		              ::close(STDOUT_FILENO);
		              int status = 1;
		              ::waitpid(reader, &status, 0);
		              return status;
	              }),
	    0);
}

TEST(ConsolePosixTest, StreamsThatAreMissingFailAndStayMissing)
{
	EXPECT_EQ(statusOfChild(
	              []
	              {
		              ::close(STDIN_FILENO);
		              ::close(STDOUT_FILENO);
		              Platform::prepareStandardStreams();
		              CHECK_IN_CHILD(::open("/dev/null", O_RDWR) > STDERR_FILENO);
		              Platform::IConsole &console = Platform::Detail::systemConsole();
		              CHECK_IN_CHILD(console.pollInput() == InputState::END);
		              console.write(StandardStream::OUTPUT, "lost");
		              CHECK_IN_CHILD(console.flush() == WriteOutcome::FAILED);
		              return 0;
	              }),
	    0);
}

// A pseudo-terminal: `master` is the person's side.
class TerminalTest : public testing::Test
{
protected:
	void SetUp() override
	{
		fMaster = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
		ASSERT_GE(fMaster, 0);
		ASSERT_EQ(::grantpt(fMaster), 0);
		ASSERT_EQ(::unlockpt(fMaster), 0);
		// Open here too, so that the terminal outlives the child that uses it.
		fSlave = ::open(::ptsname(fMaster), O_RDWR | O_NOCTTY | O_CLOEXEC);
		ASSERT_GE(fSlave, 0);
	}
	void TearDown() override
	{
		::close(fSlave);
		::close(fMaster);
	}

	// Makes the terminal the one of the calling process, which becomes a session of its own.
	void takeTerminal() const
	{
		::setsid();
		::ioctl(fSlave, TIOCSCTTY, 0);
		::dup2(fSlave, STDIN_FILENO);
		::dup2(fSlave, STDOUT_FILENO);
	}

	bool echoes() const
	{
		termios modes{};
		::tcgetattr(fSlave, &modes);
		return (modes.c_lflag & ECHO) != 0 && (modes.c_lflag & ICANON) != 0;
	}

	bool raisesInterrupts() const
	{
		termios modes{};
		::tcgetattr(fSlave, &modes);
		return modes.c_cc[VINTR] == 3;
	}

	void type(std::string_view text) const { EXPECT_EQ(::write(fMaster, text.data(), text.size()), static_cast<ssize_t>(text.size())); }

	int fMaster = -1;
	int fSlave = -1;
};

TEST_F(TerminalTest, ALineIsEditedAndTheTerminalIsRestored)
{
	EXPECT_EQ(statusOfChild(
	              [this]
	              {
		              takeTerminal();
		              Platform::IConsole &console = Platform::Detail::systemConsole();
		              CHECK_IN_CHILD(console.isTerminal(StandardStream::INPUT));
		              CHECK_IN_CHILD(console.enterKeyMode() && console.enterKeyMode());
		              CHECK_IN_CHILD(!echoes());
		              std::string line;
		              CHECK_IN_CHILD(console.readLine(line) == InputState::NOTHING_YET && !raisesInterrupts());
		              type("b\x01"
		                   "a\r\x04");
		              const auto next = [&]
		              {
			              InputState state = InputState::NOTHING_YET;
			              line.clear();
			              while ((state = console.readLine(line)) == InputState::NOTHING_YET)
			              {
			              }
			              return state;
		              };
		              CHECK_IN_CHILD(next() == InputState::READY && line == "ab\n" && raisesInterrupts());
		              CHECK_IN_CHILD(next() == InputState::END);
		              Platform::setInterruptsAreTaken(true);
		              CHECK_IN_CHILD(console.readLine(line) == InputState::NOTHING_YET);
		              type("x\x03y\r");
		              CHECK_IN_CHILD(next() == InputState::READY && line == "y\n" && Platform::takeInterrupt());
		              console.leaveKeyMode();
		              CHECK_IN_CHILD(echoes());
		              CHECK_IN_CHILD(console.enterKeyMode());
		              std::exit(0);
	              }),
	    0);
	EXPECT_TRUE(echoes());
}

TEST_F(TerminalTest, ASignalRestoresTheTerminal)
{
	for (const int number : {SIGTERM, SIGQUIT, SIGABRT})
	{
		EXPECT_EQ(statusOfChild(
		              [this, number]
		              {
			              takeTerminal();
			              std::signal(number, SIG_DFL);
			              CHECK_IN_CHILD(Platform::Detail::systemConsole().enterKeyMode());
			              ::raise(number);
			              return 0;
		              }),
		    128 + number);
		EXPECT_TRUE(echoes());
	}
}
}
}
