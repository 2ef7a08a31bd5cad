#include "MrvParser/Reference/MrvFunctionPhase.h"

#include "MrvLogger/MrvLogger.h"

namespace Mrv
{
FunctionPhase functionPhaseFromStr(const std::string &text)
{
	if (text == "ignore")
	{
		return FunctionPhase::IGNORE_CHILDREN;
	}
	if (text == "process")
	{
		return FunctionPhase::PROCESS;
	}
	LOG_ERROR("unrecognized functionPhaseStr");
	return FunctionPhase::NONE;
}

std::string functionPhaseToStr(FunctionPhase phase)
{
	switch (phase)
	{
		case FunctionPhase::NONE:
			return "none";
		case FunctionPhase::IGNORE_CHILDREN:
			return "ignore";
		case FunctionPhase::PROCESS:
			return "process";
	}
	LOG_ERROR("unxpected functionPhase");
	return "none";
}
}
