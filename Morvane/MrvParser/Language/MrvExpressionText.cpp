#include "MrvParser/Language/MrvExpressionText.h"

#include "MrvParser/Language/MrvOMExpressionBinary.h"
#include "MrvParser/Language/MrvOMExpressionSequence.h"
#include "MrvParser/Language/MrvOMExpressionTernary.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvOperations.h"

namespace Mrv::ExpressionText
{
uint32_t operatorValue(const Value &operand)
{
	if (!operand.isExpression())
	{
		return 0;
	}
	switch (operand.expression()->getClass())
	{
		case IExpression::Class::BINARY:
			return static_cast<uint32_t>(static_cast<const OMExpressionBinary *>(operand.expression())->getBinOp());
		case IExpression::Class::SEQUENCE:
			return static_cast<uint32_t>(static_cast<const OMExpressionSequence *>(operand.expression())->getBinOp());
		case IExpression::Class::TERNARY:
			return static_cast<uint32_t>(BinOp::TERNARY);
		case IExpression::Class::KEYWORD:
		case IExpression::Class::LVALUE_CALL:
		case IExpression::Class::LVALUE_INDEX:
		case IExpression::Class::LVALUE_INDEX_BY_EXPRESSION:
		case IExpression::Class::LVALUE_STR:
		case IExpression::Class::LVALUE_TOKEN:
		case IExpression::Class::UNARY:
			break;
	}
	return 0;
}

bool appendOperand(std::string &text, const Value &operand, bool needsBrackets, NodeWalk &walk)
{
	text += needsBrackets ? "(" : "";
	if (!appendToString(text, operand, walk))
	{
		return false;
	}
	text += needsBrackets ? ")" : "";
	return true;
}

bool appendOperands(std::string &text, const std::vector<Value> &operands, const char *separator, NodeWalk &walk)
{
	for (size_t index = 0; index < operands.size(); ++index)
	{
		text += index > 0 ? separator : "";
		if (!appendToString(text, operands[index], walk))
		{
			return false;
		}
	}
	return true;
}

int compareClasses(const IExpression &left, const IExpression &right)
{
	return compareNumbers(left.getClass(), right.getClass());
}

int compareOperands(const Value &left, const Value &right, NodeWalk &walk)
{
	if (!walk.visit())
	{
		return 0;
	}
	if (left.isExpression() && right.isExpression())
	{
		NodeWalk::Step step(walk, left.expression());
		return step.isEntered() ? left.expression()->compare(*right.expression(), walk) : 0;
	}
	if (left.type() != right.type())
	{
		return compareNumbers(left.type(), right.type());
	}
	if (compareEqual(left, right) == Comparison::YES || left.hasSameBits(right))
	{
		return 0;
	}
	return compareNumbers(computeHash(left), computeHash(right));
}

int compareLists(const std::vector<Value> &left, const std::vector<Value> &right, NodeWalk &walk)
{
	for (size_t index = 0; index < left.size() && index < right.size(); ++index)
	{
		const int order = compareOperands(left[index], right[index], walk);
		if (order != 0)
		{
			return order;
		}
	}
	return compareNumbers(left.size(), right.size());
}
}
