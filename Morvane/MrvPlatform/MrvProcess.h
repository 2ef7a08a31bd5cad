#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Mrv::Platform
{
using ProcessId = std::uint32_t;

ProcessId currentProcessId();

// Whether a process with that id lives. One that has ended and only waits for its parent to notice doesn't; when that parent is this
// process and `launchProcess` has started it, it is noticed here. On Windows a process that ended with the exit code 259 counts as
// running, since the system tells them apart in no other way.
bool isProcessRunning(ProcessId processId);

// A text that tells this machine from others that share a folder with it. The same at every call.
const std::string &machineId();

// A text that tells a process from every other that has or had its id: the machine, then the start of the system and of the process. One
// line without blanks. Empty when there is no such process or the system doesn't tell.
std::string processStartToken(ProcessId processId);

// The machine's part of such a token; empty for a text that is none.
std::string machineOfStartToken(const std::string &token);

// A running process whose program file has this name, in any case of letters; 0 when there is none. Of several any one.
ProcessId findProcess(const std::string &programName);

// Starts a program, the first of `arguments`, with the arguments as they are, no shell between. The process stands alone: in a session of
// its own without a terminal or a console window, standard streams on the null device, no other descriptor or handle of ours. 0 when it
// can't be started.
ProcessId launchProcess(const std::vector<std::string> &arguments);
}
