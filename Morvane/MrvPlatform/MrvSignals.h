#pragma once

#include <cstdint>

// The orderly end that a user or the system asks for: SIGTERM, SIGINT and SIGHUP, on Windows the console's events.
namespace Mrv::Platform
{
// From now on such a request is only noted, and the present sleep ended; `pendingSignal` tells. A second request ends the process
// at once, the way the system would have done. A SIGHUP that was ignored when the process started (nohup) stays ignored.
// For a process of our own; never called inside a host.
void installOrderlyEndHandlers();

// The number of the signal that asked for the end, 0 when none has. Windows events count as their kin: Ctrl-C as 2, closing the
// window as 1, Ctrl-Break, log-off and shutdown as 15.
int pendingSignal() noexcept;

// While on, the first requests by Ctrl-C (SIGINT, CTRL_C_EVENT) are no requests for the end: each is an interrupt of what runs, and ends
// the present sleep. When nobody takes them, the third asks for the end after all. Switching forgets what was noted.
void setInterruptsAreTaken(bool areTaken) noexcept;

// Notes an interrupt that came in another way, as a key.
void noteInterrupt() noexcept;

// Whether there was an interrupt since this was asked last.
bool takeInterrupt() noexcept;

// Main says that nothing is left to do but to return. On Windows this ends the wait of a close, log-off or shutdown event, which
// holds the system back for at most 4 s; elsewhere it does nothing.
void orderlyEndReached() noexcept;

// What the system calls on a request: a signal's number on POSIX systems, an event's number (CTRL_C_EVENT and its kin) on Windows.
// The answer is Windows's: whether the event was handled. Public so that a test can call it.
bool handleEndRequest(std::uint32_t number) noexcept;

// Forgets requests and an end that were noted. For tests.
void resetOrderlyEnd() noexcept;
}
