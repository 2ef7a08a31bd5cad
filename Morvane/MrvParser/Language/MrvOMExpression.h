#pragma once

#include "MrvParser/Language/MrvEnvironment.h"
#include "MrvParser/Language/MrvSourceText.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <functional>
#include <string>

namespace Mrv
{
// A parsed expression, statements included: there is no other program. Made by the factories of its classes, immutable once the
// parser is done with it, shared freely.
//
// An operand is a Value: a constant, a literal Array or Map (a fresh container each time it is evaluated), a Function (defined in the
// running scope when it has a name), or an Expression.
class OMExpression : public IExpression
{
public:
	// Works out the value. An l-value that isn't there gives ABSENT; a `return` or `break` on its way out is marked as such. What can't
	// be done has been logged and is an Error value.
	void evaluate(Task &task, Value &result, Environment &environment) const
	{
		if (!fIsDirect || task.isSuspended() || Task::isAlwaysYield() || !evaluateDirect(result, environment))
		{
			evaluate_yielding(task, result, environment);
		}
	}
	virtual void evaluate_yielding(Task &task, Value &result, Environment &environment) const = 0;
	// The same without a frame, for what can neither suspend nor call: names, constants, arithmetic on them, one effect at the very
	// end. False: it can't be done so after all, and nothing has happened yet. Only while `isDirect`.
	virtual bool evaluateDirect(Value &result, Environment &environment) const;
	bool isDirect() const { return fIsDirect; }
	// Direct and without any effect.
	bool isPure() const { return fIsPure; }
	// Levels of expressions below and including this one.
	uint32_t getHeight() const { return fHeight; }

	// The value as a node, in the phase that runs; `PARSE` gives an empty result for what isn't constant.
	void get_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, AccessType accessType,
	    const std::shared_ptr<OMScope> &scope, ScriptPhase phase) const;
	void get_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, const std::shared_ptr<OMScope> &scope) const
	{
		get_yielding(task, result, AccessType::GET, scope, ScriptPhase::RUN);
	}
	// Assigns to what the expression denotes. Only l-values can; the others refuse with a log line.
	virtual void set_yielding(const std::shared_ptr<Task> &task, bool &success, std::shared_ptr<IOMNode> &value,
	    const std::shared_ptr<OMScope> &scope, ScriptPhase phase) const;

	// Calls a function for each operand, in order of evaluation.
	using OperandVisitor = std::function<void(const Value &)>;
	virtual void forEachOperand(const OperandVisitor &visit) const = 0;

	// Where the operation stands: in which text (may be null), at which byte.
	const SourceText *getSource() const { return fSource.get(); }
	uint32_t getSourceOffset() const { return fSourceOffset; }
	void setSource(const Ref<SourceText> &source, uint32_t offset)
	{
		fSource = source;
		fSourceOffset = offset;
	}

protected:
	static constexpr uint32_t MAX_DIRECT_HEIGHT = 64;

	// Whether an operand can be evaluated directly and without any effect.
	static bool isPureOperand(const Value &operand);
	// Computes height and marks from the operands; a class calls it at the end of its construction. `isDirectByItself`: this operation
	// itself needs no frame; `isPureByItself`: nor has it an effect.
	void finishConstruction(bool isDirectByItself, bool isPureByItself);

	bool fIsDirect = false;
	bool fIsPure = false;
	uint32_t fHeight = 1;
	uint32_t fSourceOffset = 0;
	Ref<SourceText> fSource;
};
}
