#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// Why a reference calls a function of the script: to ask whether the children of a node are to be passed over, or to have the matches
// turned into a result.
enum class FunctionPhase : uint32_t
{
	NONE = 0,
	IGNORE_CHILDREN = 1,
	PROCESS = 2,
};

// "ignore" and "process"; anything else gives NONE, with a log line.
FunctionPhase functionPhaseFromStr(const std::string &text);
// "none", "ignore", "process"; for any other value "none", with a log line.
std::string functionPhaseToStr(FunctionPhase phase);
}
