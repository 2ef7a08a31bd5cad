#pragma once

#include <cstdint>

namespace Mrv
{
// The binary operators. The number is the precedence too: a lower one binds tighter, and every operator is a level of its own.
enum class BinOp : uint32_t
{
	INDEX = 2,
	MULTIPLY = 3,
	DIVIDE = 4,
	REMAINDER = 5, // has a text, but no syntax and no implementation; so have the shifts
	ADD = 6,
	SUBTRACT = 7,
	SHIFT_LEFT = 8,
	SHIFT_RIGHT = 9,
	LT = 10,
	LE = 11,
	GT = 12,
	GE = 13,
	EQ = 14,
	IDENTICAL = 15,
	NOT_IDENTICAL = 16,
	NE = 17,
	BIT_AND = 18,
	BIT_XOR = 19,
	BIT_OR = 20,
	BOOL_AND = 21,
	BOOL_OR = 22,
	TERNARY = 23, // `?` as it stands on the parser's operator stack
	ASSIGN = 24,
	COMMA = 25,
	SEQUENCE = 26,
	WHILE = 28,
	DO_WHILE = 29,
};

enum class UnOp : uint32_t
{
	PRE_DECREMENT = 2,
	PRE_INCREMENT = 3,
	POST_DECREMENT = 4,
	POST_INCREMENT = 5,
	NEGATIVE = 6,
	POSITIVE = 7,
	BOOL_NOT = 8,
	BIT_NOT = 9,
	TYPEOF = 10,
	RETURN = 11,
};

enum class TernOp : uint32_t
{
	CONDITIONAL = 2,
	IF_ELSE = 3,
};

// The texts around the operands. A value that is no operator logs "unexpected binOp", "unexpected unOp" or
// "unexpected ternOp" and gives "??".
const char *binOpToPrefixStr(BinOp binOp);
const char *binOpToInfixStr(BinOp binOp);
const char *binOpToSuffixStr(BinOp binOp);
const char *unOpToPrefixStr(UnOp unOp);
const char *unOpToSuffixStr(UnOp unOp);
const char *ternOpToPrefixStr(TernOp ternOp);
const char *ternOpToInfix1Str(TernOp ternOp);
const char *ternOpToInfix2Str(TernOp ternOp);
const char *ternOpToSuffixStr(TernOp ternOp);

// `++` or `--`, which change their operand.
inline bool isIncrementOrDecrement(UnOp unOp)
{
	return unOp == UnOp::PRE_DECREMENT || unOp == UnOp::PRE_INCREMENT || unOp == UnOp::POST_DECREMENT || unOp == UnOp::POST_INCREMENT;
}

// `;` or `,`: the value of the whole is that of the last.
inline bool isListOperator(BinOp binOp)
{
	return binOp == BinOp::SEQUENCE || binOp == BinOp::COMMA;
}

// The operators that need a value: an operand that isn't there makes them an Error.
inline bool isArithmetic(BinOp binOp)
{
	return (binOp >= BinOp::MULTIPLY && binOp <= BinOp::SHIFT_RIGHT) || (binOp >= BinOp::BIT_AND && binOp <= BinOp::BIT_OR);
}
}
