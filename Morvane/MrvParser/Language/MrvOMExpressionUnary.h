#pragma once

#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Node/MrvOperators.h"

namespace Mrv
{
// An operator with one operand: signs, logic, `typeof`, `++` and `--`, and `return`.
class OMExpressionUnary final : public OMExpression
{
public:
	OMExpressionUnary(UnOp unOp, Value operand);

	Class getClass() const override { return Class::UNARY; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint32_t getOperatorValue() const override { return isReturn() ? BARE_WORD : 0; }
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override { visit(fNode); }
	bool isReturn() const override { return fUnOp == UnOp::RETURN; }
	const Value *getReturnOperand() const override { return &fNode; }
	UnOp getUnOp() const { return fUnOp; }
	const Value &getOperand() const { return fNode; }

private:
	Value apply(Value operand) const;
	bool needsBracketsForOperand() const;

	const UnOp fUnOp;
	const Value fNode;
};
}
