#pragma once

#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Node/MrvOperators.h"

namespace Mrv
{
// An operator with two operands, an assignment, or a loop. There is no short circuit: `&&` and `||` evaluate both sides.
class OMExpressionBinary final : public OMExpression
{
public:
	OMExpressionBinary(BinOp binOp, Value left, Value right);

	Class getClass() const override { return Class::BINARY; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint32_t getOperatorValue() const override { return static_cast<uint32_t>(fBinOp); }
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;
	BinOp getBinOp() const { return fBinOp; }
	const Value &getLeft() const { return fNode1; }
	const Value &getRight() const { return fNode2; }

private:
	Value apply(Value &left, Value &right) const;
	bool appendLoopText(std::string &text, NodeWalk &walk) const;
	bool appendOperatorText(std::string &text, NodeWalk &walk) const;
	bool isLoop() const { return fBinOp == BinOp::WHILE || fBinOp == BinOp::DO_WHILE; }
	void evaluateOperator_yielding(Task &task, Value &result, Environment &environment) const;
	void evaluateAssignment_yielding(Task &task, Value &result, Environment &environment) const;
	void evaluateLoop_yielding(Task &task, Value &result, Environment &environment) const;
	bool assignDirect(Value &result, Environment &environment) const;
	bool appendToVariable(Value &result, Environment &environment) const;

	const BinOp fBinOp;
	const Value fNode1;
	const Value fNode2;
	bool fIsSelfAppend = false; // `name = name + ...`, the same plain name, with a pure rest
};
}
