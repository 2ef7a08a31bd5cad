#pragma once

#include <cstdint>

namespace Mrv::Platform
{
using ProcessId = std::uint32_t;

ProcessId currentProcessId();

// Whether a process with that id lives. One that has ended and only waits for its parent to notice doesn't. On Windows a process
// that ended with the exit code 259 counts as running, since the system tells them apart in no other way.
bool isProcessRunning(ProcessId processId);
}
