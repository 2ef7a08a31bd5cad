#include "MrvParser/Builtin/MrvBuiltinArguments.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvNodeWalk.h"

namespace Mrv::Builtins
{
bool hasArguments(const BuiltinCall &call, size_t count)
{
	if (call.getArgumentCount() < count) [[unlikely]]
	{
		LOG_ERROR("insufficient arguments");
		return false;
	}
	return true;
}

const Value &plainArgument(const BuiltinCall &call, size_t index, Value &room)
{
	const Value &argument = call.getArgument(index);
	if (!argument.isNode()) [[likely]]
	{
		return argument;
	}
	room = Value::fromNode(argument.node());
	return room;
}

double numberArgument(const BuiltinCall &call, size_t index)
{
	Value room;
	return getAsNum(plainArgument(call, index, room));
}

int64_t positionArgument(const BuiltinCall &call, size_t index)
{
	Value room;
	return getAsBits(plainArgument(call, index, room));
}

TextArgument::TextArgument(const BuiltinCall &call, size_t index)
{
	const Value &argument = call.getArgument(index);
	fString = argument.isString() ? &argument : nullptr;
	if (!fString && !getAsString(argument, fText))
	{
		fIsOk = false;
		fText.clear();
	}
}

Value failText(const BuiltinCall &call)
{
	return Evaluation::fail(call.place, "the value has no text");
}

Value makeString(const BuiltinCall &call, std::string &&text)
{
	if (text.size() > NodeWalk::MAX_TEXT)
	{
		return Evaluation::fail(call.place, "text too long");
	}
	return Value::string(std::move(text));
}
}
