#pragma once

#include "MrvParser/Node/MrvOperators.h"
#include "MrvParser/Node/MrvValue.h"

namespace Mrv
{
// What the operators do to values. None of them suspends; none needs a scope, so the parser folds constants with them.
// The results differ from JavaScript's in ways that are required: see docs/language.md.

// The result of an operator; `isOk` false (and a log line) when the operator can't act on these operands: the caller makes
// that an Error when a script runs, and leaves the operation unfolded at parse time. Errors pass through every operator but `,` and `;`.
Value binaryOperation(BinOp binOp, const Value &left, const Value &right, bool &isOk);

// The same for the evaluator: what can't be is an Error. Absent operands count as the operator says.
Value binaryOperationSlow(BinOp binOp, const Value &left, const Value &right);

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
Comparison compareIdentical(const Value &left, const Value &right);
Comparison compareLess(const Value &left, const Value &right);

// --- The fast path: both operands Int, operands and result within what doubles hold exactly, so that integer arithmetic gives
// what doubles give.

constexpr int64_t EXACT_INT = int64_t{1} << 53;

inline bool isExactInt(int64_t number)
{
	return number >= -EXACT_INT && number <= EXACT_INT;
}

inline Value binaryOperationFast(BinOp binOp, const Value &left, const Value &right)
{
	if (left.isInt() && right.isInt() && !left.isReturned() && !right.isReturned())
	{
		const int64_t a = left.intPayload();
		const int64_t b = right.intPayload();
		if (isExactInt(a) && isExactInt(b)) [[likely]]
		{
			// clang-format off
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wswitch-enum"
			switch (binOp)
			{
				case BinOp::ADD: if (isExactInt(a + b)) { return Value::integer(a + b); } break;
				case BinOp::SUBTRACT: if (isExactInt(a - b)) { return Value::integer(a - b); } break;
				case BinOp::LT: return Value::boolean(a < b);
				case BinOp::LE: return Value::boolean(a <= b);
				case BinOp::GT: return Value::boolean(a > b);
				case BinOp::GE: return Value::boolean(a >= b);
				case BinOp::EQ: case BinOp::IDENTICAL: return Value::boolean(a == b);
				case BinOp::NE: case BinOp::NOT_IDENTICAL: return Value::boolean(a != b);
				case BinOp::MULTIPLY:
				{
					int64_t product;
					if (!__builtin_mul_overflow(a, b, &product) && isExactInt(product)) { return Value::integer(product); }
					break;
				}
				case BinOp::BIT_AND: return Value::integer(a & b);
				case BinOp::BIT_XOR: return Value::integer(a ^ b);
				case BinOp::BIT_OR: return Value::integer(a | b);
				default: break;
			}
#pragma GCC diagnostic pop
			// clang-format on
		}
	}
	return binaryOperationSlow(binOp, left, right);
}
}
