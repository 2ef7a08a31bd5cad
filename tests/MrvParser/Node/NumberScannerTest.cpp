#include "MrvParser/Node/MrvNumberScanner.h"

#include "MrvParser/Node/MrvConversions.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
std::string scan(const std::string &text, int base = NumberScanner::AUTO, bool mayHaveRest = false)
{
	Value value;
	const bool isNumber = NumberScanner::parse(text, base, mayHaveRest, value);
	EXPECT_EQ(isNumber, value.type() != OMType::NaN);
	return isNumber ? toString(value) : "none";
}

double scanDouble(const std::string &text)
{
	Value value;
	EXPECT_TRUE(NumberScanner::parse(text, NumberScanner::AUTO, false, value));
	return getAsNum(value);
}
}

TEST(NumberScannerTest, WholeTexts)
{
	const std::pair<const char *, const char *> rows[] = {
	    {"0", "0"},
	    {"007", "7"},
	    {"-0", "0"},
	    {" \t\r\n12\n", "12"},
	    {"+12", "12"},
	    {"1.5", "1.500000"},
	    {"1.", "1"},
	    {".5", "0.500000"},
	    {"-.5", "-0.500000"},
	    {"1e3", "1000"},
	    {"1E+3", "1000"},
	    {"1.5e-1", "0.150000"},
	    {"1.e2", "100"},
	    {"0e5", "0"},
	    {"0x1F", "31"},
	    {"0XfF", "255"},
	    {"-0x10", "-16"},
	    {"0x7fffffffffffffff", "9223372036854775807"},
	    {"0xffffffffffffffff", "18446744073709551616.000000"},
	    {"9223372036854775807", "9223372036854775807"},
	    {"9223372036854775808", "9223372036854775808.000000"},
	    {"-9223372036854775808", "-9223372036854775808"},
	    {"9007199254740993", "9007199254740993"},
	    {"9007199254740993.0", "9007199254740992"},
	    {"1e400", "inf"},
	    {"-1e400", "-inf"},
	    {"1e-400", "0"},
	    {"1e99999999999999999999", "inf"},
	    {"1e-99999999999999999999", "0"},
	    {"", "none"},
	    {" ", "none"},
	    {"+", "none"},
	    {"- 1", "none"},
	    {".", "none"},
	    {"e5", "none"},
	    {".e5", "none"},
	    {"1e", "none"},
	    {"1e+", "none"},
	    {"0x", "none"},
	    {"0x1.8", "none"},
	    {"1.5.5", "none"},
	    {"1 2", "none"},
	    {"12abc", "none"},
	    {"1,5", "none"},
	    {"inf", "none"},
	    {"nan", "none"},
	    {"0b11", "none"},
	};
	for (const auto &[text, expected] : rows)
	{
		EXPECT_EQ(scan(text), expected) << text;
	}
	EXPECT_EQ(scan(std::string("1\0", 2)), "none");
}

TEST(NumberScannerTest, RestsAndBases)
{
	EXPECT_EQ(scan("12abc", NumberScanner::AUTO, true), "12");
	EXPECT_EQ(scan("12e", NumberScanner::AUTO, true), "12");
	EXPECT_EQ(scan("12e+x", NumberScanner::AUTO, true), "12");
	EXPECT_EQ(scan("0xg", NumberScanner::AUTO, true), "0");
	EXPECT_EQ(scan("1.5.5", NumberScanner::AUTO, true), "1.500000");
	EXPECT_EQ(scan("x", NumberScanner::AUTO, true), "none");
	EXPECT_EQ(scan("0x10", NumberScanner::FRACTION, true), "0");
	EXPECT_EQ(scan("101", 2), "5");
	EXPECT_EQ(scan("102", 2), "none");
	EXPECT_EQ(scan("102", 2, true), "2");
	EXPECT_EQ(scan("zZ", 36), "1295");
	EXPECT_EQ(scan("1.5", 10), "none");
	EXPECT_EQ(scan("-11", 8), "-9");
}

TEST(NumberScannerTest, DoublesAreRoundedCorrectly)
{
	EXPECT_EQ(scanDouble("0.3"), 0.3);
	EXPECT_EQ(scanDouble("2.2250738585072011e-308"), 2.2250738585072011e-308);
	EXPECT_EQ(scanDouble("1.7976931348623157e308"), 1.7976931348623157e308);
	EXPECT_EQ(scanDouble("8.5"), 8.5);
}

TEST(NumberScannerTest, LongTexts)
{
	const std::string nines(10'000, '9');
	const std::string zeros(10'000, '0');
	EXPECT_EQ(scan(nines), "inf");
	EXPECT_EQ(scan("0." + nines), "1");
	EXPECT_EQ(scan(zeros + "7"), "7");
	EXPECT_EQ(scan("0." + zeros + "7"), "0");
	// Its size is what digits and exponent make together.
	EXPECT_EQ(scan("0." + zeros + "7e10001"), "7");
	EXPECT_EQ(scan("0." + zeros + "7e5"), "0");
	EXPECT_EQ(scan("7" + zeros + "e-10000"), "7");
	EXPECT_EQ(scan("7" + zeros + "e-5"), "inf");
	EXPECT_EQ(scan("0x" + std::string(10'000, 'f')), "inf");
	EXPECT_EQ(scan(std::string(2000, '1'), 2), "inf");
}
}
