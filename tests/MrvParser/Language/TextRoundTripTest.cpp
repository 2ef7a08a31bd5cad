// The text of a program parses to the same program again.
#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvOperations.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <random>

namespace Mrv::Test
{
namespace
{
bool parseProgram(const std::string &text, Value &program)
{
	bool success = false;
	InputStreamString stream{std::string_view(text)};
	ParseContext context("test");
	runInTask([&](Task &task) { Parser::parseExpressionList_yielding(task, success, program, stream, context); });
	return success;
}

// Whether `==` can tell that the same program came back: functions are equal by identity, NaN never, and Floats lose digits.
bool isComparable(const std::string &text)
{
	for (size_t at = text.find('.'); at != std::string::npos; at = text.find('.', at + 1))
	{
		if (at > 0 && text[at - 1] >= '0' && text[at - 1] <= '9')
		{
			return false;
		}
	}
	return text.find("function") == std::string::npos && text.find("NaN") == std::string::npos;
}

void expectSameAfterText(const std::string &source)
{
	Value program;
	ASSERT_TRUE(parseProgram(source, program)) << source;
	const std::string text = toString(program);
	Value again;
	ASSERT_TRUE(parseProgram(text, again)) << source << "\nhas the text " << text;
	EXPECT_EQ(text, toString(again)) << source;
	EXPECT_EQ(program.type(), again.type()) << source << "\nhas the text " << text;
	if (isComparable(text))
	{
		EXPECT_EQ(compareEqual(program, again), Comparison::YES) << source << "\nhas the text " << text;
		EXPECT_EQ(computeHash(program), computeHash(again)) << source;
	}
}

// Random programs of every construct, from a fixed seed.
class Generator
{
public:
	explicit Generator(unsigned seed) : fRandom(seed) {}

	std::string statements(int depth)
	{
		std::string text = statement(depth);
		for (int count = pick(3); count > 0; --count)
		{
			text += (pick(6) == 0 ? ", " : "; ") + statement(depth);
		}
		return text + (pick(4) == 0 ? ";" : "");
	}

	std::string statement(int depth)
	{
		switch (depth > 0 ? pick(14) : 13)
		{
			case 0:
				return "if (" + expression(depth - 1) + ") " + block(depth - 1);
			case 1:
				return "if (" + expression(depth - 1) + ") " + block(depth - 1) + " else " + block(depth - 1);
			case 2:
				return "while (" + expression(depth - 1) + ") " + block(depth - 1);
			case 3:
				return "do " + block(depth - 1) + " while (" + expression(depth - 1) + ")";
			case 4:
				// A body that is Undefined has no text in front of the iteration.
				return "for (" + expression(depth - 1) + "; " + expression(depth - 1) + "; " + expression(depth - 1) + ") { " + name() +
				       "; " + statements(depth - 1) + " }";
			case 5:
				return block(depth - 1);
			case 6:
				return "var " + name() + (pick(2) == 0 ? " = " + operand(depth - 1) : "");
			case 7:
				return "function " + name() + "(x, y) " + block(depth - 1);
			case 8:
				return pick(2) == 0 ? "return " + operand(depth - 1) : "break";
			default:
				return expression(depth);
		}
	}

private:
	int pick(int count) { return static_cast<int>(fRandom() % static_cast<unsigned>(count)); }
	std::string name() { return std::string(1, "abcdxy"[pick(6)]); }
	std::string block(int depth) { return "{ " + statements(depth) + " }"; }

	std::string expression(int depth)
	{
		static const char *const OPERATORS[] = {" + ", " - ", " * ", " / ", " < ", " <= ", " > ",
		    " >= ", " == ", " === ", " !== ", " != ", " & ", " ^ ", " | ", " && ", " || "};
		switch (depth > 0 ? pick(8) : 7)
		{
			case 0:
			case 1:
				return operand(depth - 1) + OPERATORS[pick(17)] + operand(depth - 1);
			case 2:
				return operand(depth - 1) + OPERATORS[pick(17)] + operand(depth - 1) + OPERATORS[pick(17)] + operand(depth - 1);
			case 3:
				return operand(depth - 1) + " ? " + operand(depth - 1) + " : " + operand(depth - 1);
			case 4:
				return place(depth - 1) + " = " + expression(depth - 1);
			case 5:
				return place(depth - 1) + (pick(2) == 0 ? " += " : " &&= ") + operand(depth - 1);
			default:
				return operand(depth);
		}
	}

	std::string operand(int depth)
	{
		static const char *const LITERALS[] = {"1", "2.5", "'text'", "\"a\\n\"", "true", "null", "undefined", "[]", "{}", "7", "-3"};
		static const char *const PREFIXES[] = {"-", "+", "!", "~", "- ", "typeof ", "++", "--", "- -"};
		switch (depth > 0 ? pick(12) : pick(3))
		{
			case 0:
				return LITERALS[pick(11)];
			case 1:
			case 2:
				return name();
			case 3:
				return PREFIXES[pick(9)] + operand(depth - 1);
			case 4:
				return place(depth - 1) + (pick(2) == 0 ? "++" : "--");
			case 5:
				return "(" + expression(depth - 1) + (pick(4) == 0 ? ", " + expression(depth - 1) : "") + ")";
			case 6:
				return "[" + operand(depth - 1) + ", " + operand(depth - 1) + "]";
			case 7:
				return "{k: " + operand(depth - 1) + ", 'l m': " + operand(depth - 1) + "}";
			case 8:
				return "(function(x) " + block(depth - 1) + ")";
			case 9:
				return "({" + statement(depth - 1) + "; " + statement(depth - 1) + "})";
			default:
				return place(depth);
		}
	}

