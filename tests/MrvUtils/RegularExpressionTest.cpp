// Regular expressions, compared with the standard library's on small random patterns and texts.
#include "MrvUtils/MrvRegularExpression.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>

namespace Mrv::Test
{
namespace
{
bool find(const std::string &pattern, const std::string &text)
{
	return RegularExpression(pattern).search(text);
}

// What the library says: valid, found; `isDecided` false where it gives up on a text.
struct Verdict
{
	bool isValid = false;
	std::vector<bool> found;
};

Verdict askLibrary(const std::string &pattern, const std::vector<std::string> &texts)
{
	Verdict verdict;
	try
	{
		const std::regex expression(pattern);
		verdict.isValid = true;
		for (const std::string &text : texts)
		{
			verdict.found.push_back(std::regex_search(text, expression));
		}
	}
	catch (const std::regex_error &)
	{
		verdict.isValid = false;
	}
	return verdict;
}
}

TEST(RegularExpressionTest, AgreesWithTheLibraryOnRandomPatterns)
{
	const std::vector<std::string> pieces{"a", "b", "c", "-", ".", "^", "$", "*", "+", "?", "*?", "??", "{2}", "{1,2}", "{,2}", "{2,}",
	    "{2,1}", "(", ")", "(?:", "|", "[ab]", "[^a]", "[a-c]", "[c-a]", "[-a]", "[a-]", "[a-b-c]", "[]", "[^]", "[\\w-]", "[\\d-a]",
	    "[[:alpha:]_]", "[[.a.]-c]", "[[=b=]]", "[", "]", "{", "}", "\\", "\\d", "\\W", "\\s", "\\b", "\\B", "\\n", "\\x61", "\\u0062",
	    "\\x6", "\\ca", "\\0", "\\.", "[\\b\\]a]", "(a|b)", "(a*)", "(|a)"};
	std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same run each time
	const auto pick = [&random](size_t count) { return static_cast<size_t>(random() % count); };
	std::vector<std::string> texts{"", "a", "ab a", "\n", "aab\r\nc"};
	for (int count = 0; count < 10; ++count)
	{
		std::string text;
		for (size_t length = pick(6); length > 0; --length)
		{
			text += "abc-_ 1\n]\xc3"[pick(10)];
		}
		texts.push_back(text);
	}
	int validCount = 0;
	for (int round = 0; round < 1500; ++round)
	{
		std::string pattern;
		for (size_t length = 1 + pick(6); length > 0; --length)
		{
			pattern += pieces[pick(pieces.size())];
		}
		const Verdict verdict = askLibrary(pattern, texts);
		const RegularExpressionSyntax syntax(pattern);
		ASSERT_EQ(syntax.isValid(), verdict.isValid) << pattern;
		const RegularExpression expression(pattern);
		ASSERT_EQ(expression.isValid(), verdict.isValid) << pattern;
		for (size_t index = 0; verdict.isValid && index < texts.size(); ++index)
		{
			ASSERT_EQ(expression.search(texts[index]), verdict.found[index]) << pattern << " in '" << texts[index] << "'";
		}
		validCount += verdict.isValid ? 1 : 0;
	}
	EXPECT_GT(validCount, 300);
}

TEST(RegularExpressionTest, Literals)
{
	EXPECT_TRUE(find("v1", "bv1"));
	EXPECT_TRUE(find("", ""));
	EXPECT_TRUE(find("^v1", "v1x"));
	EXPECT_FALSE(find("^v1", "bv1"));
	EXPECT_TRUE(find("v1$", "bv1"));
	EXPECT_FALSE(find("v1$", "v1x"));
	EXPECT_TRUE(find("^v1$", "v1"));
	EXPECT_FALSE(find("^v1$", "v11"));
	EXPECT_TRUE(find("^a\\.b$", "a.b"));
	EXPECT_FALSE(find("^a\\.b$", "axb"));
}

TEST(RegularExpressionTest, LongTextsTakeLinearTime)
{
	// With a backtracking matcher each of these would outlive the test by far, or the stack.
	const std::string as(1 << 20, 'a');
	EXPECT_FALSE(find("(a|b)*c", as));
	EXPECT_TRUE(find("(a|b)*c", as + "c"));
	EXPECT_FALSE(find("(a+)+b", as));
	EXPECT_TRUE(find("(a+)+b$", as + "b"));
	EXPECT_FALSE(find("(x+x+)+y", std::string(1 << 20, 'x')));
	EXPECT_TRUE(find("^.+$", as));
	// More sets of states than are kept.
	std::string mixed;
	std::mt19937 random(3); // NOLINT(cert-msc51-cpp): the same run each time
	for (int count = 0; count < 100000; ++count)
	{
		mixed += random() % 2 == 0 ? 'a' : 'b';
	}
	EXPECT_FALSE(find("a(a|b){14}c", mixed));
	EXPECT_TRUE(find("a(a|b){14}c", mixed + "aabababababababc" + mixed));
}

TEST(RegularExpressionTest, WhatMustRememberIsTriedOnShortTextsOnly)
{
	const RegularExpression twice("^(.+)\\1$");
	EXPECT_TRUE(twice.search("abab"));
	EXPECT_FALSE(twice.search("abac"));
	EXPECT_FALSE(twice.search(std::string(26, 'a')));
	EXPECT_TRUE(takeLogLine("not tried on a longer text"));
	EXPECT_FALSE(twice.search(std::string(26, 'a')));
	EXPECT_FALSE(takeLogLine("not tried on a longer text")) << "logged once";
	EXPECT_TRUE(find("a(?=b)", "ab"));
	EXPECT_FALSE(find("a(?!b)", "ab"));
	// Short texts have endless ways as well.
	for (const char *const pattern : {"^(a|a|a|a)*(?=b)c", "(?:(a|b|)*(?=(a*)*))*z", "((((((a*)*)*)*)*)*)*\\6b"})
	{
		const RegularExpression endless(pattern);
		EXPECT_TRUE(endless.isValid()) << pattern;
		EXPECT_FALSE(endless.search(std::string(24, 'a'))) << pattern;
		EXPECT_TRUE(takeLogLine("it takes too long")) << pattern;
		EXPECT_FALSE(endless.isValid()) << pattern;
	}
}

TEST(RegularExpressionTest, TooLargeOrTooDeepIsNotValid)
{
	EXPECT_FALSE(RegularExpression("((a{100}){100}){100}").isValid());
	EXPECT_FALSE(RegularExpression(std::string(100000, '(')).isValid());
	EXPECT_FALSE(RegularExpression(std::string(300, '(') + "a" + std::string(300, ')')).isValid());
	EXPECT_FALSE(RegularExpression("a{99999999999999999999}").isValid());
	EXPECT_FALSE(RegularExpression("a" + std::string(30000, '*')).isValid());
	EXPECT_FALSE(RegularExpression("(a?){6000}(?=b)").isValid());
	EXPECT_FALSE(RegularExpression("(?:(?=(?:a|){99})|){9}b").isValid());
	EXPECT_FALSE(RegularExpression(std::string(70000, 'a')).isValid());
	EXPECT_TRUE(RegularExpression(std::string(60000, 'a')).isValid());
	EXPECT_TRUE(RegularExpression("(x|" + std::string(2000, 'a') + ")+").search(std::string(2000, 'a')));
}
}
