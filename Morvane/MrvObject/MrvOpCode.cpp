#include "MrvObject/MrvOpCode.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvObject.h"

#include <array>

namespace Mrv
{
const std::string &Object::opCodeToString(OpCode opCode)
{
	static const std::array<const std::string, 17> NAMES = {"none", "terminate", "ping", "ping_reply", "logTrace", "logNote", "logWarning",
	    "logError", "stdOut", "stdErr", "openSession", "closeSession", "eval", "evalFile", "evalResult", "dataRequest", "dataReply"};
	static const std::string NO_NAME;
	const auto value = static_cast<std::size_t>(opCode);
	SANITY_CHECK(value < NAMES.size(), return NO_NAME);
	return NAMES[value];
}
}
