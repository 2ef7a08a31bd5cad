#include "MrvParser/Reference/MrvFunctionPhase.h"
#include "MrvParser/Reference/MrvMatchNodeCompareMatch.h"
#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"
#include "MrvParser/Reference/MrvMatchNodeFunction.h"
#include "MrvParser/Reference/MrvMatchNodeRange.h"
#include "MrvParser/Reference/MrvMatchNodeRegExp.h"
#include "MrvParser/Reference/MrvOMAccessor.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
using Segments = std::vector<std::string>;

Segments split(const std::string &reference)
{
	auto position = reference.begin();
	return ReferenceParser::parseReferenceSegments(reference, position);
}

// A chain in short: the kind of each link, its levels where they are not 1, 1, and its text where there is one.
std::string describe(const std::string &reference)
{
	std::string text;
	for (auto link = ReferenceParser::parseReference(reference); link; link = link->getNext())
	{
		text += text.empty() ? "" : " ";
		if (const auto *exact = dynamic_cast<const MatchNodeExactMatch *>(link.get()))
		{
			text += (exact->isIndex() ? "index:" : "name:") + exact->getText();
		}
		else if (const auto *function = dynamic_cast<const MatchNodeFunction *>(link.get()))
		{
			text += "function:" + function->getFunctionName();
		}
		else if (dynamic_cast<const MatchNodeCompareMatch *>(link.get()))
		{
			text += "compare";
		}
		else
		{
			text += dynamic_cast<const MatchNodeRange *>(link.get()) ? "range" : "pattern";
		}
		if (link->getMinCount() != 1 || link->getMaxCount() != 1)
		{
			text += " " + std::to_string(link->getMinCount()) + "-" + (link->isUnlimited() ? "" : std::to_string(link->getMaxCount()));
		}
	}
	return text;
}
}

TEST(ReferenceParserTest, SplitsIntoSegments)
{
	EXPECT_EQ(split("main/val1"), (Segments{"main", "val1"}));
	EXPECT_EQ(split("/main//val1/"), (Segments{"main", "val1"}));
	EXPECT_EQ(split("val98[1][2]/x[y"), (Segments{"val98", "[1]", "[2]", "x", "[y"}));
	EXPECT_EQ(split("{}^t[1234]$/*.*/v1"), (Segments{"{}^t[1234]$", "*.*", "v1"}));
	EXPECT_EQ(split("![2-5]/!$t[12]/ $t[12]/a![1]"), (Segments{"![2-5]", "!$t[12]", "$t[12]", "a!", "[1]"}));
	EXPECT_EQ(split(" a b\t/ \n/[ 2 ]"), (Segments{"a b", "[ 2 ]"}));
	EXPECT_EQ(split("a\\/b\\[1]/$\\\\.x/\\$x"), (Segments{"a/b[1]", "$\\.x", "$x"}));
	EXPECT_EQ(split("['a/b']"), (Segments{"['a", "b']"})) << "quotes don't protect";
	EXPECT_EQ(split(std::string("a/b\0c", 5)), (Segments{"a", "b"}));
	EXPECT_EQ(split("a\\"), (Segments{"a"}));
	EXPECT_EQ(split(""), Segments());

	const std::string reference = "/a[1]//$x[y]/";
	auto position = reference.begin();
	EXPECT_EQ(OMAccessor::parseReference(reference, position), "a/[1]/$x[y]");
	EXPECT_EQ(position, reference.end());
	const std::string nothing = "//";
	position = nothing.begin();
	EXPECT_EQ(OMAccessor::parseReference(nothing, position), "");
	EXPECT_LOG("SANITY_CHECK failed: '!referenceSegments.empty()' evaluates to false");
}

