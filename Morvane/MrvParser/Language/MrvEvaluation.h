#pragma once

#include "MrvParser/Language/MrvEnvironment.h"
#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvValueList.h"
#include "MrvTask/MrvNestingGuard.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
// What the classes of expressions evaluate with.

// A frame that counts against the nesting limit. Beyond it the result is an Error and the function is finished at once.
template <class State>
class EvaluationFrame
{
public:
	EvaluationFrame(Task &task, Value &result, uint32_t units = 1) : EvaluationFrame(nullptr, task, result, units) {}
	// place: for the note of the Error.
	EvaluationFrame(const OMExpression &place, Task &task, Value &result, uint32_t units = 1) : EvaluationFrame(&place, task, result, units)
	{
	}

	bool running() { return fFrame.running(); }
	template <class At>
	At at() const
	{
		return fFrame.template at<At>();
	}
	template <class At, class Function>
	void call(At next, Function &&function)
	{
		fFrame.call(next, std::forward<Function>(function));
	}
	template <class At>
	void goTo(At next)
	{
		fFrame.goTo(next);
	}
	void finish() { fFrame.finish(); }
	State *operator->() { return fFrame.operator->(); }

private:
	EvaluationFrame(const OMExpression *place, Task &task, Value &result, uint32_t units);

	NestingGuard fGuard;
	YieldingFrame<State> fFrame;
};

namespace Evaluation
{
// Makes an Error of a failure at a place in the program: logs the text and notes it with its place in the running task, for the report
// if the evaluation ends in an Error.
Value fail(const OMExpression &place, const std::string &text);
// The same where the cause has been logged already: only the note is made.
Value failLogged(const OMExpression &place, const std::string &text);
// For a place that is too deep inside others; null: unknown.
Value failNesting(const OMExpression *place);
// For a program: nothing would come of it.
Value failUnnamed(const FunctionObject &function);
// "'<operand>' has no value"
Value failAbsent(const OMExpression &place, const Value &operand);

// A fresh container with the evaluated children of a literal.
void evaluateLiteral_yielding(Task &task, Value &result, const Value &literal, Environment &environment);
// A function literal as operand: defined in the environment when it has a name.
Value evaluateFunction(const Value &function, Environment &environment);

// The value of an operand, as it is: possibly ABSENT, returned or `break`.
inline void evaluateOperand(Task &task, Value &result, const Value &operand, Environment &environment)
{
	if (operand.isExpression())
	{
		static_cast<const OMExpression *>(operand.expression())->evaluate(task, result, environment);
	}
	else if (operand.isArray() || operand.isMap())
	{
		evaluateLiteral_yielding(task, result, operand, environment);
	}
	else
	{
		result = operand.isFunction() ? evaluateFunction(operand, environment) : operand;
	}
}

// The same without frames, where that is possible (see OMExpression::evaluateDirect).
inline bool evaluateOperandDirect(Value &result, const Value &operand, Environment &environment)
{
	if (operand.isExpression())
	{
		const auto *expression = static_cast<const OMExpression *>(operand.expression());
		return expression->isPure() && expression->evaluateDirect(result, environment);
	}
	if (operand.isFunction() || (operand.isArray() && !operand.array()->fIsData) || (operand.isMap() && !operand.map()->fIsData))
	{
		return false;
	}
	result = operand.isArray() || operand.isMap() ? cloneValue(operand, ALL_LEVELS) : operand;
	return true;
}

// The program that has a program run at an address: a call of `eval` with its text. `exit` and `quit` stay as they are.
Value programForElsewhere(const Value &program, const std::string &address);

// Runs a whole program: an Expression; of a bare Array or Map each child; a named function is defined and is the value, one without a
// name alone is a failure. A returned value keeps its mark, what isn't there is Undefined.
void evaluateProgram_yielding(Task &task, Value &result, const Value &program, Environment &environment);

// --- Reading children. The place of a child or null if there is none; a container that answers for itself sets `isOpaque`.
const Value *findAttribute(const Value &container, const Name &name, uint32_t &guess, bool &isOpaque);
const Value *findIndexed(const Value &container, const Value &index, bool &isOpaque);
// The one-byte string of a String, ABSENT beyond its end or for an index that is no position.
Value characterAt(const Value &text, const Value &index);
// Whether an index value is a position (an Int of at least 0) or the name of an attribute.
inline bool isPosition(const Value &index)
{
	return index.isInt() && index.intPayload() >= 0;
}
// Asks a container that answers for itself.
void readOpaque_yielding(Task &task, Value &result, const Value &container, const Value &key, Environment &environment);
// Runs an Expression that program code has stored in a place; any other value is its own.
void runStored_yielding(Task &task, Value &result, const Value &stored, Environment &environment);

// --- Writing children. False when the container can't take it; the reason has been logged. `key` is a position or a name.
bool storeChild(const Value &container, const Value &key, Value value);
bool storeAttribute(const Value &container, const Name &name, Value value);

// --- Calls
// Checks that a value can be called and makes the environment of the call; null with an Error noted when it can't.
Ref<Environment> enterCall(const OMExpression &place, const Value &callee, Value thisValue, ValueList &&arguments, Environment &caller);
// Calls a function with values. `thisValue` LAZY: the scope of the caller. What was returned is unwrapped.
void callFunction_yielding(
    Task &task, Value &result, const Value &function, const Value &thisValue, const ValueList &arguments, Environment &caller);
}

template <class State>
EvaluationFrame<State>::EvaluationFrame(const OMExpression *place, Task &task, Value &result, uint32_t units)
    : fGuard(units),
      fFrame(task, result)
{
	if (fFrame.isFirstEntry() && fGuard.isExceeded()) [[unlikely]]
	{
		result = Evaluation::failNesting(place);
		fFrame.finish();
	}
}
}
