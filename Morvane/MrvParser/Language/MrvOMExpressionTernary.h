#pragma once

#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Node/MrvOperators.h"

namespace Mrv
{
// `c ? a : b` and `if (c) a else b`: one of two operands is evaluated.
class OMExpressionTernary final : public OMExpression
{
public:
	OMExpressionTernary(TernOp ternOp, Value condition, Value first, Value second);

	Class getClass() const override { return Class::TERNARY; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint32_t getOperatorValue() const override { return static_cast<uint32_t>(BinOp::TERNARY); }
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;
	TernOp getTernOp() const { return fTernOp; }

private:
	const Value &choose(Value &condition) const;

	const TernOp fTernOp;
	const Value fNode1;
	const Value fNode2;
	const Value fNode3;
};
}
