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
	return operand.isExpression() ? operand.expression()->getOperatorValue() : 0;
}

bool appendOperand(std::string &text, const Value &operand, bool needsBrackets, NodeWalk &walk)
{
	if (!needsBrackets || operand.isExpression())
	{
		return appendToString(text, operand, needsBrackets ? TextPlace::BRACKETS : TextPlace::WHOLE, walk);
	}
	text += '(';
	if (!appendToString(text, operand, walk))
	{
		return false;
	}
	text += ')';
	return true;
}

bool appendCondition(std::string &text, const Value &condition, NodeWalk &walk)
{
	return appendOperand(text, condition, isStatements(condition), walk);
}

bool appendOperands(std::string &text, const std::vector<Value> &operands, const char *separator, NodeWalk &walk)
{
	for (size_t index = 0; index < operands.size(); ++index)
	{
		text += index > 0 ? separator : "";
		if (!appendToString(text, operands[index], TextPlace::LIST, walk))
		{
			return false;
		}
	}
	return true;
}

bool isStatements(const Value &operand)
{
	if (!operand.isExpression() || operand.expression()->getClass() != IExpression::Class::SEQUENCE)
	{
		return false;
	}
	const auto &sequence = static_cast<const OMExpressionSequence &>(*operand.expression());
	return sequence.getBinOp() == BinOp::SEQUENCE || (sequence.getBinOp() == BinOp::COMMA && isStatements(sequence.getElements()[0]));
}

bool endsItsLevel(const Value &operand)
{
	const Value *last = &operand;
	while (last->isExpression() && last->expression()->getClass() == IExpression::Class::BINARY)
	{
		const auto &binary = static_cast<const OMExpressionBinary &>(*last->expression());
		if (binary.getBinOp() != BinOp::ASSIGN)
		{
			return false;
		}
		last = &binary.getRight();
	}
	return last->isExpression() && last->expression()->getClass() == IExpression::Class::TERNARY &&
	       static_cast<const OMExpressionTernary &>(*last->expression()).getTernOp() == TernOp::IF_ELSE;
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
