#include "MrvPlatform/MrvSignals.h"

#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvInterrupts.h"
#include "MrvPlatform/MrvSleep.h"

#include <array>
#include <atomic>
#include <csignal>

namespace Mrv::Platform
{
namespace
{
constexpr std::array kEndSignals{SIGTERM, SIGINT, SIGHUP};

std::atomic<int> sPendingSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "the handler may not lock");

extern "C" void morvaneHandleEndSignal(int number)
{
	handleEndRequest(static_cast<std::uint32_t>(number));
}
}

void installOrderlyEndHandlers()
{
	for (const int number : kEndSignals)
	{
		struct sigaction present
		{
		};
		if (number == SIGHUP && ::sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN)
		{
			continue;
		}
		struct sigaction action
		{
		};
		action.sa_handler = morvaneHandleEndSignal;
		action.sa_flags = SA_RESTART;
		::sigemptyset(&action.sa_mask);
		::sigaction(number, &action, nullptr);
	}
}

int pendingSignal() noexcept
{
	return sPendingSignal.load();
}

void orderlyEndReached() noexcept {}

bool handleEndRequest(std::uint32_t number) noexcept
{
	if (number == SIGINT && Detail::acceptInterrupt())
	{
		return true;
	}
	int none = 0;
	if (sPendingSignal.compare_exchange_strong(none, static_cast<int>(number)))
	{
		wake();
		return true;
	}
	restoreTerminalNow();
	std::signal(static_cast<int>(number), SIG_DFL);
	// Inside the handler the signal is blocked: it takes effect when the handler returns.
	std::raise(static_cast<int>(number));
	return true;
}

void resetOrderlyEnd() noexcept
{
	sPendingSignal.store(0);
	setInterruptsAreTaken(false);
}
}
