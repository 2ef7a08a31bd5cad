#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Node/MrvConversions.h"

namespace Mrv::Builtins
{
Value ftn_logError(const BuiltinCall &call)
{
	if (hasArguments(call, 1))
	{
		LOG_ERROR(getAsString(call.getArgument(0)));
	}
	return Value();
}

Value ftn_logWarning(const BuiltinCall &call)
{
	if (hasArguments(call, 1))
	{
		LOG_WARNING(getAsString(call.getArgument(0)));
	}
	return Value();
}

Value ftn_logNote(const BuiltinCall &call)
{
	if (hasArguments(call, 1))
	{
		LOG_NOTE(getAsString(call.getArgument(0)));
	}
	return Value();
}

Value ftn_logTrace(const BuiltinCall &call)
{
	if (hasArguments(call, 1))
	{
		LOG_TRACE(getAsString(call.getArgument(0)));
	}
	return Value();
}
}
