#pragma once

#include "MrvParser/Language/MrvOMExpressionLValue.h"

namespace Mrv
{
// A call of a computed callee: `(x)(1)`, `f(1)(2)`, `a[0](1)`. Its `this` is the scope of the caller.
class OMExpressionLValueCall final : public OMExpressionLValue
{
public:
	OMExpressionLValueCall(Value callee, std::vector<Value> &&arguments);

	Class getClass() const override { return Class::LVALUE_CALL; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool assignDirect(Value &, Value &&, Environment &) const override { return false; }
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;
	bool isCall() const override { return true; }

private:
	void locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const override;
	bool locateDirect(Place &, Environment &) const override { return false; }

	const std::vector<Value> fArguments;
};
}
