// The console's events arrive in a thread of their own. Returning from the handler of a close, log-off or shutdown event ends the
// process, so the handler waits there until main is done.
#include "MrvPlatform/MrvSignals.h"

#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvInterrupts.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <atomic>
#include <csignal>

namespace Mrv::Platform
{
namespace
{
// The system gives a process about 5 s.
constexpr DWORD kLongestWaitForEnd = 4000;
// Signals that Windows has no name for, by their usual numbers.
constexpr int kHangUp = 1;

std::atomic<int> sPendingSignal{0};
// Stays set, so that a later event doesn't wait either.
const HANDLE sEndReached = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);

BOOL WINAPI handleConsoleEvent(DWORD event)
{
	return handleEndRequest(event) ? TRUE : FALSE;
}

int signalOf(std::uint32_t event)
{
	switch (event)
	{
		case CTRL_C_EVENT:
			return SIGINT;
		case CTRL_CLOSE_EVENT:
			return kHangUp;
		case CTRL_BREAK_EVENT:
		case CTRL_LOGOFF_EVENT:
		case CTRL_SHUTDOWN_EVENT:
			return SIGTERM;
		default:
			return 0;
	}
}
}

void installOrderlyEndHandlers()
{
	// A process started in a group of its own begins with Ctrl-C switched off.
	::SetConsoleCtrlHandler(nullptr, FALSE);
	::SetConsoleCtrlHandler(handleConsoleEvent, TRUE);
}

int pendingSignal() noexcept
{
	return sPendingSignal.load();
}

void orderlyEndReached() noexcept
{
	::SetEvent(sEndReached);
}

bool handleEndRequest(std::uint32_t number) noexcept
{
	const int signalNumber = signalOf(number);
	if (signalNumber == 0)
	{
		return false;
	}
	if (number == CTRL_C_EVENT && Detail::acceptInterrupt())
	{
		return true;
	}
	int none = 0;
	if (!sPendingSignal.compare_exchange_strong(none, signalNumber))
	{
		restoreTerminalNow();
		::ExitProcess(static_cast<UINT>(128 + signalNumber));
	}
	wake();
	if (number != CTRL_C_EVENT && number != CTRL_BREAK_EVENT)
	{
		::WaitForSingleObject(sEndReached, kLongestWaitForEnd);
	}
	return true;
}

void resetOrderlyEnd() noexcept
{
	sPendingSignal.store(0);
	setInterruptsAreTaken(false);
	::ResetEvent(sEndReached);
}
}
