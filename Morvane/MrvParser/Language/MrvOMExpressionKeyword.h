#pragma once

#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Language/MrvToken.h"

namespace Mrv
{
// A word without operands: `break`, which ends the loop around it, `debugger`, which logs a note, and `var`, which stands in front of the
// statement whose names are local.
class OMExpressionKeyword final : public OMExpression
{
public:
	explicit OMExpressionKeyword(Token token);

	Class getClass() const override { return Class::KEYWORD; }
	void evaluate_yielding(Task &task, Value &result, Environment &environment) const override;
	bool evaluateDirect(Value &result, Environment &environment) const override;
	bool appendText(std::string &text, NodeWalk &walk) const override;
	bool appendBracketedText(std::string &text, NodeWalk &walk) const override;
	uint32_t getOperatorValue() const override { return BARE_WORD; }
	uint64_t computeHash(NodeWalk &walk) const override;
	int compare(const IExpression &other, NodeWalk &walk) const override;
	void forEachOperand(const OperandVisitor &) const override {}
	int getKeywordToken() const override { return static_cast<int>(fToken); }
	Token getToken() const { return fToken; }

private:
	const Token fToken;
};
}