	std::string place(int depth)
	{
		switch (depth > 0 ? pick(8) : 0)
		{
			case 1:
				return place(depth - 1) + "." + name();
			case 2:
				return place(depth - 1) + "[" + operand(depth - 1) + " * 2]";
			case 3:
				return name() + "(" + operand(depth - 1) + ", (" + expression(depth - 1) + ", 1))." + name();
			case 4:
				return "(" + operand(depth - 1) + ")[" + name() + "]";
			case 5:
				return "(" + place(depth - 1) + ")(" + operand(depth - 1) + ")[0]";
			case 6:
				return place(depth - 1) + ".length." + name();
			case 7:
				return place(depth - 1) + "['size']." + name() + "()." + name();
			default:
				return name();
		}
	}

	std::mt19937 fRandom;
};

class TextRoundTripTest : public testing::Test
{
protected:
	TestCoordinator fCoordinator;
};
}

TEST_F(TextRoundTripTest, WhatNeedsBracketsKeepsThem)
{
	for (const char *source : {"(1 + a) * b", "a - (b - c)", "a + (b + c)", "(a, b) * c", "- -a", "-(a++)", "!(a--)", "- --a", "-([5][0])",
	         "typeof ('abc'.length)", "(-a)[0]", "(a + b).c", "(5).b", "('x')(1)", "(f)(1)", "(m.f)(1)", "(size)([1])", "f((a, b), c)",
	         "[(a, b), c]", "{k: (a, b)}", "a[(b, c)]", "(c ? a : b) ? d : e", "a ? b : (c ? d : e)", "c ? (x = 1) : 2", "x = {a; b}",
	         "f({a; b}, 1)", "[{a; b}]", "if ({a; b}) c", "(if (a) 1; else 2) + 3", "(return a) + 1", "(break) + 1", "((if (a) b), c)",
	         "(x = (if (a) b), c)", "f((return a), 2)", "return (a, b)", "function(x) { return x + 1 }(5)", "(function(x) { })(5)", "a.5",
	         "m['size']", "m['a b'].c", "m[''] = 1", "-a.b", "++a[0]", "(a == b) == c", "a == (b == c)"})
	{
		expectSameAfterText(source);
	}
}

TEST_F(TextRoundTripTest, StatementsStayTheSame)
{
	for (const char *source : {"var a = 1", "var a = 1, b = 2; c", "function f() { var a = 1, b = 2; return a }", "function f() { a = 1; }",
	         "function f() { if (a) b; }", "function f() { if (a) { b }; }", "function f() { a; b, c }", "function f() { a; (b, c) }",
	         "function f() { for (i = 0; i < 3; i++) { g(i) } }", "a; for (i = 0; i < 3; i++) g(i), b", "{ for (;;) a; b }",
	         "while (a) b; c", "while (a) { b; }", "do x; while (c) y", "do { } while (c)", "if (a) { } else { b; }", "if (a) {} ",
	         "if (a) b; else if (c) d; else e", "{ a; b, c }", "{ a, b; c }", "a; b, c", "{ while (a) b, c }", "x = if (a) 1; else 2",
	         "function f() { }", "function f() { 5 }", "function f() { return }", "function f() { {} }", "function f() { { {} } }",
	         "{ var a; var b = 2; }", "a; undefined", "1; a; undefined; b", "function f() { var; a }", "{ { a; } b }",
	         "{ { { a; } b; } c; }", "{ { a; }, b }", "a; { var b; c }", "while (a) { break }; debugger; b"})
	{
		expectSameAfterText(source);
	}
}

TEST_F(TextRoundTripTest, TextsWithoutBracketsReadAsTheyWere)
{
	for (const char *source : {"a = b + c * d", "a.b[1].c(2, x)[\"size\"]", "a ? b : c", "function f(x, y){return x + y}", "x = y = z",
	         "if (a) {b} else {c}", "while (a) {b; c}", "do {a} while (b)", "! a && ~ b", "typeof a == \"number\"", "a++ + ++b - -c",
	         "[a, { \"k\": b }]", "function(){a = 1; }"})
	{
		Value program;
		if (parseProgram(source, program))
		{
			EXPECT_EQ(source, toString(program));
		}
	}
}

TEST_F(TextRoundTripTest, RandomProgramsStayTheSame)
{
	Generator generator(20);
	for (int count = 0; count < 4000 && !HasFailure(); ++count)
	{
		const std::string source = generator.statements(4);
		Value program;
		// A few can't be parsed: a comma behind a statement that ends its level, an increment of what is no place.
		if (parseProgram(source, program))
		{
			expectSameAfterText(source);
		}
	}
	takeLogLines(); // of texts that are no numbers
}
}
