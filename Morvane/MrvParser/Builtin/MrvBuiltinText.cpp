#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvTask/MrvTask.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv::Builtins
{
namespace
{
// More bytes than this take long enough for the task to look at the clock afterwards.
constexpr size_t LONG_TEXT = 16384;

Value mapLetters(const BuiltinCall &call, char first, char last, int distance)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		return failText(call);
	}
	std::string mapped(text.view());
	for (char &letter : mapped)
	{
		if (letter >= first && letter <= last)
		{
			letter = static_cast<char>(letter + distance);
		}
	}
	if (mapped.size() > LONG_TEXT)
	{
		call.task.readClockSoon();
	}
	return Value::string(std::move(mapped));
}

// Between quotes. Escapes make a text up to four times as long: one that grows too long is given up on the way.
Value enquoteInPieces(const BuiltinCall &call, std::string_view text, char quote)
{
	std::string quoted(1, quote);
	while (!text.empty() && quoted.size() <= NodeWalk::MAX_TEXT)
	{
		const std::string_view piece = text.substr(0, LONG_TEXT);
		quoted += Utils::encodeString(piece, quote);
		text.remove_prefix(piece.size());
	}
	quoted += quote;
	return makeString(call, std::move(quoted));
}
}

Value ftn_substr(const BuiltinCall &call)
{
	if (!hasArguments(call, 2))
	{
		return Value();
	}
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		return failText(call);
	}
	const std::string_view bytes = text.view();
	const int64_t from = positionArgument(call, 1);
	if (from < 0 || static_cast<uint64_t>(from) >= bytes.size())
	{
		return Value::string("");
	}
	const int64_t length = isGiven(call, 2) ? positionArgument(call, 2) : -1;
	const std::string_view part = bytes.substr(static_cast<size_t>(from), length < 0 ? bytes.size() : static_cast<size_t>(length));
	if (part.size() == bytes.size() && text.string())
	{
		return *text.string();
	}
	if (part.size() > LONG_TEXT)
	{
		call.task.readClockSoon();
	}
	return Value::string(part);
}

Value ftn_toLowerCase(const BuiltinCall &call)
{
	return mapLetters(call, 'A', 'Z', 'a' - 'A');
}

Value ftn_toUpperCase(const BuiltinCall &call)
{
	return mapLetters(call, 'a', 'z', 'A' - 'a');
}

Value ftn_toString(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	if (call.getArgument(0).isString())
	{
		return call.getArgument(0);
	}
	std::string text;
	if (!getAsString(call.getArgument(0), text))
	{
		return failText(call);
	}
	call.task.readClockSoon();
	return Value::string(std::move(text));
}

Value ftn_stringify(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	std::string text;
	if (!toString(call.getArgument(0), text))
	{
		return failText(call);
	}
	call.task.readClockSoon();
	return Value::string(std::move(text));
}

Value ftn_enquote(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		return failText(call);
	}
	char quote = '"';
	if (isGiven(call, 1))
	{
		const TextArgument quoteText(call, 1);
		quote = quoteText.view().empty() ? quote : quoteText.view().front();
	}
	call.task.readClockSoon();
	return enquoteInPieces(call, text.view(), quote);
}
}
