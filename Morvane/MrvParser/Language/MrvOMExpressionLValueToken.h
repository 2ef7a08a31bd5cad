#pragma once

#include "MrvParser/Language/MrvBuiltin.h"
#include "MrvParser/Language/MrvOMExpressionLValue.h"

namespace Mrv
{
// A built-in word, bare or behind a dot: always a call of the built-in function, also without brackets. It can't be assigned to, unless
// the function says how.
class OMExpressionLValueToken final : public OMExpressionLValue
{
public:
	OMExpressionLValueToken(Value parent, Token token);
	OMExpressionLValueToken(const OMExpressionLValueToken &word, std::vector<Value> &&arguments);

	Class getClass() const override { return Class::LVALUE_TOKEN; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool assignDirect(Value &, Value &&, Environment &) const override { return false; }
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;
	bool isCall() const override { return true; }
	bool refusesAssignment() const override { return !fBuiltin || !fBuiltin->access_yielding; }
	void assign_yielding(Task &task, Value &result, const Value &value, Environment &environment) const override;
	void increment_yielding(Task &task, Value &result, UnOp unOp, Environment &environment) const override;
	Token getToken() const { return fToken; }
	bool hasArgumentList() const { return fHasArgumentList; }
	std::string getRefusal() const override;

private:
	void locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const override;
	bool locateDirect(Place &, Environment &) const override { return false; }
	void finish();
	static Value receiverAt(Place &place, bool &isNew, Environment &environment);
	// With SET, assigns a value, or, with an operator, what that makes of the present one; with GET_CREATE, gives the node, made where it
	// is missing. Receiver and arguments are worked out once.
	void access_yielding(
	    Task &task, Value &result, AccessType accessType, const Value &value, const UnOp *unOp, Environment &environment) const;
	const Value &operandAt(size_t index) const;
	size_t operandCount() const { return fArguments.size() + (hasParent() ? 1 : 0); }

	const Token fToken;
	const bool fHasArgumentList;
	const std::vector<Value> fArguments;
	const Builtin *fBuiltin;
};
}
