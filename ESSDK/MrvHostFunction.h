#pragma once

#include "MrvParser/Language/MrvOMExpression.h"

namespace Mrv
{
class OMScope;

// The body of a function by which scripts reach the host:
//   evalExtendScript(text, function)   queues the text for the host and goes on; the function, which may be left out, is called with
//                                      result and error when the host has reported. Also as `text.evalExtendScript(function)`.
//   hostEval(text, milliseconds)       queues it and waits for the report: gives the result, or an Error, with a log line, for an error
//   that
//                                      the host reports and when the time is over (as long as other remote operations, if left out).
class HostFunction final : public OMExpression
{
public:
	// Puts both into a scope, as values that a script may shadow.
	static void install(OMScope &scope);

	enum class Kind : uint8_t
	{
		EVAL_EXTEND_SCRIPT,
		HOST_EVAL,
	};
	explicit HostFunction(Kind kind) : fKind(kind) { finishConstruction(false, false); }

	Class getClass() const override { return Class::NATIVE; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	void forEachOperand(const OperandVisitor &) const override {}
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;

private:
	void queue(Task &task, Value &result, Environment &environment) const;
	void evaluateAndWait_yielding(Task &task, Value &result, Environment &environment) const;

	const Kind fKind;
};
}
