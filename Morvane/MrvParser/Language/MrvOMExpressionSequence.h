#pragma once

#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvOperators.h"

#include <vector>

namespace Mrv
{
// A flat run of one operator: `;` and `,` give the value of the last element, `+` the running sum. `break` and a returned value stop a
// sequence of statements and travel up.
class OMExpressionSequence final : public OMExpression
{
public:
	// binOp: SEQUENCE, COMMA or ADD.
	OMExpressionSequence(BinOp binOp, Value first, Value second);

	// The parser's way to add an element while it builds the sequence, in constant time.
	void append(Value element);

	Class getClass() const override { return Class::SEQUENCE; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	bool appendBlockText(std::string &text, NodeWalk &walk) const override;
	bool appendBracketedText(std::string &text, NodeWalk &walk) const override;
	uint32_t getOperatorValue() const override { return static_cast<uint32_t>(fBinOp); }
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &visit) const override;
	BinOp getBinOp() const { return fBinOp; }
	const std::vector<Value> &getElements() const { return fNodeSequence; }

private:
	void noteElement(const Value &element);
	bool isAtEnd(size_t index, const Value &value) const { return index == fNodeSequence.size() || value.isLeaving(); }
	bool evaluateDirectRun(Task &task, Value &value, size_t &index, Environment &environment) const;
	void evaluateStatements_yielding(Task &task, Value &result, Environment &environment) const;
	void evaluateSum_yielding(Task &task, Value &result, Environment &environment) const;
	bool isBlockOnly() const;
	bool canListFollow() const;
	bool appendElements(std::string &text, TextPlace place, NodeWalk &walk) const;
	bool appendElement(std::string &text, size_t index, TextPlace place, NodeWalk &walk) const;
	Value add(Value sum, Value term, size_t index) const;

	const BinOp fBinOp;
	std::vector<Value> fNodeSequence;
};
}
