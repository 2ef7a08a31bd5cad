#pragma once

#include "MrvParser/Node/MrvHeapObject.h"
#include "MrvParser/Node/MrvValue.h"

#include <string>

namespace Mrv
{
class NodeWalk;

// A parsed expression as values see it: what it takes to render, hash and compare one. Evaluating it is the business of
// the language's own classes.
class IExpression : public HeapObject
{
public:
	// Names the class: the first thing by which expressions are ordered.
	enum class Class : uint8_t
	{
		KEYWORD,
		LVALUE_CALL,
		LVALUE_INDEX,
		LVALUE_INDEX_BY_EXPRESSION,
		LVALUE_STR,
		LVALUE_TOKEN,
		UNARY,
		BINARY,
		TERNARY,
		SEQUENCE,
		NATIVE, // the body of a function that no script has written
	};

	virtual Class getClass() const = 0;
	// Appends the source text; false when the walk's limits are reached.
	virtual bool appendText(std::string &text, NodeWalk &walk) const = 0;
	// The same as what stands between the braces of a block, where `;` and `,` join their elements one after the other.
	virtual bool appendBlockText(std::string &text, NodeWalk &walk) const { return appendText(text, walk); }
	// The same in brackets; in braces what can't stand between brackets.
	virtual bool appendBracketedText(std::string &text, NodeWalk &walk) const;
	// How loosely the expression binds as an operand: the value of its operator (BinOp), 0 if it never needs brackets, BARE_WORD for what
	// no operator may follow.
	virtual uint32_t getOperatorValue() const { return 0; }
	static constexpr uint32_t BARE_WORD = 27;
	virtual uint64_t computeHash(NodeWalk &walk) const = 0;
	// Orders by class, operator or field, then operands: below, equal to or above 0.
	virtual int compare(const IExpression &other, NodeWalk &walk) const = 0;
	// The name that the expression stands for where a name is expected; empty if it is no name.
	virtual std::string getIdentifier() const { return {}; }
	virtual bool isReturn() const { return false; }
	// The operand of `return`; only if isReturn.
	virtual const Value *getReturnOperand() const { return nullptr; }
	// The token of a keyword, -1 for other classes.
	virtual int getKeywordToken() const { return -1; }

	bool isLValue() const
	{
		const Class ownClass = getClass();
		return ownClass >= Class::LVALUE_CALL && ownClass <= Class::LVALUE_TOKEN;
	}

protected:
	IExpression() noexcept : HeapObject(Children::SOME) {}
};

inline IExpression *Value::expression() const noexcept
{
	return static_cast<IExpression *>(object());
}
}
