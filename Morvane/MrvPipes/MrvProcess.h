#pragma once

#include "MrvPlatform/MrvProcess.h"

#include <cstdint>
#include <string>
#include <vector>

// Other processes: whether they live, and how they are started.
namespace Mrv::Process
{
// Whether a process lives. With the start token that it published (see Platform::processStartToken), whether it is still that one: ids are
// given out again. A token that is empty, another machine's, or can't be compared decides nothing.
bool isRunning(std::uint32_t processId);
bool isRunning(std::uint32_t processId, const std::string &startToken);

// A running process whose program file has this name, in any case of letters; 0 when there is none.
std::uint32_t getProcessId(const std::string &processName);

// The process that this one has launched last with exactly these arguments, if it still lives; else 0.
std::uint32_t getProcessId(const std::vector<std::string> &launchArgs);

// Starts a program, the first of the arguments, detached and without a window or a terminal, unless the one launched before with the same
// arguments still lives. What a dead process has published at `pidFilePath` (may be empty) is removed first, so that what the new one
// publishes is the only evidence of it. The process's id; 0, after a log line and with nothing touched, when it can't be started.
std::uint32_t launchProcess(const std::vector<std::string> &launchArgs, const std::string &pidFilePath);
}
