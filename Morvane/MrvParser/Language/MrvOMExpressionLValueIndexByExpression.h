#pragma once

#include "MrvParser/Language/MrvOMExpressionLValue.h"

namespace Mrv
{
// `a[i]`: the index is worked out when it is needed. A value of type Int of at least 0 is a position, anything else the name of an
// attribute. Constant positions (`a[3]`) are this class too, but count as OMExpressionLValueIndex in text and order.
class OMExpressionLValueIndexByExpression final : public OMExpressionLValue
{
public:
	OMExpressionLValueIndexByExpression(Value parent, Value index);

	Class getClass() const override { return fIsConstant ? Class::LVALUE_INDEX : Class::LVALUE_INDEX_BY_EXPRESSION; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool assignDirect(Value &result, Value &&value, Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;

private:
	void locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const override;
	bool locateDirect(Place &place, Environment &environment) const override;
	const char *getAccessComplaint() const override { return "cannot access index"; }
	// What an index value addresses: itself as position, else the text of it.
	bool toKey(Value &index) const;

	const Value fIndexExpression;
	const bool fIsConstant;
};
}
