#pragma once

#include "MrvParser/Language/MrvBuiltin.h"

#include <optional>
#include <string>
#include <string_view>

namespace Mrv::Builtins
{
// How the built-in functions read their arguments.

// Logs "insufficient arguments" and answers false when there are fewer than `count`.
bool hasArguments(const BuiltinCall &call, size_t count);

// Whether an optional argument is there.
inline bool isGiven(const BuiltinCall &call, size_t index)
{
	return call.getArgument(index).type() != OMType::Undefined;
}

// The argument as a plain value: of a node (`this`) what it holds, if that is a value. `room` is where that is put then.
const Value &plainArgument(const BuiltinCall &call, size_t index, Value &room);

double numberArgument(const BuiltinCall &call, size_t index);
int64_t positionArgument(const BuiltinCall &call, size_t index);

// The text of an argument; a String is looked at where it lies. Valid as long as the call's arguments.
class TextArgument
{
public:
	TextArgument(const BuiltinCall &call, size_t index);
	TextArgument(const TextArgument &) = delete;
	TextArgument &operator=(const TextArgument &) = delete;

	// False when the value is too deep, too long or holds itself; the text is empty then.
	bool isOk() const { return fIsOk; }
	std::string_view view() const { return fString ? fString->text() : std::string_view(fText); }
	// The String itself if the argument is one, else null.
	const Value *string() const { return fString; }

private:
	const Value *fString;
	std::string fText;
	bool fIsOk = true;
};

// The Error for a text that can't be made.
Value failText(const BuiltinCall &call);

// A String, or the Error for one that is longer than a String may be.
Value makeString(const BuiltinCall &call, std::string &&text);
}