TEST(ReferenceParserTest, MakesLinks)
{
	const struct
	{
		const char *reference;
		const char *links;
	} rows[] = {
	    {"abc/=abc/==x/!abc/!=abc", "name:abc name:abc name:=x compare compare"},
	    {"<a/<=a/=<a/>a/>=a/=>a/<>x/!<a", "compare compare compare compare compare compare compare compare"},
	    {"12/007/1x/-1", "index:12 index:007 name:1x name:-1"},
	    {"[3]/[abc]/['abc']/[\"abc\"]/['abc\"]/[']", "index:3 name:abc name:abc name:abc name:'abc\" name:'"},
	    {"[]/[2-5]/[-5]/[2-]/[-]/![2-5]", "range range range range range range"},
	    {"[5-2]/[3-3]/[-0]/[1-2-3]/[a-b]/![3]", "name:5-2 name:3-3 name:-0 name:1-2-3 name:a-b index:3"},
	    {"count()/()/!name()/[0]()", "function:count function: function:name function:[0]"},
	    {"$a/?a/*a/+a/!*a", "pattern pattern 0-1 pattern 0- pattern 1- pattern 0-"},
	    {"{}a/{3}a/{0}a/{,}a/{0,}a/{,3}a/{0,1}a", "pattern pattern 3-3 pattern pattern 0-1 pattern 0-1 pattern 0-3 pattern 0-1"},
	    {"{2,}a/{1,1}a/{2,5}a/{2,3,4}a/{3abc/{", "pattern 2-2 pattern 1-11 pattern 2-25 pattern 23-234 pattern 3-3 pattern"},
	};
	for (const auto &row : rows)
	{
		EXPECT_EQ(describe(row.reference), row.links) << row.reference;
	}
}

TEST(ReferenceParserTest, TakesPatternSegmentsApart)
{
	uint64_t minCount = 0;
	uint64_t maxCount = 0;
	std::string regExp;
	EXPECT_TRUE(OMAccessor::extractRegExpStr("{3abc", minCount, maxCount, regExp));
	EXPECT_EQ(regExp, "abc");
	EXPECT_TRUE(OMAccessor::extractRegExpStr("{18446744073709551617}x", minCount, maxCount, regExp));
	EXPECT_EQ(maxCount, 1U) << "counts wrap";
	EXPECT_FALSE(OMAccessor::extractRegExpStr("abc", minCount, maxCount, regExp));
	EXPECT_LOG("unexpected first char");
	EXPECT_FALSE(OMAccessor::extractRegExpStr("", minCount, maxCount, regExp));
	EXPECT_LOG("SANITY_CHECK failed: '! segmentRegExpStr.empty()' evaluates to false");
	EXPECT_EQ(MatchNodeCompareMatch::factory(nullptr, false, BinOp::ADD, "x", 1, 1), nullptr);
	EXPECT_LOG("unexpected comparison");
	EXPECT_FALSE(MatchNode::setParent(nullptr, nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'thisNode' evaluates to false");
	EXPECT_EQ(functionPhaseFromStr("process"), FunctionPhase::PROCESS);
	EXPECT_EQ(functionPhaseFromStr("none"), FunctionPhase::NONE);
	EXPECT_LOG("unrecognized functionPhaseStr");
	EXPECT_EQ(functionPhaseToStr(static_cast<FunctionPhase>(7)), "none");
	EXPECT_LOG("unxpected functionPhase");
}

TEST(ReferenceParserTest, EveryKeyHasASegment)
{
	const TestCoordinator coordinator;
	for (const char *key : {"plain", "a/b", "x[1]", "back\\slash", "", " blank ", "=x", "<x", "!x", "$x", "{2}", "f()", "'q'", "12", "1-2",
	         "[5]", "\ttab", "\xc3\xa9", "it's", "<=", "()"})
	{
		const auto map = OMStored::mapFactory();
		map->getValue().map()->set(Name(key), Value::integer(1));
		map->getValue().map()->set(Name("other"), Value::integer(2));
		map->getValue().map()->set(Name("0123"), Value::integer(3));
		EXPECT_EQ(OMAccessor(map).toString(ReferenceParser::escapeReference(key)), "1") << key;
	}
	Task::releaseAll();
}
}
