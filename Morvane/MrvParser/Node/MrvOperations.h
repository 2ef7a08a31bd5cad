#pragma once

#include "MrvParser/Node/MrvOperators.h"
#include "MrvParser/Node/MrvValue.h"

namespace Mrv
{
class NodeWalk;

// What the operators do to values. A node that travels as itself and holds a plain value (`this`) counts as that value. None of them
// suspends; none needs a scope, so the parser folds constants with them. The results differ from JavaScript's in ways that are required:
// see docs/language.md.

// The result of an operator; `isOk` false (and a log line) when the operator can't act on these operands: the caller makes
// that an Error when a script runs, and leaves the operation unfolded at parse time. Errors pass through every operator but `,` and `;`.
Value binaryOperation(BinOp binOp, const Value &left, const Value &right, bool &isOk);

// Operators 6 to 10 and the numeric side of 2 to 5: the value that `++` or `--` gives to its operand.
Value unaryOperation(UnOp unOp, const Value &operand, bool &isOk);

// The index-by-value operation: an element or attribute as a value, Undefined if it isn't there.
Value indexOperation(const Value &container, const Value &index);

// --- Comparison

enum class Comparison : uint8_t
{
	NO,
	YES,
	FAILED, // no order between these values, or a limit was reached; a line has been logged
};
Comparison compareEqual(const Value &left, const Value &right);
// As one step of a walk, by whose limits it goes.
Comparison compareEqual(const Value &left, const Value &right, NodeWalk &walk);
Comparison compareIdentical(const Value &left, const Value &right);
Comparison compareLess(const Value &left, const Value &right);

// --- The fast path: both operands Int, operands and result within what doubles hold exactly, so that integer arithmetic gives
// what doubles give.

constexpr int64_t EXACT_INT = int64_t{1} << 53;

inline bool isExactInt(int64_t number)
{
	return number >= -EXACT_INT && number <= EXACT_INT;
}

// False: not such a case; `result` is untouched then. It may be one of the operands.
inline bool binaryOperationOfInts(BinOp binOp, const Value &left, const Value &right, Value &result)
{
	if (!left.isInt() || !right.isInt() || left.isReturned() || right.isReturned())
	{
		return false;
	}
	const int64_t a = left.intPayload();
	const int64_t b = right.intPayload();
	if (!isExactInt(a) || !isExactInt(b)) [[unlikely]]
	{
		return false;
	}
	int64_t number = 0;
	switch (binOp)
	{
		case BinOp::ADD:
			number = a + b;
			break;
		case BinOp::SUBTRACT:
			number = a - b;
			break;
		case BinOp::MULTIPLY:
			if (__builtin_mul_overflow(a, b, &number))
			{
				return false;
			}
			break;
		case BinOp::BIT_AND:
			number = a & b;
			break;
		case BinOp::BIT_XOR:
			number = a ^ b;
			break;
		case BinOp::BIT_OR:
			number = a | b;
			break;
		case BinOp::LT:
			result.setBoolean(a < b);
			return true;
		case BinOp::LE:
			result.setBoolean(a <= b);
			return true;
		case BinOp::GT:
			result.setBoolean(a > b);
			return true;
		case BinOp::GE:
			result.setBoolean(a >= b);
			return true;
		case BinOp::EQ:
		case BinOp::IDENTICAL:
			result.setBoolean(a == b);
			return true;
		case BinOp::NE:
		case BinOp::NOT_IDENTICAL:
			result.setBoolean(a != b);
			return true;
		case BinOp::INDEX:
		case BinOp::DIVIDE:
		case BinOp::REMAINDER:
		case BinOp::SHIFT_LEFT:
		case BinOp::SHIFT_RIGHT:
		case BinOp::BOOL_AND:
		case BinOp::BOOL_OR:
		case BinOp::TERNARY:
		case BinOp::ASSIGN:
		case BinOp::COMMA:
		case BinOp::SEQUENCE:
		case BinOp::WHILE:
		case BinOp::DO_WHILE:
			return false;
	}
	if (!isExactInt(number))
	{
		return false;
	}
	result.setInteger(number);
	return true;
}
}
