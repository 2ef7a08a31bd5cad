#pragma once

#include "MrvParser/Language/MrvOMExpressionLValue.h"

namespace Mrv
{
// A name: a variable, a member, or with arguments a call of what has that name.
class OMExpressionLValueStr final : public OMExpressionLValue
{
public:
	OMExpressionLValueStr(Value parent, const std::string &identifier);
	OMExpressionLValueStr(const OMExpressionLValueStr &name, std::vector<Value> &&arguments);

	Class getClass() const override { return Class::LVALUE_STR; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool assignDirect(Value &result, Value &&value, Environment &environment) const override;
	Value *findPlainPlace(Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;
	std::string getIdentifier() const override { return std::string(fName.view()); }
	bool isCall() const override { return fIsCall; }
	bool isPlainName() const override { return !fIsCall && !hasParent(); }
	const Name &getName() const { return fName; }
	const std::vector<Value> &getArguments() const { return fArguments; }

	// Told by the function whose body this stands in: the slot that the name has in its calls.
	void setSlot(uint32_t layoutId, size_t slot) const
	{
		fLayoutId = layoutId;
		fSlot = static_cast<uint32_t>(slot);
	}

private:
	void locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const override;
	bool locateDirect(Place &place, Environment &environment) const override;
	void evaluateVariable_yielding(Task &task, Value &result, Environment &environment) const;
	void evaluateMember_yielding(Task &task, Value &result, Environment &environment) const;
	void evaluateCall_yielding(Task &task, Value &result, Environment &environment) const;
	Environment::Variable findVariable(Environment &environment) const;
	bool findCallee(Value &callee, const Value &thisNode, Environment &environment) const;

	const Name fName;
	const bool fIsCall;
	const std::vector<Value> fArguments;
	mutable uint32_t fLayoutId = 0; // 0: in no function, or the name has no slot
	mutable uint32_t fSlot = 0;
	mutable uint32_t fGuess = 0; // position in the outermost map, or in the container
};
}
