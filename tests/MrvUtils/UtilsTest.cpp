#include "MrvUtils/MrvUtils.h"
#include "support/MemoryConsole.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Mrv
{
namespace
{
using Test::MemoryConsole;
using Test::takeLogLine;

TEST(UtilsTest, Trim)
{
	EXPECT_EQ(Utils::trim("  123\t   b\t  "), "123\t   b");
	EXPECT_EQ(Utils::trim("\r\n\t "), "");
	EXPECT_EQ(Utils::trim(""), "");
	EXPECT_EQ(Utils::trim("\v x"), "\v x");
}

TEST(UtilsTest, NamesAndNumbers)
{
	for (const char *const name : {"a", "a$b_9_", "$abc", "_", "Z9"})
	{
		EXPECT_TRUE(Utils::isIdentifierName(name)) << name;
	}
	for (const char *const name : {"", "9a", "a.b", "a-b", " a", "ä"})
	{
		EXPECT_FALSE(Utils::isIdentifierName(name)) << name;
	}
	EXPECT_TRUE(Utils::isNumeric("0123456789012345678901234567890"));
	for (const char *const text : {"", "-1", "1.5", " 1", "a"})
	{
		EXPECT_FALSE(Utils::isNumeric(text)) << text;
	}
}

TEST(UtilsTest, CoordinatorNames)
{
	for (const char *const name : {"main", "net.morvane.coordinator.main", "a.9", "$._.x9"})
	{
		EXPECT_TRUE(Utils::isCoordinatorName(name)) << name;
	}
	for (const char *const name : {"", ".a", "a.", "a..b", "9.a", "a-b", "a/b", "net.morvane.coordinator."})
	{
		EXPECT_FALSE(Utils::isCoordinatorName(name)) << name;
	}
	const std::string full = Utils::normaliseCoordinatorName("main");
	EXPECT_EQ(full, "net.morvane.coordinator.main");
	EXPECT_EQ(Utils::normaliseCoordinatorName(full), full);
	EXPECT_EQ(Utils::normaliseCoordinatorName(""), "");
}

TEST(UtilsTest, WildCards)
{
	struct Case
	{
		const char *pattern;
		std::vector<const char *> matching;
		std::vector<const char *> others;
	};
	const Case cases[] = {
	    {"", {""}, {"a", "*"}},
	    {"*", {"", "a", "abc"}, {}},
	    {"?", {"a", "?"}, {"", "ab"}},
	    {"a?", {"ab"}, {"a", "abc", "ba"}},
	    {"?a", {"ba"}, {"a"}},
	    {"*a**b", {"ab", "xaxb", "aabb"}, {"ba", "abx"}},
	    {"a*a*a", {"abaca", "abbaca", "abbbbacbbba", "aacbbbbba", "aaa"}, {"aa", "abac"}},
	    {"*a?*", {"ax", "dsdsaap", "baxss"}, {"dsdsdsdhsja", "a"}},
	    {"a?*", {"ax", "axss"}, {"baxss", "a"}},
	    {"?a?", {"aac"}, {"ba", "ab", "bca", "abc"}},
	};
	for (const Case &test : cases)
	{
		for (const char *const text : test.matching)
		{
			EXPECT_TRUE(Utils::isWildCardMatch(text, test.pattern)) << text << " / " << test.pattern;
		}
		for (const char *const text : test.others)
		{
			EXPECT_FALSE(Utils::isWildCardMatch(text, test.pattern)) << text << " / " << test.pattern;
		}
	}
	// Not exponential.
	std::string pattern;
	for (int i = 0; i < 1000; ++i)
	{
		pattern += "a*";
	}
	EXPECT_FALSE(Utils::isWildCardMatch(std::string(5000, 'a'), pattern + "b"));
}

TEST(UtilsTest, ReplaceAndSplit)
{
	EXPECT_EQ(Utils::replaceSubStr("aaa", "aa", "b"), "ba");
	EXPECT_EQ(Utils::replaceSubStr("abab", "a", "aa"), "aabaab");
	EXPECT_EQ(Utils::replaceSubStr("abc", "", "x"), "abc");
	EXPECT_EQ(Utils::replaceSubStr("", "a", "x"), "");
	EXPECT_EQ(Utils::split("a,,b,", ','), (std::vector<std::string>{"a", "", "b", ""}));
	EXPECT_EQ(Utils::split("", ','), std::vector<std::string>{""});
}

TEST(EscapesTest, Encode)
{
	EXPECT_EQ(Utils::encodeString("\r\t\n\x11"), "\\r\\t\\n\\x11");
	EXPECT_EQ(Utils::encodeString("\u2192"), "\\xE2\\x86\\x92");
	EXPECT_EQ(Utils::encodeString(std::string("\0\b\f\x7F", 4)), "\\x00\\x08\\x0C\\x7F");
	EXPECT_EQ(Utils::encodeString("\\ \" '"), "\\\\ \\\" '");
	EXPECT_EQ(Utils::encodeString("\\ \" '", '\''), "\\\\ \" \\'");
	EXPECT_EQ(Utils::encodeWString(L"\u2192\"\x1F"), "\\u2192\\\"\\x1F");
	EXPECT_EQ(Utils::encodeWString(L"\U0001F600"), "\\uD83D\\uDE00");
}

TEST(EscapesTest, Decode)
{
	const std::pair<std::string, std::string> cases[] = {
	    {"a\\u0080\\u07FF\\u0800\\uFFFFb", "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"
	                                       "b"},
	    {"a\\xC2\\x80\\xDF\\xBF\\xE0\\xA0\\x80\\xEF\\xBF\\xBF"
	     "b",
	        "a\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"
	        "b"},
	    {"\\r\\t\\n\\x11\\u0011", "\r\t\n\x11\x11"},
	    {"\\\"\\\\\\b\\f", "\"\\\b\f"},
	    {"it\\'s \\q\\/", "it's q/"},
	    {"\\uD83D\\uDE00", "\U0001F600"},
	    {"\\uD83Dx", "\xED\xA0\xBD"
	                 "x"},
	    {"\\uD83D\\u0041", "\xED\xA0\xBD"
	                       "A"},
	    {"\\uDE00\\uD83D", "\xED\xB8\x80\xED\xA0\xBD"},
	    {"\\xZ1 \\x1 \\u12 \\uD83D\\uDE0", "xZ1 x1 u12 \xED\xA0\xBDuDE0"},
	    {"\\u0000", std::string(1, '\0')},
	    {"end\\", "end"},
	    {"", ""},
	};
	for (const auto &[text, decoded] : cases)
	{
		EXPECT_EQ(Utils::decodeString(text), decoded) << text;
	}
}

TEST(EscapesTest, WideText)
{
	const std::string encoded = "\\r\\t\\n\\x11\\x7F\\u0080\\u07FF\\u0800\\uFFFFabc";
	const std::wstring wide = Utils::decodeWString(encoded);
	EXPECT_EQ(wide, L"\r\t\n\x11\x7F\u0080\u07FF\u0800\uFFFF"
	                L"abc");
	EXPECT_EQ(Utils::encodeWString(wide), encoded);
	EXPECT_EQ(Utils::decodeWString("a\\xC2\\x80"), L"a\u0080");
	// Half a pair survives both ways.
	EXPECT_EQ(Utils::encodeWString(Utils::decodeWString("\\uD83D")), "\\uD83D");

	for (const char *const invalid : {"ab\\xC3", "ab\\x80", "ab\\xC0\\x80", "ab\\xF5\\x80\\x80\\x80", "ab\\xE0\\x80\\x80"})
	{
		EXPECT_EQ(Utils::decodeWString(invalid), L"ab") << invalid;
		EXPECT_LOG("cannot decode UTF8");
	}
	// Where `wchar_t` has 16 bits, such a code point doesn't fit.
	const bool fits = sizeof(wchar_t) > 2;
	EXPECT_EQ(Utils::decodeWString("x\U0001F600"), fits ? L"x\U0001F600" : L"x");
	EXPECT_EQ(takeLogLine("UTF char does not fit in wchar_t"), !fits);
}

TEST(EscapesTest, OneCodePoint)
{
	std::uint64_t length = 0;
	EXPECT_EQ(Utils::UTF8ToUTF("\U0001F600x", length), U'\U0001F600');
	EXPECT_EQ(length, 4U);
	EXPECT_EQ(Utils::UTF8ToUTF("", length), U'\0');
	EXPECT_EQ(length, 1U);
	EXPECT_EQ(Utils::UTF8ToUTF("\xE2\x86", length), U'\0');
	EXPECT_EQ(length, 0U);
	EXPECT_LOG("SANITY_CHECK failed: 'utf8Length > 0' evaluates to false");
}

TEST(EscapesTest, Quotes)
{
	EXPECT_EQ(Utils::enquote("a\"b\n"), "\"a\\\"b\\n\"");
	EXPECT_EQ(Utils::enquote("a'b\"", '\''), "'a\\'b\"'");
	EXPECT_EQ(Utils::dequote(Utils::enquote("a\"b\\\n")), "a\"b\\\n");
	EXPECT_EQ(Utils::dequote("a\\tb"), "a\tb");
	EXPECT_EQ(Utils::dequote("\""), "\"");
	EXPECT_EQ(Utils::dequote("\"\""), "");
}

TEST(EscapesTest, TheWire)
{
	const std::string text("\n\n-abc\"\0def", 11);
	EXPECT_EQ(Utils::escapeIPC(text), "-n-n--abc\"-zdef");
	EXPECT_EQ(Utils::escapeSerializer(text), "\\n\\n-abc\\\"\\zdef");
	EXPECT_EQ(Utils::escapeSerializer("'\\\r\x1F\x07\x7F\xC3"), "\\'\\\\\\r\\X\\b\x7F\xC3");
	EXPECT_EQ(Utils::unescapeIPC("a-qb-"), "aqb");
	EXPECT_EQ(Utils::unescapeSerializer("a\\qb\\"), "aqb");
	std::string allBytes;
	for (int byte = 0; byte < 256; ++byte)
	{
		allBytes += static_cast<char>(byte);
	}
	// Wherever a byte stands, it has the escape that it has alone.
	for (const char byte : allBytes)
	{
		for (std::size_t before = 0; before < 18; ++before)
		{
			const std::string head(before, 'a');
			const std::string alone(1, byte);
			const std::string tail = std::string(17, '\xC3') + byte;
			std::string whole = head;
			whole.append(alone).append(tail);
			std::string expected = head;
			EXPECT_EQ(Utils::escapeIPC(whole), expected.append(Utils::escapeIPC(alone)).append(Utils::escapeIPC(tail)));
			expected = head;
			EXPECT_EQ(
			    Utils::escapeSerializer(whole), expected.append(Utils::escapeSerializer(alone)).append(Utils::escapeSerializer(tail)));
		}
	}
	EXPECT_EQ(Utils::unescapeIPC(Utils::escapeIPC(allBytes)), allBytes);
	EXPECT_EQ(Utils::unescapeSerializer(Utils::escapeSerializer(allBytes)), allBytes);
	EXPECT_EQ(Utils::decodeString(Utils::encodeString(allBytes)), allBytes);
	EXPECT_EQ(Utils::escapeSerializer(allBytes).find('\n'), std::string::npos);
}

TEST(DatesTest, OMDates)
{
	EXPECT_EQ(Utils::dateToString(0), "01-01-1970 00:00:00");
	EXPECT_EQ(Utils::dateToString(951'827'696), "29-02-2000 12:34:56");
	int unchanged = 7;
	EXPECT_FALSE(Utils::convertFromOMDate(
	    std::numeric_limits<std::int64_t>::max(), unchanged, unchanged, unchanged, unchanged, unchanged, unchanged));
	EXPECT_LOG("SANITY_CHECK failed: '0 == ::gmtime_s(&tm, &date)' evaluates to false");
	EXPECT_EQ(unchanged, 7);
}

TEST(DatesTest, BuildTime)
{
	EXPECT_EQ(Utils::dateToString(Utils::getBuildTime("Nov 30 2022", "00:50:30")), "30-11-2022 00:50:30");
	EXPECT_EQ(Utils::dateToString(Utils::getBuildTime("Jan  1 2024", "23:59:59")), "01-01-2024 23:59:59");
	EXPECT_EQ(Utils::dateToString(Utils::getBuildTime("Feb 29 2000", "12:00:00")), "29-02-2000 12:00:00");
	EXPECT_GT(Utils::getBuildTime(), 1'600'000'000);
	const std::array<std::string, 3> bad[] = {
	    {"Nov 30", "0:0:0", "dateParts.size() == 3"},
	    {"Nov 30 2022", "0:0", "timeParts.size() == 3"},
	    {"Xyz 30 2022", "0:0:0", "monthPos"},
	    {"Nov x 2022", "0:0:0", "areNumbers"},
	    {"Nov 1 99999999999", "0:0:0", "areNumbers"},
	};
	for (const auto &[date, time, check] : bad)
	{
		EXPECT_EQ(Utils::getBuildTime(date, time), 0);
		EXPECT_LOG("SANITY_CHECK failed: '" + check);
	}
}

template <typename Exception, typename Call>
std::string thrownBy(Call call)
{
	try
	{
		call();
	}
	catch (const Exception &exception)
	{
		return exception.what();
	}
	return "nothing";
}

TEST(NumbersTest, IntegersThatThrow)
{
	EXPECT_EQ(Utils::stoll(" -9223372036854775808x"), std::numeric_limits<std::int64_t>::min());
	EXPECT_EQ(Utils::stoull("+18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
	EXPECT_EQ(thrownBy<std::invalid_argument>([] { Utils::stoll("x1"); }), "invalid stoll argument");
	EXPECT_EQ(thrownBy<std::out_of_range>([] { Utils::stoll("9223372036854775808"); }), "stoll argument out of range");
	EXPECT_EQ(thrownBy<std::invalid_argument>([] { Utils::stoull(""); }), "invalid stoull argument");
	EXPECT_EQ(thrownBy<std::out_of_range>([] { Utils::stoull("18446744073709551616"); }), "stoull argument out of range");
}

TEST(NumbersTest, IntegersThatAreChecked)
{
	std::int64_t value = 7;
	for (const char *const bad : {"", "-", "+1", " 1", "1 ", "1x", "0x1", "9223372036854775808", "99999999999999999999999"})
	{
		EXPECT_FALSE(Utils::toInt64(bad, value)) << bad;
	}
	EXPECT_EQ(value, 7);
	EXPECT_TRUE(Utils::toInt64("-9223372036854775808", value));
	EXPECT_EQ(value, std::numeric_limits<std::int64_t>::min());
	std::uint64_t natural = 7;
	EXPECT_FALSE(Utils::toUInt64("-1", natural));
	EXPECT_TRUE(Utils::toUInt64("18446744073709551615", natural));
	EXPECT_EQ(natural, std::numeric_limits<std::uint64_t>::max());
}

TEST(NumbersTest, ParseDouble)
{
	const double infinity = std::numeric_limits<double>::infinity();
	const std::string zeros(10'000, '0');
	struct Case
	{
		std::string text;
		std::size_t length;
		double value;
	};
	const Case cases[] = {
	    {"1.5e3x", 5, 1500},
	    {"-.5", 3, -0.5},
	    {"+2", 2, 2},
	    {"3.", 2, 3},
	    {"1e", 1, 1},
	    {"1e+", 1, 1},
	    {"0x10", 1, 0},
	    {"0.1", 3, 0.1},
	    {"1e400", 5, infinity},
	    {"-1e400", 6, -infinity},
	    {"1e-400", 6, 0},
	    {"1" + zeros, 10'001, infinity},
	    {"0." + zeros + "1", 10'003, 0},
	    {"0." + zeros + "1e10001", 10'009, 1},
	    {"1" + zeros + "e-10000", 10'008, 1},
	    {"1e99999999999999999999", 22, infinity},
	    {"1e-99999999999999999999", 23, 0},
	    {"0." + zeros + "1e99999", 10'009, infinity},
	    {"0e99999999999999999999", 22, 0},
	    {"9007199254740993", 16, 9007199254740992.0},
	    {"4.9e-324", 8, 4.9e-324},
	};
	for (const Case &test : cases)
	{
		double value = 7;
		EXPECT_EQ(Utils::parseDouble(test.text, value), test.length) << test.text.substr(0, 40);
		EXPECT_EQ(value, test.value) << test.text.substr(0, 40);
	}
	for (const char *const text : {"", "-", ".", "-.", "e1", "inf", "nan", "-inf", " 1", "--1", "+-1"})
	{
		double value = 7;
		EXPECT_EQ(Utils::parseDouble(text, value), 0U) << text;
		EXPECT_EQ(value, 7) << text;
	}
	double value = 7;
	Utils::parseDouble("-0", value);
	EXPECT_TRUE(std::signbit(value));
}

TEST(NumbersTest, DoubleToString)
{
	EXPECT_EQ(Utils::doubleToString(0.5), "0.500000");
	EXPECT_EQ(Utils::doubleToString(-1e-9), "-0.000000");
	EXPECT_EQ(Utils::doubleToString(1e22), "10000000000000000000000.000000");
	EXPECT_EQ(Utils::doubleToString(-std::numeric_limits<double>::max()).size(), 317U);
	EXPECT_EQ(Utils::doubleToString(std::nan("")), "nan");
	EXPECT_EQ(Utils::doubleToString(-std::numeric_limits<double>::infinity()), "-inf");
	EXPECT_EQ(Utils::boolToString(true) + Utils::boolToString(false), "truefalse");
}

TEST(UtilsTest, HexDump)
{
	MemoryConsole console;
	Utils::hexDump("abc\xFF");
	console.flush();
	EXPECT_EQ(console.output, "dump length = 4\n61 62 63 FF\n");
}
}
}
