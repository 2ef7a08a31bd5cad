// The arithmetic and logic of the language. Comparison has a file of its own.
#include "MrvParser/Node/MrvOperations.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeWalk.h"

namespace Mrv
{
namespace
{
// A node that travels as itself although it is worth a plain value.
bool isPlainNode(const Value &value)
{
	return value.isNode() && !value.node()->getPlainValue().isNode();
}

Value plainValue(const Value &value)
{
	return value.isNode() ? value.node()->getPlainValue() : value;
}

// Strings join; everything else is a number.
Value add(const Value &left, const Value &right, bool &isOk)
{
	if (!left.isString() && !right.isString())
	{
		return Value::number(getAsNum(left) + getAsNum(right));
	}
	std::string text;
	NodeWalk walk("+");
	if (left.isString() && right.isString())
	{
		// Known before anything is copied.
		isOk = walk.allowText(left.text().size() + right.text().size());
		if (!isOk)
		{
			return Value::error();
		}
		text.reserve(left.text().size() + right.text().size());
	}
	isOk = appendAsString(text, left, walk) && appendAsString(text, right, walk);
	return isOk ? Value::string(std::move(text)) : Value::error();
}

Value divide(const Value &left, const Value &right)
{
	const double divisor = getAsNum(right);
	return divisor == 0.0 ? Value::nan() : Value::number(getAsNum(left) / divisor);
}

Value bitOperation(BinOp binOp, const Value &left, const Value &right)
{
	const int64_t bits = getAsBits(left);
	if (binOp == BinOp::BIT_AND)
	{
		return Value::integer(bits == 0 ? 0 : bits & getAsBits(right));
	}
	if (binOp == BinOp::BIT_OR)
	{
		return Value::integer(bits == -1 ? -1 : bits | getAsBits(right));
	}
	return Value::integer(bits ^ getAsBits(right));
}

bool isNaN(const Value &value)
{
	return value.type() == OMType::NaN;
}

Value fromComparison(Comparison comparison, bool isInverted, bool &isOk)
{
	isOk = comparison != Comparison::FAILED;
	return isOk ? Value::boolean((comparison == Comparison::YES) != isInverted) : Value::error();
}

Value compare(BinOp binOp, const Value &left, const Value &right, bool &isOk)
{
	const bool isUnordered = isNaN(left) || isNaN(right);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wswitch-enum"
	switch (binOp)
	{
		case BinOp::LT:
			return fromComparison(compareLess(left, right), false, isOk);
		case BinOp::LE:
		{
			const Comparison less = compareLess(left, right);
			return fromComparison(less == Comparison::NO ? compareEqual(left, right) : less, false, isOk);
		}
		case BinOp::GT:
		{
			const Comparison less = isUnordered ? Comparison::YES : compareLess(left, right);
			return fromComparison(less == Comparison::NO ? compareEqual(left, right) : less, true, isOk);
		}
		case BinOp::GE:
			return fromComparison(isUnordered ? Comparison::YES : compareLess(left, right), true, isOk);
		case BinOp::EQ:
			return fromComparison(compareEqual(left, right), false, isOk);
		case BinOp::IDENTICAL:
			return fromComparison(compareIdentical(left, right), false, isOk);
		case BinOp::NE:
			return fromComparison(compareEqual(left, right), true, isOk);
		default:
			return fromComparison(compareIdentical(left, right), true, isOk);
	}
#pragma GCC diagnostic pop
}
}

Value binaryOperation(BinOp binOp, const Value &left, const Value &right, bool &isOk)
{
	isOk = true;
	if (isListOperator(binOp))
	{
		return right;
	}
	if (isPlainNode(left) || isPlainNode(right)) [[unlikely]]
	{
		return binaryOperation(binOp, plainValue(left), plainValue(right), isOk);
	}
	if (left.isError() || right.isError())
	{
		return Value::error();
	}
	switch (binOp)
	{
		case BinOp::INDEX:
			return indexOperation(left, right);
		case BinOp::MULTIPLY:
			return Value::number(getAsNum(left) * getAsNum(right));
		case BinOp::DIVIDE:
			return divide(left, right);
		case BinOp::ADD:
			return add(left, right, isOk);
		case BinOp::SUBTRACT:
			return Value::number(getAsNum(left) - getAsNum(right));
		case BinOp::LT:
		case BinOp::LE:
		case BinOp::GT:
		case BinOp::GE:
		case BinOp::EQ:
		case BinOp::IDENTICAL:
		case BinOp::NOT_IDENTICAL:
		case BinOp::NE:
			return compare(binOp, left, right, isOk);
		case BinOp::BIT_AND:
		case BinOp::BIT_XOR:
		case BinOp::BIT_OR:
			return bitOperation(binOp, left, right);
		case BinOp::BOOL_AND:
			return Value::boolean(getAsBool(left) && getAsBool(right));
		case BinOp::BOOL_OR:
			return Value::boolean(getAsBool(left) || getAsBool(right));
		case BinOp::ASSIGN:
		case BinOp::COMMA:
		case BinOp::SEQUENCE:
			return right;
		case BinOp::WHILE:
		case BinOp::DO_WHILE:
			return Value();
		case BinOp::REMAINDER:
		case BinOp::SHIFT_LEFT:
		case BinOp::SHIFT_RIGHT:
		case BinOp::TERNARY:
			break;
	}
	LOG_ERROR("unexpected operation");
	isOk = false;
	return Value::error();
}

Value unaryOperation(UnOp unOp, const Value &operand, bool &isOk)
{
	isOk = true;
	if (isPlainNode(operand)) [[unlikely]]
	{
		return unaryOperation(unOp, plainValue(operand), isOk);
	}
	const bool takesErrors = unOp == UnOp::BOOL_NOT || unOp == UnOp::TYPEOF;
	if (operand.isError() && !takesErrors)
	{
		return Value::error();
	}
	switch (unOp)
	{
		case UnOp::PRE_DECREMENT:
		case UnOp::POST_DECREMENT:
			return Value::number(getAsNum(operand) - 1);
		case UnOp::PRE_INCREMENT:
		case UnOp::POST_INCREMENT:
			return Value::number(getAsNum(operand) + 1);
		case UnOp::NEGATIVE:
			return Value::number(-getAsNum(operand));
		case UnOp::POSITIVE:
			return Value::number(getAsNum(operand));
		case UnOp::BOOL_NOT:
			return Value::boolean(!getAsBool(operand));
		case UnOp::BIT_NOT:
			return Value::integer(~getAsBits(operand));
		case UnOp::TYPEOF:
			return Value::string(getTypeText(operand));
		case UnOp::RETURN:
			return operand;
	}
	LOG_ERROR("invalid unOp");
	isOk = false;
	return Value::error();
}

Value indexOperation(const Value &container, const Value &index)
{
	const bool isPosition = index.isInt() && index.intPayload() >= 0;
	if (container.isArray())
	{
		const ArrayContainer &array = *container.array();
		const auto position = static_cast<size_t>(index.isInt() ? index.intPayload() : -1);
		return isPosition && position < array.size() ? array.fItems[position].inPlace() : Value();
	}
	if (container.isMap())
	{
		const size_t position = container.map()->find(getAsString(index));
		return position != MapContainer::NOT_FOUND ? container.map()->entries()[position].value.inPlace() : Value();
	}
	if (container.isNode())
	{
		const auto child = isPosition ? container.node()->getOMNode(static_cast<size_t>(index.intPayload()))
		                              : container.node()->getOMNode(getAsString(index));
		return Value::fromNode(child);
	}
	return Value();
}
}
