// The standard streams as descriptors 0, 1 and 2. Nothing goes through stdio. The terminal's modes are changed for the key mode
// alone; what they were is kept in static storage, where a signal handler may use it.
#include "MrvPlatform/MrvSystemConsole.h"

#include "MrvPlatform/MrvBufferedConsole.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvSleep.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace Mrv::Platform
{
namespace
{
termios sTerminalModes{};
termios sKeyModes{};
std::atomic<bool> sIsInKeyMode{false};
std::atomic<bool> sWasAway{false}; // stopped and continued: the screen was somebody else's

// Changing the modes from the background would stop the process.
bool isInForeground()
{
	return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

extern "C" void morvaneRestoreTerminalAndDie(int number)
{
	restoreTerminalNow();
	std::signal(number, SIG_DFL);
	std::raise(number);
}

extern "C" void morvaneHandleContinue(int)
{
	const int savedErrno = errno;
	if (sIsInKeyMode.load() && isInForeground())
	{
		::tcsetattr(STDIN_FILENO, TCSANOW, &sKeyModes);
		sWasAway.store(true);
		wake();
	}
	errno = savedErrno;
}

extern "C" void morvaneHandleStop(int number)
{
	const int savedErrno = errno;
	if (sIsInKeyMode.load())
	{
		::tcsetattr(STDIN_FILENO, TCSANOW, &sTerminalModes);
	}
	// SIGSTOP can't be caught, so the handler needs no reinstalling when the process goes on.
	static_cast<void>(number);
	std::raise(SIGSTOP);
	errno = savedErrno;
}

// Installs `handler` where nobody else has one: neither the handlers of the orderly end nor those of a sanitizer.
void handleWhereDefault(int number, void (*handler)(int))
{
	struct sigaction present
	{
	};
	if (::sigaction(number, nullptr, &present) != 0 || present.sa_handler != SIG_DFL)
	{
		return;
	}
	struct sigaction action
	{
	};
	action.sa_handler = handler;
	action.sa_flags = SA_RESTART;
	::sigemptyset(&action.sa_mask);
	::sigaction(number, &action, nullptr);
}

void guardTerminalAgainstSignals()
{
	for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL})
	{
		handleWhereDefault(number, morvaneRestoreTerminalAndDie);
	}
	handleWhereDefault(SIGTSTP, morvaneHandleStop);
	handleWhereDefault(SIGCONT, morvaneHandleContinue);
}

int descriptorOf(StandardStream stream)
{
	switch (stream)
	{
		case StandardStream::INPUT:
			return STDIN_FILENO;
		case StandardStream::OUTPUT:
			return STDOUT_FILENO;
		case StandardStream::ERROR_OUTPUT:
			return STDERR_FILENO;
	}
	return STDERR_FILENO;
}

void waitUntilWritable(int descriptor)
{
	pollfd polled{descriptor, POLLOUT, 0};
	::poll(&polled, 1, -1);
}

class SystemConsole final : public BufferedConsole
{
public:
	bool isTerminal(StandardStream stream) const override { return ::isatty(descriptorOf(stream)) == 1; }

	bool enterKeyMode() override
	{
		if (sIsInKeyMode.load())
		{
			return true;
		}
		if (!isInForeground() || ::tcgetattr(STDIN_FILENO, &sTerminalModes) != 0)
		{
			return false;
		}
		sKeyModes = sTerminalModes;
		sKeyModes.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
		sKeyModes.c_cc[VMIN] = 1;
		sKeyModes.c_cc[VTIME] = 0;
		guardTerminalAgainstSignals();
		sIsInKeyMode.store(true);
		if (::tcsetattr(STDIN_FILENO, TCSANOW, &sKeyModes) != 0)
		{
			sIsInKeyMode.store(false);
			return false;
		}
		return true;
	}

	void leaveKeyMode() override
	{
		endEditing();
		restoreTerminalNow();
	}

	void setInputWakesSleep(bool wakes) override
	{
		unregisterWakeSource(fWakeSource);
		fWakeSource = wakes ? registerWakeSource(STDIN_FILENO) : 0;
	}

protected:
	bool isInKeyMode() const override { return sIsInKeyMode.load(); }

	InputState fetchKeys(std::deque<KeyEvent> &keys) override
	{
		if (sWasAway.exchange(false))
		{
			keys.push_back({Key::REDRAW, {}});
		}
		return BufferedConsole::fetchKeys(keys);
	}

	std::size_t columns() const override
	{
		winsize size{};
		return ::ioctl(STDIN_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : BufferedConsole::columns();
	}

	void setInterruptKeyIsInput(bool isInput) override
	{
		if (sIsInKeyMode.load() && isInForeground())
		{
			sKeyModes.c_cc[VINTR] = isInput ? static_cast<cc_t>(_POSIX_VDISABLE) : sTerminalModes.c_cc[VINTR];
			::tcsetattr(STDIN_FILENO, TCSANOW, &sKeyModes);
		}
	}

	WriteOutcome writeThrough(StandardStream stream, std::string_view text) override
	{
		const int descriptor = descriptorOf(stream);
		while (!text.empty())
		{
			const ssize_t written = ::write(descriptor, text.data(), text.size());
			if (written >= 0)
			{
				text.remove_prefix(static_cast<std::size_t>(written));
			}
			else if (errno == EAGAIN)
			{
				waitUntilWritable(descriptor);
			}
			else if (errno != EINTR)
			{
				return errno == EPIPE ? WriteOutcome::CLOSED_PIPE : WriteOutcome::FAILED;
			}
		}
		return WriteOutcome::WRITTEN;
	}

	InputState fetchInput(std::string &bytes) override
	{
		pollfd polled{STDIN_FILENO, POLLIN, 0};
		const int ready = ::poll(&polled, 1, 0);
		if (ready == 0 || (ready < 0 && errno == EINTR))
		{
			return InputState::NOTHING_YET;
		}
		std::array<char, 65536> buffer;
		const ssize_t size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
		if (size > 0)
		{
			bytes.append(buffer.data(), static_cast<std::size_t>(size));
			return InputState::READY;
		}
		return size < 0 && (errno == EINTR || errno == EAGAIN) ? InputState::NOTHING_YET : InputState::END;
	}

private:
	WakeSourceId fWakeSource = 0;
};
}

IConsole &Detail::systemConsole()
{
	static SystemConsole &sConsole = []() -> SystemConsole &
	{
		auto &console = makeLasting<SystemConsole>();
		std::atexit(
		    []
		    {
			    systemConsole().flush();
			    restoreTerminalNow();
		    });
		return console;
	}();
	return sConsole;
}

void prepareStandardStreams()
{
	std::signal(SIGPIPE, SIG_IGN);
	// A standard stream that the process was started without must not become the next file that is opened. The stand-ins are
	// opened the wrong way round, so that reading and writing fail as before.
	for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
	{
		if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
		{
			static_cast<void>(::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
		}
	}
}

void restoreTerminalNow() noexcept
{
	const int savedErrno = errno;
	if (sIsInKeyMode.exchange(false))
	{
		::tcsetattr(STDIN_FILENO, TCSANOW, &sTerminalModes);
	}
	errno = savedErrno;
}
}
