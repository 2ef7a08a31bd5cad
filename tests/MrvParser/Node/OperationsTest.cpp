#include "MrvParser/Node/MrvOperations.h"

#include "MrvObject/MrvGUIDClass.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

namespace Mrv::Test
{
namespace
{
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr OMInt LEAST = std::numeric_limits<OMInt>::min();
constexpr OMInt GREATEST = std::numeric_limits<OMInt>::max();

Value text(const char *bytes)
{
	return Value::string(bytes);
}
Value number(OMInt value)
{
	return Value::integer(value);
}
Value real(double value)
{
	return Value::floating(value);
}
Value list(std::initializer_list<Value> items)
{
	Value array = Value::emptyArray();
	array.array()->fItems = items;
	return array;
}
Value map(std::initializer_list<std::pair<const char *, Value>> attributes)
{
	Value value = Value::emptyMap();
	for (const auto &[name, attribute] : attributes)
	{
		value.map()->set(Name(name), attribute);
	}
	return value;
}
const Value UNDEFINED;
const Value YES = Value::boolean(true);
const Value NO = Value::boolean(false);

// The result of an operator in literal form, "failed" where it can't act on these operands.
std::string binary(BinOp binOp, const Value &left, const Value &right)
{
	bool isOk = false;
	const Value result = binaryOperation(binOp, left, right, isOk);
	return isOk ? toString(result) : "failed";
}
std::string unary(UnOp unOp, const Value &operand)
{
	bool isOk = false;
	const Value result = unaryOperation(unOp, operand, isOk);
	return isOk ? toString(result) : "failed";
}

// Lists and maps inside each other, many levels deep.
Value nest(size_t levels, bool isMap = false)
{
	Value value = number(1);
	for (size_t level = 0; level < levels; ++level)
	{
		value = isMap ? map({{"a", value}}) : list({value});
	}
	return value;
}

Value cyclicMap()
{
	Value value = map({{"x", number(1)}});
	value.map()->set(Name("self"), value);
	return value;
}

// Breaks the cycle, which nothing else would.
struct Cycle
{
	Value value = cyclicMap();
	Cycle() = default;
	Cycle(const Cycle &) = delete;
	Cycle &operator=(const Cycle &) = delete;
	~Cycle() { value.map()->clear(); }
};
}

TEST(ConversionTest, EveryTypeAsEveryOther)
{
	struct Row
	{
		Value value;
		bool isTrue;
		double asNumber;
		int64_t bits;
		std::string asString;
		std::string literal;
		const char *typeText;
		bool isLogged = false; // a text that is no number
	};
	GUIDClass *guid = GUIDClass::factory("0011223344556677-8899aabbccddeeff");
	const Row rows[] = {
	    {UNDEFINED, false, NOT_A_NUMBER, -1, "undefined", "undefined", "undefined"},
	    {Value::absent(), false, NOT_A_NUMBER, -1, "undefined", "undefined", "undefined"},
	    {Value::null(), false, NOT_A_NUMBER, -1, "null", "null", "object"},
	    {YES, true, 1, 1, "true", "true", "boolean"},
	    {NO, false, 0, 0, "false", "false", "boolean"},
	    {Value::date(0), true, 0, 0, "Thu Jan  1 00:00:00 1970\n", "Thu Jan  1 00:00:00 1970\n", "object"},
	    {Value::date(951'782'400 + 3723), true, 951'786'123, 951'786'123, "Tue Feb 29 01:02:03 2000\n", "Tue Feb 29 01:02:03 2000\n",
	        "object"},
	    {Value::date(-1), true, -1, -1, "Wed Dec 31 23:59:59 1969\n", "Wed Dec 31 23:59:59 1969\n", "object"},
	    {Value::date(-62'167'219'200), true, -62'167'219'200.0, -62'167'219'200, "Sat Jan  1 00:00:00 0\n", "Sat Jan  1 00:00:00 0\n",
	        "object"},
	    {Value::date(-62'167'219'201), true, -62'167'219'201.0, -62'167'219'201, "-62167219201", "-62167219201", "object"},
	    {Value::date(253'402'300'799), true, 253'402'300'799.0, 253'402'300'799, "Fri Dec 31 23:59:59 9999\n", "Fri Dec 31 23:59:59 9999\n",
	        "object"},
	    {Value::date(GREATEST), true, 9223372036854775807.0, GREATEST, "9223372036854775807", "9223372036854775807", "object"},
	    {number(0), false, 0, 0, "0", "0", "number"},
	    {number(-7), true, -7, -7, "-7", "-7", "number"},
	    {number(LEAST), true, -9223372036854775808.0, LEAST, "-9223372036854775808", "-9223372036854775808", "number"},
	    {number(9007199254740993), true, 9007199254740992.0, 9007199254740993, "9007199254740993", "9007199254740993", "number"},
	    {real(0.0), false, 0, 0, "0.000000", "0.000000", "number"},
	    {real(-0.0), false, 0, 0, "-0.000000", "-0.000000", "number"},
	    {real(1.5), true, 1.5, -1, "1.500000", "1.500000", "number"},
	    {real(3.0), true, 3, 3, "3.000000", "3.000000", "number"},
	    {real(0.0000001), true, 0.0000001, -1, "0.000000", "0.000000", "number"},
	    {real(1e300), true, 1e300, -1, "", "", "number"},
	    {real(9223372036854775808.0), true, 9223372036854775808.0, -1, "9223372036854775808.000000", "9223372036854775808.000000",
	        "number"},
	    {real(INFINITE), true, INFINITE, -1, "inf", "inf", "number"},
	    {real(-INFINITE), true, -INFINITE, -1, "-inf", "-inf", "number"},
	    {Value::nan(), false, NOT_A_NUMBER, -1, "NaN", "NaN", "number"},
	    {text(""), false, NOT_A_NUMBER, -1, "", "\"\"", "string", true},
	    {text("abc"), true, NOT_A_NUMBER, -1, "abc", "\"abc\"", "string", true},
	    {text(" 12 "), true, 12, 12, " 12 ", "\" 12 \"", "string"},
	    {text("0x1F"), true, 31, 31, "0x1F", "\"0x1F\"", "string"},
	    {text("1.5"), true, 1.5, -1, "1.5", "\"1.5\"", "string"},
	    {text("9007199254740993"), true, 9007199254740992.0, 9007199254740993, "9007199254740993", "\"9007199254740993\"", "string"},
	    {text("12 x"), true, NOT_A_NUMBER, -1, "12 x", "\"12 x\"", "string", true},
	    {Value::emptyArray(), true, NOT_A_NUMBER, -1, "", "[]", "object"},
	    {list({number(1), Value::null(), text("a"), list({number(2), number(3)})}), true, NOT_A_NUMBER, -1, "1,null,a,2,3",
	        "[1, null, \"a\", [2, 3]]", "object"},
	    {Value::emptyMap(), true, NOT_A_NUMBER, -1, "{  }", "{  }", "object"},
	    {map({{"b", text("x\ny")}, {"a", number(1)}, {"B", YES}}), true, NOT_A_NUMBER, -1, "{ \"B\": true, \"a\": 1, \"b\": \"x\\ny\" }",
	        "{ \"B\": true, \"a\": 1, \"b\": \"x\\ny\" }", "object"},
	    {Value::error(), false, NOT_A_NUMBER, -1, "error", "error", "error"},
	    {Value::guid(guid), true, NOT_A_NUMBER, -1, guid->toSectionedString(), guid->toSectionedString(), "GUID"},
	    {Value::breakValue(), true, NOT_A_NUMBER, -1, "break", "break", "expression"},
	};
	for (const Row &row : rows)
	{
		SCOPED_TRACE(row.literal);
		EXPECT_EQ(getAsBool(row.value), row.isTrue);
		const double asNumber = getAsNum(row.value);
		EXPECT_TRUE(asNumber == row.asNumber || (std::isnan(asNumber) && std::isnan(row.asNumber))) << asNumber;
		EXPECT_EQ(getAsBits(row.value), row.bits);
		if (row.isLogged)
		{
			EXPECT_LOG("SANITY_CHECK failed: 'tempNode->parseNum(getString(), -3)' evaluates to false");
			EXPECT_LOG("SANITY_CHECK failed: 'tempNode->parseNum(getString(), -3)' evaluates to false");
		}
		if (!row.asString.empty() || row.literal == "\"\"" || row.literal == "[]")
		{
			EXPECT_EQ(getAsString(row.value), row.asString);
			EXPECT_EQ(toString(row.value), row.literal);
		}
		EXPECT_STREQ(getTypeText(row.value), row.typeText);
	}
	EXPECT_EQ(toString(real(1e300)).size(), 301U + 7U) << "all digits, and six decimals";
}

TEST(ConversionTest, BytesAndNullsSurvive)
{
	const std::string bytes("a\0b\xE2\x86\x92\x80", 7);
	const Value value = Value::string(std::string_view(bytes));
	EXPECT_EQ(getAsString(value), bytes);
	EXPECT_EQ(value.text().size(), 7U);
	EXPECT_EQ(toString(list({value})), "[\"a\\x00b\\xE2\\x86\\x92\\x80\"]");
}

TEST(ConversionTest, AReturnedValueReadsAsTheExpressionThatItIs)
{
	for (const Value &inner : {text("abc"), number(5), list({number(1)})})
	{
		Value returned = inner;
		returned.setReturned(true);
		EXPECT_EQ(returned.type(), OMType::Expression);
		EXPECT_EQ(toString(returned), "return " + toString(inner));
		EXPECT_EQ(getAsString(returned), "return " + toString(inner));
		const auto node = returned.toNode();
		EXPECT_TRUE(node->isWrappedReturnValue());
		EXPECT_EQ(node->getInt(), 0);
		EXPECT_EQ(node->getString(), "");
		EXPECT_EQ(node->unwrapReturnValue()->toString(), toString(inner));
	}
}

TEST(ArithmeticTest, NumbersComeOutAsIntWhereTheyCan)
{
	struct Row
	{
		BinOp binOp;
		Value left;
		Value right;
		const char *expected;
	};
	const Row rows[] = {
	    {BinOp::ADD, YES, YES, "2"},
	    {BinOp::ADD, real(1.5), real(1.5), "3"},
	    {BinOp::ADD, real(1.5), number(1), "2.500000"},
	    {BinOp::ADD, number(9007199254740993), number(0), "9007199254740992"},
	    {BinOp::ADD, number(GREATEST), number(1), "9223372036854775808.000000"},
	    {BinOp::SUBTRACT, number(LEAST), number(1), "-9223372036854775808"},
	    {BinOp::MULTIPLY, number(3037000500), number(3037000500), "9223372037000249344.000000"},
	    {BinOp::MULTIPLY, real(1e200), real(1e200), "inf"},
	    {BinOp::DIVIDE, number(6), number(4), "1.500000"},
	    {BinOp::DIVIDE, number(6), number(3), "2"},
	    {BinOp::DIVIDE, number(1), number(0), "NaN"},
	    {BinOp::DIVIDE, number(1), NO, "NaN"},
	    {BinOp::DIVIDE, number(1), Value::null(), "NaN"},
	    {BinOp::DIVIDE, number(0), real(-0.0), "NaN"},
	    {BinOp::ADD, UNDEFINED, number(1), "NaN"},
	    {BinOp::ADD, list({number(1)}), list({number(2)}), "NaN"},
	    {BinOp::ADD, UNDEFINED, text("a"), "\"undefineda\""},
	    {BinOp::ADD, text("a"), list({number(1), Value::null()}), "\"a1,null\""},
	    {BinOp::ADD, number(1), text("2"), "\"12\""},
	    {BinOp::SUBTRACT, text("7"), text("2"), "5"},
	    {BinOp::BIT_OR, real(1.5), number(0), "-1"},
	    {BinOp::BIT_OR, Value::null(), number(0), "-1"},
	    {BinOp::BIT_AND, number(6), number(3), "2"},
	    {BinOp::BIT_XOR, number(6), number(3), "5"},
	    {BinOp::BIT_AND, number(9007199254740993), number(1), "1"},
	    {BinOp::BOOL_OR, number(0), text("x"), "true"},
	    {BinOp::BOOL_AND, number(2), text(""), "false"},
	    {BinOp::COMMA, Value::error(), number(1), "1"},
	    {BinOp::SEQUENCE, number(1), Value::error(), "error"},
	    {BinOp::ASSIGN, number(1), number(2), "2"},
	    {BinOp::WHILE, number(1), number(2), "undefined"},
	    {BinOp::EQ, Value::error(), number(2), "error"},
	    {BinOp::BOOL_OR, YES, Value::error(), "error"},
	    {BinOp::INDEX, list({number(4), number(5)}), number(1), "5"},
	    {BinOp::INDEX, list({number(4)}), number(-1), "undefined"},
	    {BinOp::INDEX, map({{"1", text("one")}}), number(1), "\"one\""},
	    {BinOp::INDEX, map({{"true", text("yes")}}), YES, "\"yes\""},
	};
	for (const Row &row : rows)
	{
		SCOPED_TRACE(toString(row.left) + binOpToInfixStr(row.binOp) + toString(row.right));
		EXPECT_EQ(binary(row.binOp, row.left, row.right), row.expected);
	}
	EXPECT_EQ(binary(BinOp::BIT_AND, text("abc"), number(3)), "3");
	EXPECT_LOG("parseNum");
	// The left side alone decides, so that nothing is logged of the right one.
	EXPECT_EQ(binary(BinOp::BIT_AND, number(0), text("abc")), "0");
	EXPECT_EQ(binary(BinOp::BIT_OR, number(-1), text("abc")), "-1");
	for (const BinOp binOp : {BinOp::REMAINDER, BinOp::SHIFT_LEFT, BinOp::SHIFT_RIGHT, BinOp::TERNARY})
	{
		EXPECT_EQ(binary(binOp, number(1), number(2)), "failed");
		EXPECT_LOG("unexpected operation");
	}
}

TEST(ArithmeticTest, UnaryOperators)
{
	struct Row
	{
		UnOp unOp;
		Value operand;
		const char *expected;
	};
	const Row rows[] = {
	    {UnOp::NEGATIVE, YES, "-1"},
	    {UnOp::NEGATIVE, NO, "0"},
	    {UnOp::NEGATIVE, number(LEAST), "9223372036854775808.000000"},
	    {UnOp::POSITIVE, text("0x10"), "16"},
	    {UnOp::PRE_INCREMENT, NO, "1"},
	    {UnOp::POST_DECREMENT, NO, "-1"},
	    {UnOp::PRE_INCREMENT, UNDEFINED, "NaN"},
	    {UnOp::BIT_NOT, Value::null(), "0"},
	    {UnOp::BIT_NOT, number(5), "-6"},
	    {UnOp::BOOL_NOT, Value::error(), "true"},
	    {UnOp::BOOL_NOT, list({}), "false"},
	    {UnOp::NEGATIVE, Value::error(), "error"},
	    {UnOp::PRE_INCREMENT, Value::error(), "error"},
	    {UnOp::TYPEOF, Value::error(), "\"error\""},
	    {UnOp::TYPEOF, number(1), "\"number\""},
	    {UnOp::RETURN, number(1), "1"},
	};
	for (const Row &row : rows)
	{
		SCOPED_TRACE(unOpToPrefixStr(row.unOp) + toString(row.operand) + unOpToSuffixStr(row.unOp));
		EXPECT_EQ(unary(row.unOp, row.operand), row.expected);
	}
	EXPECT_EQ(unary(static_cast<UnOp>(12), number(1)), "failed");
	EXPECT_LOG("invalid unOp");
}

TEST(ArithmeticTest, TheFastPathGivesWhatTheLongOneGives)
{
	const OMInt samples[] = {
	    0, 1, -1, 2, 7, -13, 1 << 30, EXACT_INT - 1, EXACT_INT, EXACT_INT + 1, -EXACT_INT, -EXACT_INT - 1, GREATEST, LEAST};
	for (uint32_t op = 2; op <= 22; ++op)
	{
		const auto binOp = static_cast<BinOp>(op);
		for (const OMInt a : samples)
		{
			for (const OMInt b : samples)
			{
				Value fast;
				if (binaryOperationOfInts(binOp, number(a), number(b), fast))
				{
					EXPECT_EQ(toString(fast), binary(binOp, number(a), number(b))) << a << binOpToInfixStr(binOp) << b;
				}
			}
		}
	}
}

TEST(ArithmeticTest, ANodeThatTravelsAsItselfCountsAsItsValue)
{
	const Value self = Value::nodeItself(OMStored::factory("7"));
	EXPECT_EQ(getAsNum(self), 7);
	EXPECT_EQ(getAsBits(self), 7);
	EXPECT_EQ(binary(BinOp::ADD, self, number(1)), "\"71\"");
	EXPECT_EQ(binary(BinOp::SUBTRACT, self, number(1)), "6");
	EXPECT_EQ(binary(BinOp::EQ, self, text("7")), "true");
	EXPECT_EQ(binary(BinOp::IDENTICAL, self, text("7")), "true");
	EXPECT_EQ(binary(BinOp::LT, number(1), self), "true");
	EXPECT_EQ(unary(UnOp::NEGATIVE, self), "-7");
	EXPECT_EQ(binary(BinOp::ADD, Value::nodeItself(OMStored::errorFactory()), number(1)), "error");
	const auto node = OMStored::mapFactory();
	EXPECT_EQ(binary(BinOp::IDENTICAL, Value::nodeItself(node), Value::fromNode(node)), "true") << "one container";
	EXPECT_EQ(binary(BinOp::IDENTICAL, Value::nodeItself(node), Value::emptyMap()), "false");
}

TEST(ComparisonTest, OperatorsOnPairs)
{
	struct Row
	{
		const char *name;
		Value left;
		Value right;
		const char *results[8]; // <  <=  >  >=  ==  ===  !==  !=
	};
	const char *const T = "true";
	const char *const F = "false";
	const char *const X = "failed"; // no order between them
	const Value shared = list({number(1)});
	const Row rows[] = {
	    {"1 2", number(1), number(2), {T, T, F, F, F, F, T, T}},
	    {"3 3", number(3), number(3), {F, T, F, T, T, T, F, F}},
	    {"3 3.0", number(3), real(3.0), {F, F, T, T, F, F, T, T}},
	    {"2^53+1 2^53", number(9007199254740993), number(9007199254740992), {F, F, T, T, F, F, T, T}},
	    {"2^53 2^53+1", number(9007199254740992), number(9007199254740993), {F, F, T, T, F, F, T, T}},
	    {"NaN NaN", Value::nan(), Value::nan(), {F, F, F, F, F, F, T, T}},
	    {"NaN 1", Value::nan(), number(1), {F, F, F, F, F, F, T, T}},
	    {"undefined null", UNDEFINED, Value::null(), {T, T, F, F, T, F, T, F}},
	    {"undefined undefined", UNDEFINED, UNDEFINED, {F, T, F, T, T, T, F, F}},
	    {"true false", YES, NO, {F, F, T, T, F, F, T, T}},
	    {"true 0", YES, number(0), {T, T, F, F, F, F, T, T}},
	    {"1 '1'", number(1), text("1"), {F, F, T, T, F, F, T, T}},
	    {"5 []", number(5), list({}), {T, T, F, F, F, F, T, T}},
	    {"null 0", Value::null(), number(0), {T, T, F, F, F, F, T, T}},
	    {"'5' 10", text("5"), number(10), {F, F, T, T, F, F, T, T}},
	    {"10 '5'", number(10), text("5"), {T, T, F, F, F, F, T, T}},
	    {"'a' null", text("a"), Value::null(), {F, F, T, T, F, F, T, T}},
	    {"'10' '9'", text("10"), text("9"), {T, T, F, F, F, F, T, T}},
	    {"'' ''", text(""), text(""), {F, T, F, T, T, T, F, F}},
	    {"[1] [1]", list({number(1)}), list({number(1)}), {X, X, X, X, T, F, T, F}},
	    {"a a", shared, shared, {X, X, X, X, T, T, F, F}},
	    {"[1] [2]", list({number(1)}), list({number(2)}), {X, X, X, X, F, F, T, T}},
	    {"[undefined] [null]", list({UNDEFINED}), list({Value::null()}), {X, X, X, X, T, F, T, F}},
	    {"[NaN] [NaN]", list({Value::nan()}), list({Value::nan()}), {X, X, X, X, F, F, T, T}},
	    {"{a b} {b a}", map({{"a", number(1)}, {"b", number(2)}}), map({{"b", number(2)}, {"a", number(1)}}), {X, X, X, X, T, F, T, F}},
	    {"{a} {b}", map({{"a", number(1)}}), map({{"b", number(1)}}), {X, X, X, X, F, F, T, T}},
	    {"dates", Value::date(-5), Value::date(3), {T, T, F, F, F, F, T, T}},
	    {"date int", Value::date(5), number(5), {T, T, F, F, F, F, T, T}},
	};
	const BinOp operators[] = {BinOp::LT, BinOp::LE, BinOp::GT, BinOp::GE, BinOp::EQ, BinOp::IDENTICAL, BinOp::NOT_IDENTICAL, BinOp::NE};
	for (const Row &row : rows)
	{
		for (size_t i = 0; i < 8; ++i)
		{
			EXPECT_EQ(binary(operators[i], row.left, row.right), row.results[i]) << row.name << binOpToInfixStr(operators[i]);
			EXPECT_EQ(takeLogLine("unexpected type"), row.results[i] == X);
		}
	}
	const Value nanList = list({Value::nan()});
	EXPECT_EQ(binary(BinOp::EQ, nanList, nanList), "false") << "no shortcut over identity";
}

TEST(HashTest, EqualValuesHashAlike)
{
	EXPECT_EQ(computeHash(UNDEFINED), 9999U);
	EXPECT_EQ(computeHash(Value::null()), 9998U);
	EXPECT_EQ(computeHash(YES), 12345U);
	EXPECT_EQ(computeHash(NO), 98765U);
	EXPECT_EQ(computeHash(Value::error()), 1232532227U);
	EXPECT_EQ(computeHash(Value::nan()), 8998U);
	EXPECT_EQ(computeHash(number(5)), fnvHash(uint64_t{5}));
	EXPECT_EQ(computeHash(Value::date(5)), fnvHash(uint64_t{5}));
	EXPECT_EQ(computeHash(real(-0.0)), computeHash(real(0.0)));
	EXPECT_EQ(computeHash(text("abc")), fnvHash("abc"));
	EXPECT_EQ(computeHash(list({number(5)})), fnvCombine(kFnvOffsetBasis, fnvHash(uint64_t{5})));
	const Value ordered = map({{"a", number(1)}, {"a longer name than fits", list({text("x")})}});
	const Value reversed = map({{"a longer name than fits", list({text("x")})}, {"a", number(1)}});
	EXPECT_EQ(computeHash(ordered), computeHash(reversed));
	EXPECT_EQ(compareEqual(ordered, reversed), Comparison::YES);
	EXPECT_NE(computeHash(list({number(1), number(2)})), computeHash(list({number(2), number(1)})));
}

// --- Limits

TEST(LimitTest, ACycleIsAnErrorWithOneLine)
{
	Cycle cycle;
	const Value &value = cycle.value;
	EXPECT_EQ(toString(value), "error");
	EXPECT_LOG("toString: a container holds itself");
	EXPECT_EQ(getAsString(value), "error");
	EXPECT_LOG("getAsString: a container holds itself");
	EXPECT_EQ(binary(BinOp::ADD, text("x"), value), "failed");
	EXPECT_LOG("+: a container holds itself");
	Cycle other;
	EXPECT_EQ(binary(BinOp::EQ, value, other.value), "failed");
	EXPECT_LOG("==: a container holds itself");
	EXPECT_EQ(binary(BinOp::EQ, value, map({{"x", number(1)}, {"self", number(1)}})), "false");
	EXPECT_TRUE(cloneValue(value, ALL_LEVELS).isError());
	EXPECT_LOG("clone: a container holds itself");
	EXPECT_TRUE(cloneValue(value, 3).isError());
	EXPECT_LOG("clone: a container holds itself");
	EXPECT_TRUE(cloneValue(value, 1).isMap());
	EXPECT_EQ(computeHash(value), computeHash(other.value)) << "a hash stops at the cycle, without a word";
	EXPECT_TRUE(OMStored::valueFactory(value)->isResolved(ScriptPhase::PARSE));

	// Twice on the path beside each other is no cycle.
	const Value twin = list({number(1)});
	EXPECT_EQ(toString(list({twin, twin})), "[[1], [1]]");
}

namespace
{
// Every walk over values that are nested too deep is refused on the stack that this runs on.
void checkDepth()
{
	for (const bool isMap : {false, true})
	{
		const Value deep = nest(1000, isMap);
		EXPECT_NE(toString(deep), "error");
		EXPECT_EQ(compareEqual(deep, nest(1000, isMap)), Comparison::YES);
		EXPECT_EQ(computeHash(deep), computeHash(cloneValue(deep, ALL_LEVELS)));

		const Value tooDeep = nest(20'000, isMap);
		EXPECT_EQ(toString(tooDeep), "error");
		EXPECT_LOG("toString: nesting limit reached");
		EXPECT_EQ(compareEqual(tooDeep, nest(20'000, isMap)), Comparison::FAILED);
		EXPECT_LOG("==: nesting limit reached");
		EXPECT_TRUE(cloneValue(tooDeep, ALL_LEVELS).isError());
		EXPECT_LOG("clone: nesting limit reached");
		computeHash(tooDeep);
		EXPECT_LOG("hash: nesting limit reached");
		const auto node = OMStored::valueFactory(tooDeep);
		EXPECT_FALSE(node->isResolved(ScriptPhase::RUN));
		EXPECT_LOG("isResolved: nesting limit reached");
		EXPECT_FALSE(node->setIsDataStructure(true));
		EXPECT_LOG("nesting limit reached: data structure");
		EXPECT_FALSE(node->isDataStructure());
		takeLogLines();
		// And all of it is destroyed here, without recursion.
	}
}
}

TEST(LimitTest, DepthIsBounded)
{
	checkDepth();
	// Also on a stack that nothing else has run on.
	std::thread(checkDepth).join();
}

TEST(LimitTest, AValueNestedInNodesIsDestroyedWithoutRecursion)
{
	std::shared_ptr<IOMNode> node = OMStored::arrayFactory();
	for (int level = 0; level < 1'000'000; ++level)
	{
		auto outer = OMStored::arrayFactory();
		outer->push(node);
		node = outer;
	}
	node.reset();
}

TEST(LimitTest, BreadthIsBounded)
{
	Value value = list({number(1)});
	for (int level = 0; level < 40; ++level)
	{
		value = list({value, value});
	}
	EXPECT_TRUE(cloneValue(value, ALL_LEVELS).isError());
	EXPECT_LOG("clone: too much memory");
	computeHash(value);
	EXPECT_LOG("hash: too many nodes");
	// A text that would be too long.
	Value longText = Value::string(std::string(1 << 20, 'x'));
	Value row = Value::emptyArray();
	row.array()->fItems.assign(600, longText);
	EXPECT_EQ(getAsString(row), "error");
	EXPECT_LOG("getAsString: text too long");
}
}
