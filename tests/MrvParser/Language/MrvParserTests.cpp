#include "MrvParser/Language/MrvParser.h"

#include "MrvParser/Language/MrvParserMachine.h"
#include "MrvParser/Language/MrvToken.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamConsole.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Stream/MrvOutputStreamString.h"
#include "support/MemoryConsole.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"
#include "support/TrickleStream.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace Mrv::Test
{
namespace
{
using FirstLine = ParseContext::FirstLine;

struct Parsed
{
	bool success = false;
	Value value;
	ParseError error;
	std::vector<std::string> warnings;
};

Parsed parseStream(InputStream &stream, FirstLine firstLine = FirstLine::CODE)
{
	Parsed parsed;
	ParseContext context("test", firstLine);
	runInTask([&](Task &task) { Parser::parseExpressionList_yielding(task, parsed.success, parsed.value, stream, context); });
	parsed.error = context.getError();
	parsed.warnings = context.getWarnings();
	return parsed;
}

Parsed parse(const std::string &text, FirstLine firstLine = FirstLine::CODE)
{
	InputStreamString stream{std::string_view(text)};
	return parseStream(stream, firstLine);
}

// What the text parses to, or the first message of its failure.
std::string describe(const Parsed &parsed)
{
	if (parsed.success)
	{
		return toString(parsed.value);
	}
	return "! " + (parsed.error.messages.empty() ? "no message" : parsed.error.messages.front());
}

struct Row
{
	const char *text;
	const char *expected;
};

class ParserTest : public testing::Test
{
protected:
	// Each text gives the same in one piece and byte by byte, without and with a suspension at every step.
	static void expectRows(std::initializer_list<Row> rows)
	{
		for (const Row &row : rows)
		{
			SCOPED_TRACE(row.text);
			EXPECT_EQ(describe(parse(row.text)), row.expected);
			TrickleStream slow(row.text);
			EXPECT_EQ(describe(parseStream(slow)), row.expected) << "byte by byte";
			const AlwaysYield alwaysYield(true);
			EXPECT_EQ(describe(parse(row.text)), row.expected) << "suspended at every step";
			TrickleStream slowest(row.text);
			EXPECT_EQ(describe(parseStream(slowest)), row.expected) << "suspended at every step, byte by byte";
		}
	}

	TestCoordinator fCoordinator;
};

std::string repeat(const std::string &text, size_t count)
{
	std::string result;
	result.reserve(text.size() * count);
	for (size_t i = 0; i < count; ++i)
	{
		result += text;
	}
	return result;
}
}

TEST_F(ParserTest, Literals)
{
	expectRows({
	    {"", "undefined"},
	    {" \t\r\n ", "undefined"},
	    {"true", "true"},
	    {"NaN", "NaN"},
	    {"null", "null"},
	    {".45", "0.450000"},
	    {"+.45", "0.450000"},
	    {"-.45", "-0.450000"},
	    {"-.45E-5", "-0.000005"},
	    {"+.45E5", "45000"},
	    {"-123E5", "-12300000"},
	    {"123.45", "123.450000"},
	    {"1e3", "1000"},
	    {"0x1F", "31"},
	    {"007", "7"},
	    {"9223372036854775807", "9223372036854775807"},
	    {"9223372036854775808", "9223372036854775808.000000"},
	    {"123456789012345678", "123456789012345678"},
	    {"1e400", "inf"},
	    {"0.3 == 3/10", "true"},
	    {"0x", "! number parse failed"},
	    {"1e", "! number parse failed"},
	    {"1e+", "! number parse failed"},
	    {".", "! number parse failed"},
	    {"'it\\'s'", "\"it's\""},
	    {"\"a\nb\"", "\"a\\nb\""},
	    {"\"\\u2192\"", "\"\\xE2\\x86\\x92\""},
	    {"'abc", "! unexpected end of inputStream"},
	    {"'abc\\", "! unexpected end of inputStream"},
	    {"12abc", "12; abc"},
	});
	EXPECT_EQ(describe(parse(std::string("'a\0b'", 5))), "! unexpected end of string in quoted string");
	EXPECT_EQ(describe(parse("'\xC3\xA4'")), "\"\\xC3\\xA4\"");
	EXPECT_EQ(describe(parse("\xC3\xA4")), "! unexpected character");
	EXPECT_EQ(parse(repeat("7", 10000)).value.type(), OMType::Float);
}

TEST_F(ParserTest, Heredocs)
{
	expectRows({
	    {"<<END\nEND", "\"\""},
	    {"<<END \t\na\\n'b'\n ENDX\nENDX\nEND", "\"a\\\\n'b'\\n ENDX\\nENDX\""},
	    {"<<E\r\nx\r\nE\r\n", "\"x\""},
	    {"a(<<E\nx // no comment\nE)", "a(\"x // no comment\")"},
	    {"<<E\nx\nE.length", "\"x\".length"},
	    {"<<E\nx\nEE", "! unexpected end of inputStream"},
	    {"<<E x\nE", "! line end expected after heredoc name"},
	    {"<< 1\n", "! heredoc name expected"},
	    {"<a", "! unexpected character"},
	});
}

TEST_F(ParserTest, Precedence)
{
	expectRows({
	    {"1 + 2 * 3", "7"},
	    {"1 - 2 + 3", "-4"},
	    {"8 / 2 * 4", "1"},
	    {"2 * 3 / 2 * 3", "1"},
	    {"1 - \"2\" + 3", "-22"},
	    {"1 != 1 == 1", "true"},
	    {"6 & 3 == 3", "0"},
	    {"1--1", "1"},
	    {"!true", "false"},
	    {"- -5", "5"},
	    {"-9007199254740993", "-9007199254740992"},
	    {"typeof 'abc'", "\"string\""},
	    {"typeof 'abc'.length", "\"string\".length"},
	    {"++5", "6"},
	    {"5++", "5"},
	    {"1/0", "NaN"},
	    {"(1 + 2) * 3", "9"},
	    {"()", "undefined"},
	    {"a + b", "a + b"},
	    {"-a++", "-a++"},
	    {"-a.b", "-a.b"},
	    {"a = b = 3", "a = b = 3"},
	    {"a || b ? c : d", "a || b ? c : d"},
	    {"c ? 1 : d ? 2 : 3", "c ? 1 : (d ? 2 : 3)"},
	    {"1 ? 2 : 3", "2"},
	    {"0 ? 1 : ; 3", "3"},
	    {"c ? 1\n: 2", "c ? 1 : 2"},
	    {"c ? 1 2", "! missing : in ?:"},
	    {"c ? : 2", "! unexpected character"},
	    {"c ? 1, 2 : 3", "! unexpected parseType"},
	    {"1 +", "NaN"},
	    {"1 + ", "NaN"},
	    {"-", "NaN"},
	    {"!", "true"},
	    {"-;5", "-5"},
	    {"1,", "undefined"},
	    {"a =;", "a = undefined"},
	    {"a ! b", "! unexpected character after !"},
	    {"a ==== 8", "! unexpected character"},
	    {"(1", "! unexpected end of inputStream"},
	    {"(1 2)", "! expected closing ')'"},
	    {"5 % 2", "! unexpected character"},
	    {"1 << 2", "! unexpected character"},
	});
}

TEST_F(ParserTest, Assignment)
{
	expectRows({
	    {"a += 2", "a = a + 2"},
	    {"a *= 3 + 4", "a = a * 3 + 4"},
	    {"a ||= 4", "a = a || 4"},
	    {"a &= 4", "! unexpected character"},
	    {"(a) = 5", "a = 5"},
	    {"a[0] ^= 1", "a[0] = a[0] ^ 1"},
	});
	for (const char *text : {"7 = a", "{} = 7", "[1] = 7", "[a] = 7", "[1] = a", "x + a += 2", "b += a *= 3", "a && x = 5", "!a = b"})
	{
		const Parsed parsed = parse(text);
		EXPECT_FALSE(parsed.success) << text;
		EXPECT_EQ(parsed.value.type(), OMType::Undefined) << text;
		EXPECT_EQ(parsed.error.messages.size(), 2u) << text;
	}
}

TEST_F(ParserTest, Links)
{
	expectRows({
	    {"a.b.c", "a.b.c"},
	    {"a . b", "a.b"},
	    {"a.5", "a.5"},
	    {"a[1][x]", "a[1][x]"},
	    {"m['k']", "m.k"},
	    {"m['size']", "m[\"size\"]"},
	    {"m['']", "m[\"\"]"},
	    {"a.if.true", "a.if.true"},
	    {"f()", "f()"},
	    {"f (1, 'x', g())(2)", "f(1, \"x\", g())(2)"},
	    {"f(,1)", "f(1)"},
	    {"f(1,)", "f(1)"},
	    {"a.b(1)", "a.b(1)"},
	    {"(a)(1)", "(a)(1)"},
	    {"5 (3)", "3"},
	    {"f\n(x)", "f; x"},
	    {"(f\n(x))", "! expected closing ')'"},
	    {"f(1 2)", "! expected ',' or ')'; argument list parse failed"},
	    {"f(1", "! unexpected end of inputStream"},
	    {"a[-1]", "! negative index value"},
	    {"a[]", "! unexpected character"},
	    {"a[1", "! unexpected end of inputStream"},
	    {"a[1 2]", "! closing ']' expected"},
	    {"a.", "! unexpected end of inputStream"},
	    {"a.+", "! unexpected character"},
	});
}

TEST_F(ParserTest, ArraysAndMaps)
{
	expectRows({
	    {"[]", "[]"},
	    {"[ ]", "[]"},
	    {"[1,,2]", "[1, 2]"},
	    {"[,1]", "[1]"},
	    {"[1,]", "[1]"},
	    {"[,]", "! unexpected character"},
	    {"[1,,]", "! unexpected character"},
	    {"[1 + ]", "! unexpected character"},
	    {"[1 2]", "! unexpected character expecting , or ] in array"},
	    {"[1", "! unexpected end of inputStream"},
	    {"[[1,[2]],x]", "[[1, [2]], x]"},
	    {"[ 111, 2, \"\\u2192\", \"B\\x00a\" ]", "[111, 2, \"\\xE2\\x86\\x92\", \"B\\x00a\"]"},
	    {"{}", "{  }"},
	    {"{  }", "{  }"},
	    {"{ b1: true }", "{ \"b1\": true }"},
	    {"{\"b1\":true}", "{ \"b1\": true }"},
	    {"{if: 1, size: 2, true: 3}", "{ \"if\": 1, \"size\": 2, \"true\": 3 }"},
	    {"{$a: 1, $b: 2, a%b: 3}", "{ \"$a\": 1, \"$b\": 2, \"a%b\": 3 }"},
	    {"{\"\": 1, '': 2}", "{ \"\": 2 }"},
	    {"{\"a\" + \"b\": 1}", "{ \"ab\": 1 }"},
	    {"{,a:1}", "{ \"a\": 1 }"},
	    {"{a /* x */ : /* y */ 1, /* z */ b // c\n : 2}", "{ \"a\": 1, \"b\": 2 }"},
	    {"{a: }", "{ \"a\": undefined }"},
	    {"{a: 1,}", "{ \"a\": 1 }"},
	    {"{a:1,,b:2}", "! invalid character while expecting attribute name"},
	    {"{a: 1, 2: 3}", "! invalid character while expecting attribute name"},
	    {"{a: 1, b-: 3}", "! invalid character in attribute name"},
	    {"{a: 1 b: 2}", "! unexpected character expecting , or }"},
	    {"{1: 2}", "! invalid property"},
	    {"{,a.b: 2}", "! empty property name"},
	    {"{a: {b: [x]}}", "{ \"a\": { \"b\": [x] } }"},
	    {"! {a:'b',c:'d'}", "false"},
	    {"! {a:'b',c:'d)", "! unexpected end of inputStream"},
	});
	EXPECT_TRUE(parse("[1, {a: [2]}]").value.array()->fIsData);
	EXPECT_FALSE(parse("[1, {a: [x]}]").value.array()->fIsData);
	EXPECT_TRUE(parse("{a: {}}").value.map()->fIsData);
	EXPECT_FALSE(parse("{a: [f()]}").value.map()->fIsData);
}

TEST_F(ParserTest, Blocks)
{
	expectRows({
	    {"{ a = b; c = d + b; }", "a = b; c = d + b; undefined"},
	    {"{ a = b; c = d + b }", "a = b; c = d + b"},
	    {"{5}", "5"},
	    {"{ 1 }", "1"},
	    {"{ 1; }", "undefined"},
	    {"{ 1;; }", "undefined"},
	    {"{ 1; undefined }", "1"},
	    {"{;}", "undefined"},
	    {"{,}", "undefined"},
	    {"{ {} }", "{  }"},
	    {"{a}", "a"},
	    {"{a, b; c}", "a, b; c"},
	    {"{ 'text' }", "\"text\""},
	    {"{ a ? 1 : 2 }", "a ? 1 : 2"},
	    {"{ )", "! invalid expression in sequence"},
	    {"{ a ) }", "! invalid expression in sequence"},
	    {"{ a", "! unexpected end of inputStream"},
	    {"{ 'a", "! unexpected end of inputStream"},
	    {"{", "! unexpected end of inputStream"},
	});
}

TEST_F(ParserTest, StatementLists)
{
	expectRows({
	    {"5; ", "5"},
	    {"5;\n", "5"},
	    {"1; undefined", "undefined"},
	    {"1 2 3", "3"},
	    {"a = 1 b = 2", "a = 1; b = 2"},
	    {";;a;;b;;", "a; b"},
	    {"a, b", "a, b"},
	    {"\"a\" \"b\"", "\"b\""},
	    {"1)", "! parsing failed"},
	    {"}", "! parsing failed"},
	    {"a]", "! unexpected character"},
	    {"a\n= 3", "! unexpected character"},
	    {"x = foo\n.bar()", "! number parse failed"},
	    {"a = 1\n-b", "a = 1; -b"},
	    {"a =\n3", "a = 3"},
	    {"a.\nb", "a.b"},
	    {"(a\n-b)", "a - b"},
	    {"(a\n[0])", "a[0]"},
	    {"a\n[0]", "a; [0]"},
	    {"a\n++b", "a; ++b"},
	    {"#!/usr/bin/env x\n1", "! unexpected character"},
	});
	EXPECT_EQ(describe(parse("#!/usr/bin/env x\n1", FirstLine::MAY_BE_DIRECTIVE)), "1");
	EXPECT_EQ(describe(parse("#!", FirstLine::MAY_BE_DIRECTIVE)), "undefined");
	EXPECT_EQ(describe(parse("#1", FirstLine::MAY_BE_DIRECTIVE)), "! unexpected character");
	EXPECT_EQ(parse("f = function() { a\n++b }").warnings.size(), 1u);
	EXPECT_EQ(parse("[x\n[0]]").warnings.size(), 1u);
}

TEST_F(ParserTest, Comments)
{
	expectRows({
	    {"a /* x */ / 2 // y", "a / 2"},
	    {"a/**/b", "a; b"},
	    {"a+/**/+b", "a + +b"},
	    {"a = 1 // x\n-b", "a = 1; -b"},
	    {"/***/1", "1"},
	    {"1 /", "NaN"},
	    {"8/2", "4"},
	    {"'//' + '/*'", "\"///*\""},
	    {"/* x", "! unexpected end of inputStream"},
	    {"// only", "undefined"},
	    {"if (a) b; /* c */ else d", "if (a) {b} else {d}"},
	    {"if (a) b // c\nelse d", "if (a) {b} else {d}"},
	    {"c ? 1 /* x */ : /* y */ 2", "c ? 1 : 2"},
	});
}

TEST_F(ParserTest, Functions)
{
	expectRows({
	    {"function bla0() {\n  return 'a';\n}", "function bla0(){return \"a\"}"},
	    {"function() {}", "function(){return undefined}"},
	    {"function f(a,b) { a + b }", "function f(a, b){a + b}"},
	    {"function f() { 5; }", "function f(){return undefined}"},
	    {"function f() { 5 }", "function f(){return 5}"},
	    {"function size() {}", "function size(){return undefined}"},
	    {"function (a) {a} (5)", "(function(a){a})(5)"},
	    {"function f(a b) {}", "! expected ')' or ',' in parameter list"},
	    {"function f(a.b) {}", "! empty parameter name (a.b)"},
	    {"function f(size) {}", "! empty parameter name (size)"},
	    {"function f(,) {}", "! empty parameter name"},
	    {"function 1", "! expected function name or parameter list"},
	    {"function f {", "! expected '(' for parameter list"},
	    {"function f() a", "! no function scope '{'"},
	    {"function f() { ) }", "! invalid expression in sequence"},
	    {"function f() {", "! unexpected end of inputStream"},
	    {"a=10;return 'a';a=20", "a = 10; return \"a\"; a = 20"},
	    {"return\n5", "return 5"},
	    {"return 1, 2", "! unexpected parseType"},
	});
	const Value function = parse("function f(x) { var a = 1, b = 2; { var c }; for (var i = 0; i < 3; i++) d = i }").value;
	ASSERT_TRUE(function.isFunction());
	EXPECT_EQ(function.function()->fSignature->getLocalVariables(), (std::vector<std::string>{"a", "b", "c", "i"}));
}

TEST_F(ParserTest, Statements)
{
	expectRows({
	    {"if (a) b", "if (a) {b} else {undefined}"},
	    {"if (a) b; else c", "if (a) {b} else {c}"},
	    {"if (a)\nb\nelse c", "if (a) {b} else {c}"},
	    {"if (a) {b} else {c}", "if (a) {b} else {c}"},
	    {"if (c) {x}; else y", "if (c) {x} else {y}"},
	    {"if (a) b elsewhere", "if (a) {b} else {undefined}; elsewhere"},
	    {"if (a) ++b", "if (a) {++b} else {undefined}"},
	    {"if (a) -b", "if (a) {-b} else {undefined}"},
	    {"if (a) (b)", "if (a) {b} else {undefined}"},
	    {"if (a) [1]", "if (a) {[1]} else {undefined}"},
	    {"if (a) !b", "if (a) {! b} else {undefined}"},
	    {"if (a) !/**/b", "if (a) {! b} else {undefined}"},
	    {"if (a) != b c", "if (a != b) {c} else {undefined}"},
	    {"if (a) < b c", "if (a < b) {c} else {undefined}"},
	    {"if (a) .5", "if (a) {0.500000} else {undefined}"},
	    {"if (a).b c", "if (a.b) {c} else {undefined}"},
	    {"if (a) && (b) c", "if (a && b) {c} else {undefined}"},
	    {"if (a) <<E\nx\nE", "if (a) {\"x\"} else {undefined}"},
	    {"if (a) var x = 1", "if (a) {var} else {undefined}; x = 1"},
	    {"if a", "! expected '('"},
	    {"if (a", "! unexpected end of inputStream"},
	    {"else", "! unexpected keyword"},
	    {"while (x) --x;", "while (x) {--x}"},
	    {"while (x) { a = 12; ++a; --x; } a", "while (x) {a = 12; ++a; --x; }; a"},
	    {"do x = 1; while (c)", "do {x = 1} while (c)"},
	    {"do { x } while (c) y", "do {x} while (c); y"},
	    {"do {} while (c)", "do {undefined} while (c)"},
	    {"if (a) do x while (b); else y", "if (a) {do {x} while (b)} else {y}"},
	    {"do x", "! missing while"},
	    {"for (i = 0; i < 3; i++) f(i)", "i = 0; while (i < 3) {f(i); i++}"},
	    {"for (;;) f()", "while (true) {f()}"},
	    {"for (a;;n) b", "a; while (true) {b; n}"},
	    {"for (a, b; c; d, e) f", "a, b; while (c) {f; (d, e)}"},
	    {"for (a b; c; d) e", "! invalid initialization in for"},
	    {"for (a; b c; d) e", "! invalid condition in for"},
	    {"for (a; b; c d) e", "! invalid iteration in for"},
	    {"for a", "! expected '(' in for"},
	    {"for (", "! unexpected end of inputStream"},
	    {"while (a) break\nb = 1", "while (a) {break}; b = 1"},
	    {"{ if (x) break\n a = 1 }", "if (x) {break} else {undefined}; a = 1"},
	    {"debugger\na", "debugger; a"},
	    {"if (0) a = 1, b = 2", "undefined; b = 2"},
	    {"x = if (c) 1; else 2", "x = if (c) {1} else {2}"},
	    {"var a = 1, b = 2", "var a = 1, b = 2"},
	});
	EXPECT_EQ(parse("if (c) var x = 1;").warnings.size(), 1u);
}

TEST_F(ParserTest, ErrorsTellPlaceAndChain)
{
	const Parsed parsed = parse("a = 1\nb = [1,\n  {k: (2 3)}]\n");
	ASSERT_FALSE(parsed.success);
	EXPECT_EQ(parsed.error.line, 3u);
	EXPECT_EQ(parsed.error.column, 10u);
	EXPECT_EQ(parsed.error.offset, 23u);
	EXPECT_EQ(parsed.error.messages,
	    (std::vector<std::string>{"expected closing ')'", "parse error in object", "parse error in array", "parsing failed"}));

	MemoryConsole console;
	ParseContext context("file.msl");
	InputStreamString stream("x = 'a");
	bool success = true;
	Value value;
	Parser::setDebugOutput(true);
	runInTask([&](Task &task) { Parser::parseExpressionList_yielding(task, success, value, stream, context); });
	Parser::setDebugOutput(false);
	const std::string lines = "file.msl:1:7: unexpected end of inputStream\nfile.msl:1:7: parsing failed\n";
	EXPECT_EQ(console.errorOutput, lines);
	Parser::writeError(context);
	EXPECT_EQ(console.errorOutput, lines + lines);
}

TEST_F(ParserTest, DepthIsLimited)
{
	EXPECT_TRUE(parse(repeat("[", 1000) + repeat("]", 1000)).success);
	EXPECT_TRUE(parse(repeat("{a:", 1000) + "1" + repeat("}", 1000)).success);
	EXPECT_TRUE(parse(repeat("if (a) b; else ", 250) + "c").success);
	EXPECT_TRUE(parse(repeat("a ? b : ", 250) + "c").success);
	for (const char *text : {"[", "(", "{a:", "{", "f(", "a[", "if(", "function(){", "return ", "c ? ", "do "})
	{
		EXPECT_EQ(describe(parse(repeat(text, 100000))), "! nesting limit reached") << text;
		EXPECT_LOG("nesting limit reached");
	}
	const std::vector<std::string> messages = parse(repeat("[", 100000)).error.messages;
	EXPECT_EQ(messages.size(), ParseContext::MAX_MESSAGES);
	EXPECT_LOG("nesting limit reached");
	for (const char *text : {"a - ", "a = ", "- ", "a.", "a[0][0]", "f()"})
	{
		const Parsed parsed = parse(repeat(text, 100000) + "a");
		EXPECT_TRUE(parsed.success || parsed.error.messages.front() == "nesting limit reached") << text << describe(parsed);
	}
	EXPECT_EQ(describe(parse(repeat("1 - ", 100000) + "1")), "-99999");
	EXPECT_TRUE(parse(repeat("a + ", 100000) + "1").success);
	EXPECT_TRUE(parse(repeat("a = 1; ", 100000)).success);
	takeLogLines();
}

TEST_F(ParserTest, StatementsOneByOne)
{
	// As at a prompt: the stream stands on what ends each statement, and nothing behind it is awaited.
	const auto console = std::make_shared<OutputStreamString>();
	const auto output = std::make_shared<OutputStreamString>();
	console->write("a = 1\nif (c) {\nx }\n// nothing\nb =\n 2");
	IOStreamPrompted stream(console, output);
	ParseContext context;
	std::vector<std::string> statements;
	runInTask(
	    [&](Task &task)
	    {
		    for (size_t count = 0; count < 9 && !stream.atEOF(); ++count)
		    {
			    bool success = false;
			    Value value;
			    Parser::parseExpression_yielding(task, success, value, stream, 0, ParseType::EXPRESSION, context);
			    statements.push_back(!success ? "failed" : context.hasOperand() ? toString(value) : "nothing");
			    EXPECT_EQ(task.getParsingNestLevel(), 0);
		    }
	    });
	EXPECT_EQ(statements, (std::vector<std::string>{"a = 1", "if (c) {x} else {undefined}", "b = 2"}));
	EXPECT_EQ(output->getText(), "> > . . . . ");
}

TEST_F(ParserTest, ConsoleIsNotAskedForMoreThanNeeded)
{
	// A statement that is complete at the line's end, and the prompts shown until it has been parsed.
	const std::initializer_list<Row> rows{
	    {"a = 1\r", "> "},
	    {"if (c) x\r", "> "},
	    {"if (c) x;\r", "> "},
	    {"while (c) f();\r", "> "},
	    {"do x while (c)\r", "> "},
	    {"function f() {\r5 }\r", "> . "},
	    {"a =\r2\r", "> . "},
	    {"{ if (c) x\relse y }\r", "> . "},
	};
	for (const Row &row : rows)
	{
		SCOPED_TRACE(row.text);
		MemoryConsole console;
		console.isATerminal = true;
		console.inputEnds = false;
		console.input = row.text;
		const auto output = std::make_shared<OutputStreamString>();
		IOStreamPrompted stream(std::make_shared<InputStreamConsole>(), output);
		ParseContext context;
		bool success = false;
		Value value;
		const auto task = FunctionTask::factory(
		    [&](Task &running) { Parser::parseExpression_yielding(running, success, value, stream, 0, ParseType::EXPRESSION, context); });
		for (int slice = 0; slice < 10 && !task->isTaskCompleted(); ++slice)
		{
			task->runTimeslice(1000);
		}
		EXPECT_TRUE(task->isTaskCompleted());
		EXPECT_TRUE(success);
		std::string prompts;
		for (const char *prompt : {"> ", ". "})
		{
			for (size_t at = output->getText().find(prompt); at != std::string::npos; at = output->getText().find(prompt, at + 1))
			{
				prompts += prompt;
			}
		}
		EXPECT_EQ(prompts, row.expected);
		if (!task->isTaskCompleted())
		{
			task->exit();
			task->runTimeslice(0);
		}
	}
}

TEST_F(ParserTest, DroppedTaskTakesItsNestLevelBack)
{
	TrickleStream stream("[[[1, [");
	ParseContext context;
	bool success = false;
	Value value;
	const auto task =
	    FunctionTask::factory([&](Task &running) { Parser::parseExpressionList_yielding(running, success, value, stream, context); });
	const AlwaysYield alwaysYield(true);
	int deepest = 0;
	for (int slice = 0; slice < 40; ++slice)
	{
		task->runTimeslice(0);
		deepest = std::max(deepest, task->getParsingNestLevel());
	}
	EXPECT_GE(deepest, 3);
	task->exit();
	task->runTimeslice(0);
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_EQ(task->getParsingNestLevel(), 0);
}

TEST_F(ParserTest, EveryStateIsReached)
{
	static std::map<std::string, std::set<std::string>> transitions;
	transitions.clear();
	ParserMachine::setTrace([](const char *from, const char *to, size_t) { transitions[to].insert(from); });
	for (const char *text :
	    {"+a-b*c/d^e+-f", "++a--", "f(1,'x\\'')[2].d", "(a) = !b != c !== d", "a == b === c < d <= e > f >= g & h && i | j || k",
	        "c ? 1 : 2", "<<E\r\nx\nE", "{a: 1, 'b\\'': 2, c : 3}", "{'a\\'': 1}", "{a; b}", "{f(), b}", "[1, x]", "function f(a, b) { a }",
	        "if (a).b c else d", "while (a) b", "do c while (d)", "for (a; b; c) d", "break", "1.5"})
	{
		EXPECT_TRUE(parse(text).success) << text;
	}
	ParserMachine::setTrace(nullptr);
	for (int number = 0; number <= static_cast<int>(ParserState::LEVEL_END); ++number)
	{
		const auto state = static_cast<ParserState>(number);
		if (state != ParserState::OPERAND || !transitions.empty())
		{
			EXPECT_EQ(transitions.count(getStateName(state)), 1u) << getStateName(state) << ": " << getStateGloss(state);
		}
	}
}

TEST(TokenTest, TextsAndNumbersMatch)
{
	for (uint32_t number = 0; number < TOKEN_COUNT; ++number)
	{
		const auto token = static_cast<Token>(number);
		const bool isUsed = number != 28 && number != 32 && number != 56;
		EXPECT_EQ(getTokenText(token).empty(), !isUsed) << number;
		if (isUsed)
		{
			EXPECT_EQ(findToken(getTokenText(token)), token) << number;
		}
	}
	EXPECT_EQ(findToken("toUpperCase"), Token::TO_UPPER_CASE);
	for (const char *word : {"", "sizes", "siz", "\xC3\xA4", "zzz", "If"})
	{
		EXPECT_EQ(findToken(word), Token::NONE) << word;
	}
	EXPECT_TRUE(isFunctionToken(Token::YIELD));
	EXPECT_FALSE(isFunctionToken(Token::VAR));
	EXPECT_FALSE(isFunctionToken(Token::NONE));
}
}
