#include "MrvParser/Node/MrvOperators.h"

#include "MrvLogger/MrvLogger.h"

#include <array>

namespace Mrv
{
namespace
{
struct Texts
{
	const char *prefix = nullptr;
	const char *infix = nullptr;
	const char *infix2 = nullptr;
	const char *suffix = nullptr;
};

constexpr Texts infix(const char *text)
{
	return {"", text, "", ""};
}

constexpr size_t BINARY_COUNT = 30;
constexpr std::array<Texts, BINARY_COUNT> BINARY_TEXTS = {{
    {},                             // 0
    {},                             // 1
    {"", "[", "", "]"},             // INDEX
    infix(" * "),                   // MULTIPLY
    infix(" / "),                   // DIVIDE
    infix(" % "),                   // REMAINDER
    infix(" + "),                   // ADD
    infix(" - "),                   // SUBTRACT
    infix(" << "),                  // SHIFT_LEFT
    infix(" >> "),                  // SHIFT_RIGHT
    infix(" < "),                   // LT
    infix(" <= "),                  // LE
    infix(" > "),                   // GT
    infix(" >= "),                  // GE
    infix(" == "),                  // EQ
    infix(" === "),                 // IDENTICAL
    infix(" !== "),                 // NOT_IDENTICAL
    infix(" != "),                  // NE
    infix(" & "),                   // BIT_AND
    infix(" ^ "),                   // BIT_XOR
    infix(" | "),                   // BIT_OR
    infix(" && "),                  // BOOL_AND
    infix(" || "),                  // BOOL_OR
    {},                             // TERNARY
    infix(" = "),                   // ASSIGN
    infix(", "),                    // COMMA
    infix("; "),                    // SEQUENCE
    {},                             // 27
    {"while (", ") {", "", "}"},    // WHILE
    {"do {", "} while (", "", ")"}, // DO_WHILE
}};

constexpr size_t UNARY_COUNT = 12;
constexpr std::array<Texts, UNARY_COUNT> UNARY_TEXTS = {{
    {},                      // 0
    {},                      // 1
    {"--", "", "", ""},      // PRE_DECREMENT
    {"++", "", "", ""},      // PRE_INCREMENT
    {"", "", "", "--"},      // POST_DECREMENT
    {"", "", "", "++"},      // POST_INCREMENT
    {"-", "", "", ""},       // NEGATIVE
    {"+", "", "", ""},       // POSITIVE
    {"! ", "", "", ""},      // BOOL_NOT
    {"~ ", "", "", ""},      // BIT_NOT
    {"typeof ", "", "", ""}, // TYPEOF
    {"return ", "", "", ""}, // RETURN
}};

constexpr size_t TERNARY_COUNT = 4;
constexpr std::array<Texts, TERNARY_COUNT> TERNARY_TEXTS = {{
    {},                               // 0
    {},                               // 1
    {"", " ? ", " : ", ""},           // CONDITIONAL
    {"if (", ") {", "} else {", "}"}, // IF_ELSE
}};

template <size_t COUNT, class Operator>
const char *textOf(const std::array<Texts, COUNT> &table, Operator op, const char *Texts::*text, const char *complaint)
{
	const auto index = static_cast<size_t>(op);
	if (index < COUNT && table[index].prefix)
	{
		return table[index].*text;
	}
	LOG_ERROR(complaint);
	return "??";
}
}

const char *binOpToPrefixStr(BinOp binOp)
{
	return textOf(BINARY_TEXTS, binOp, &Texts::prefix, "unexpected binOp");
}

const char *binOpToInfixStr(BinOp binOp)
{
	return textOf(BINARY_TEXTS, binOp, &Texts::infix, "unexpected binOp");
}

const char *binOpToSuffixStr(BinOp binOp)
{
	return textOf(BINARY_TEXTS, binOp, &Texts::suffix, "unexpected binOp");
}

const char *unOpToPrefixStr(UnOp unOp)
{
	return textOf(UNARY_TEXTS, unOp, &Texts::prefix, "unexpected unOp");
}

const char *unOpToSuffixStr(UnOp unOp)
{
	return textOf(UNARY_TEXTS, unOp, &Texts::suffix, "unexpected unOp");
}

const char *ternOpToPrefixStr(TernOp ternOp)
{
	return textOf(TERNARY_TEXTS, ternOp, &Texts::prefix, "unexpected ternOp");
}

const char *ternOpToInfix1Str(TernOp ternOp)
{
	return textOf(TERNARY_TEXTS, ternOp, &Texts::infix, "unexpected ternOp");
}

const char *ternOpToInfix2Str(TernOp ternOp)
{
	return textOf(TERNARY_TEXTS, ternOp, &Texts::infix2, "unexpected ternOp");
}

const char *ternOpToSuffixStr(TernOp ternOp)
{
	return textOf(TERNARY_TEXTS, ternOp, &Texts::suffix, "unexpected ternOp");
}
}
