#pragma once

#include "MrvParser/Language/MrvEnvironment.h"
#include "MrvParser/Language/MrvToken.h"
#include "MrvParser/Node/MrvNodeTypes.h"
#include "MrvParser/Node/MrvValueList.h"

namespace Mrv
{
class OMExpression;
class Task;

// What a built-in function works on: its arguments, worked out, the receiver (`a` in `a.push(1)`) counting as the first.
struct BuiltinCall
{
	Task &task;
	Environment &environment;
	const OMExpression &place; // where the call stands, for error notes
	const ValueList &arguments;
	bool hasReceiver;

	size_t getArgumentCount() const { return arguments.size(); }
	// Undefined beyond the end.
	const Value &getArgument(size_t index) const;
};

// One built-in function. Either `run` or `run_yielding` is set.
struct Builtin
{
	enum class Effect : uint8_t
	{
		NONE,     // looks at its arguments only: may run without a frame, as part of a larger expression
		CHANGES,  // changes something, at once: may run without a frame, as a statement
		SUSPENDS, // may suspend, or runs code
	};

	Token token;
	Effect effect;
	Value (*run)(const BuiltinCall &call);
	// Follows the protocol of YieldingFrame; the arguments are the same on each entry.
	void (*run_yielding)(const BuiltinCall &call, Value &result);
	// Null for all that can't be assigned to. With SET, assigns to what the call denotes: `result` is the value, or an Error. With
	// GET_CREATE, gives the node that it denotes, made where it is missing. The receiver is the node of the place where it lies, so that it
	// can be changed itself. As above.
	void (*access_yielding)(const BuiltinCall &call, AccessType accessType, const Value &value, Value &result) = nullptr;

	// The function of a token, null if it has none (here). The table lives with the functions.
	static const Builtin *find(Token token);
};
}
