#include "MrvUtils/MrvIni.h"

#include "support/TestLog.h"

#include "MrvPlatform/MrvEnvironment.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Mrv::Test::takeLogLines;
using Strings = std::vector<std::string>;

const std::string SYSTEM = Platform::systemName();
const std::string OTHER_SYSTEM = SYSTEM == "linux" ? "windows" : "linux";

const std::string SAMPLE = R"([main]
val1=   12
val2="abc"   
[other]
val1  = 99
val3 = "abc" 
val5 = "abc5", "def5" "ghi5" 
val6 = ${APPPATH} -n net.morvane.coordinator.reflector
val7 = "B\x00a"
val8 = "right arrow:\u2192"
)";

TEST(IniTest, SectionsKeysAndValues)
{
	const Ini ini(SAMPLE);
	EXPECT_EQ(ini.getSections(), (Strings{"main", "other"}));
	EXPECT_EQ(ini.getEntryNames("main"), (Strings{"val1", "val2"}));
	EXPECT_EQ(ini.getEntryNames("missing"), Strings{});
	EXPECT_EQ(ini.getEntryCount("main", "val1"), 1U);
	EXPECT_EQ(ini.getEntryCount("other", "val5"), 3U);
	EXPECT_EQ(ini.getEntryCount("main", "val5"), 0U);
	EXPECT_EQ(ini.getEntry("main", "val1"), "12");
	EXPECT_EQ(ini.getEntry("main", "val1", 1), "");
	EXPECT_EQ(ini.getEntry("main", "val1", 1, "whatever"), "whatever");
	EXPECT_EQ(ini.getEntry("main", "val1", "whatever"), "12");
	EXPECT_EQ(ini.getEntry("main", "val2"), "abc");
	EXPECT_EQ(ini.getEntry("other", "val1"), "99");
	EXPECT_EQ(ini.getEntry("other", "val5", 2), "ghi5");
	EXPECT_EQ(ini.getEntry("other", "val5", 3, "whatever"), "whatever");
	EXPECT_EQ(ini.getEntry("missing", "val5", "whatever"), "whatever");
	EXPECT_EQ(ini.getEntry("other", "val7"), std::string("B\0a", 3));
	EXPECT_EQ(ini.getEntry("other", "val8"), "right arrow:\xE2\x86\x92");
	EXPECT_EQ(ini.getEntryLine("other", "val1"), 5U);
	EXPECT_EQ(ini.getEntryLine("other", "val2"), 0U);
}

TEST(IniTest, ValuesAndTheirCanonicalText)
{
	const struct
	{
		std::string text;
		std::string raw;
		Strings values;
	} cases[] = {
	    {R"(ab\c)", R"("ab\\c")", {R"(ab\c)"}},
	    {R"(ab\c,def)", R"("ab\\c,def")", {R"(ab\c,def)"}},
	    {R"(ab\c,"def")", R"("ab\\c,\"def\"")", {R"(ab\c,"def")"}},
	    {R"("ab\\c","def")", R"("ab\\c","def")", {R"(ab\c)", "def"}},
	    {R"("part1","part2")", R"("part1","part2")", {"part1", "part2"}},
	    {R"(part1,part2)", R"("part1,part2")", {"part1,part2"}},
	    {"\"quo\ted\"", R"("quo\ted")", {"quo\ted"}},
	    {R"("quo\ted")", R"("quo\ted")", {"quo\ted"}},
	    {R"(unquo\ted)", R"("unquo\\ted")", {R"(unquo\ted)"}},
	    // None, and an empty one.
	    {"", "", {}},
	    {" , ,\t", "", {}},
	    {R"("")", R"("")", {""}},
	    // What separates values, and what doesn't.
	    {R"("a" "b""c",,	"d")", R"("a","b","c","d")", {"a", "b", "c", "d"}},
	    {"a b\t c  ", "\"a b\\t c\"", {"a b\t c"}},
	    {R"("a" b, "c" )", R"("a","b, \"c\"")", {"a", R"(b, "c")"}},
	    {"a=b # c ; d", R"("a=b # c ; d")", {"a=b # c ; d"}},
	    // An escaped character closes nothing; a quote that isn't closed is closed by the end.
	    {R"("a\"b\\" "\\\"")", R"("a\"b\\","\\\"")", {R"(a"b\)", R"(\")"}},
	    {R"("a, "b)", R"("a, ","b")", {"a, ", "b"}},
	    {R"("open, \")", R"("open, \"")", {R"(open, ")"}},
	    {R"("open\)", R"("open")", {"open"}},
	    {"\"\\x41\\u00e4\\q\"", "\"A\\xC3\\xA4q\"", {"A\xC3\xA4q"}},
	};
	for (const auto &[text, raw, values] : cases)
	{
		SCOPED_TRACE(text);
		const Ini ini("[s]\nk=" + text);
		EXPECT_EQ(ini.getRawEntry("s", "k"), raw);
		EXPECT_EQ(ini.getResolvedEntries("s", "k"), values);
		EXPECT_EQ(ini.toString(), "[s]\nk=" + raw + "\n");
		EXPECT_TRUE(Ini(ini.toString()) == ini);
	}
}

TEST(IniTest, LinesOfAllKinds)
{
	const Ini ini("\xEF\xBB\xBF\nlost = 1\n# [comment]\n  # comment = 1\n[a]\r\n;b = 1\r\nno entry\n[]\n[ ]\nk = 1\n[a]\nc=\nd = 2\nd=3\n"
	              " = 4\n[x]=5\n[a] # 6\nlast=7");
	EXPECT_EQ(ini.getSections(), (Strings{"a", " "}));
	EXPECT_EQ(ini.getEntryNames("a"), (Strings{";b", "c", "d", "", "[x]", "last"}));
	EXPECT_EQ(ini.getEntry("a", ";b"), "1");
	EXPECT_EQ(ini.getEntry("a", "d"), "3");
	EXPECT_EQ(ini.getEntryLine("a", "d"), 14U);
	EXPECT_EQ(ini.getEntry("a", "", "none"), "4");
	EXPECT_EQ(ini.getEntry("a", "last"), "7");
	EXPECT_EQ(ini.getEntryNames(" "), Strings{"k"});
	EXPECT_TRUE(Ini(ini.toString()) == ini);
	EXPECT_EQ(Ini("").toString(), "");
	EXPECT_EQ(Ini("[").getSections(), Strings{});
}

TEST(IniTest, KeysOfOneSystem)
{
	const std::string text = "[s]\na=\"plain\"\na." + SYSTEM + "=\"own\"\na." + OTHER_SYSTEM + "=\"other\"\nb." + OTHER_SYSTEM +
	                         "=\"other\"\nc." + SYSTEM + "=\"own\"\nd=\"plain\"\nd.mac=\"mac\"\ne.exe=\"e\"\n." + SYSTEM +
	                         "=\"no suffix\"\n";
	Ini ini(text);
	EXPECT_EQ(ini.toString(), text);
	EXPECT_EQ(ini.getEntryNames("s"), (Strings{"a", "c", "d", "e.exe", "." + SYSTEM}));
	EXPECT_EQ(ini.getEntry("s", "a"), "own");
	EXPECT_EQ(ini.getEntryLine("s", "a"), 3U);
	EXPECT_EQ(ini.getEntry("s", "b", "none"), "none");
	EXPECT_EQ(ini.getEntry("s", "c"), "own");
	EXPECT_EQ(ini.getEntry("s", "d"), "plain");
	EXPECT_EQ(ini.getEntry("s", "d.mac", "none"), "none");
	EXPECT_EQ(ini.getEntry("s", "." + SYSTEM), "no suffix");
	// A change goes to the entry that wins, or to the very line that is named.
	EXPECT_TRUE(ini.setEntry("s", "a", "changed"));
	EXPECT_TRUE(ini.setEntry("s", "d", "changed"));
	EXPECT_TRUE(ini.setEntry("s", "b." + OTHER_SYSTEM, "changed there"));
	EXPECT_EQ(ini.toString(), "[s]\na=\"plain\"\na." + SYSTEM + "=\"changed\"\na." + OTHER_SYSTEM + "=\"other\"\nb." + OTHER_SYSTEM +
	                              "=\"changed there\"\nc." + SYSTEM + "=\"own\"\nd=\"changed\"\nd.mac=\"mac\"\ne.exe=\"e\"\n." + SYSTEM +
	                              "=\"no suffix\"\n");
	EXPECT_TRUE(ini.setEntry("s", "b." + OTHER_SYSTEM, 1, "and more"));
	EXPECT_NE(ini.toString().find("b." + OTHER_SYSTEM + "=\"changed there\",\"and more\"\n"), std::string::npos);
	EXPECT_TRUE(ini.setEntry("s", "a", Strings{}));
	EXPECT_EQ(ini.getEntry("s", "a"), "plain");
	EXPECT_TRUE(ini.setEntry("s", "new." + SYSTEM, "n"));
	EXPECT_EQ(ini.getEntry("s", "new"), "n");
}

TEST(IniTest, Changes)
{
	Ini ini(SAMPLE);
	EXPECT_TRUE(ini.setEntry("other", "val5", 1, "new \"5\""));
	EXPECT_TRUE(ini.setEntry("other", "val5", 17, "last"));
	EXPECT_EQ(ini.getRawEntry("other", "val5"), R"("abc5","new \"5\"","ghi5","last")");
	EXPECT_TRUE(ini.setEntry("other", "val5", Strings{"one", "two"}));
	EXPECT_EQ(ini.getEntryCount("other", "val5"), 2U);
	EXPECT_TRUE(ini.setEntry("other", "val5", "one"));
	EXPECT_EQ(ini.getEntryCount("other", "val5"), 1U);
	EXPECT_TRUE(ini.setEntry("other", "val5", Strings{}));
	EXPECT_EQ(ini.getEntry("other", "val5", "gone"), "gone");
	EXPECT_TRUE(ini.setEntry("fresh", "key", "value"));
	EXPECT_TRUE(ini.setEntry("absent", "key", Strings{}));
	EXPECT_EQ(ini.getSections(), (Strings{"main", "other", "fresh"}));
	EXPECT_TRUE(Ini(ini.toString()) == ini);
	// What would be read back as something else isn't written.
	const Ini before = ini;
	const std::pair<std::string, std::string> wrong[] = {
	    {"", "k"}, {"a\n[b", "k"}, {"s", "a=b"}, {"s", "a\nb"}, {"s", "#a"}, {"s", " a"}, {"s", "a\t"}, {"s", "a\r"}};
	for (const auto &[section, key] : wrong)
	{
		EXPECT_FALSE(ini.setEntry(section, key, "v")) << section << '/' << key;
		EXPECT_LOG("no such INI entry can be written");
	}
	EXPECT_TRUE(ini == before);
	// Anything goes as a value, and as the other names.
	for (const std::string text : {"]", "[", "[a", ";", "\"", "a]b", "\xEF\xBB\xBF"})
	{
		EXPECT_TRUE(ini.setEntry(text, text, Strings{std::string("\0\n\r\x7F\xFF=#[]\\\"' ", 13), "", text}));
	}
	EXPECT_TRUE(Ini(ini.toString()) == ini);
}

TEST(IniTest, EqualityAndHash)
{
	const Ini ini("[a]\nx=1\ny=\"2\",\"3\"\n[b]\nz=\n");
	const std::string equal[] = {"#\n[b]\nz = ,\n[a]\ny = \"2\" \"\\x33\"\nx = \"1\"", "[a]\nx=0\n[b]\n[a]\ny=\"2\",\"3\"\nx=1\n[b]\nz="};
	for (const std::string &text : equal)
	{
		EXPECT_TRUE(Ini(text) == ini) << text;
		EXPECT_EQ(Ini(text).hash(), ini.hash()) << text;
	}
	const std::string different[] = {"", "[a]\nx=1\ny=\"2\",\"3\"\n[b]\nz=\"\"\n", "[a]\nx=1\ny=\"3\",\"2\"\n[b]\nz=\n",
	    "[a]\nx=1\ny=\"2\",\"3\"\n[b]\n", "[a]\nx=1\ny=\"2\",\"3\"\nz=\n[b]\n", "[a]\nx=1\ny=\"2\",\"3\"\n[b]\nz=\n[c]\n",
	    "[b]\nx=1\ny=\"2\",\"3\"\n[a]\nz=\n"};
	for (const std::string &text : different)
	{
		EXPECT_FALSE(Ini(text) == ini) << text;
		EXPECT_NE(Ini(text).hash(), ini.hash()) << text;
	}
}

TEST(IniTest, Placeholders)
{
	Ini ini(R"([placeholders]
PH1="1"
PH2.windows="2abcwindows"
PH2.linux="2abclinux"
PH2.mac="2abcmac"
PH3="def"
PH4="X${PH1}${PH2}Z${PH3}Y"
PH5=${PH4}
PH6="${PH7}"
PH7="${PH6}"
PH9="defmacwin"
PH9.linux="deflinux"
PH10="part1","part2"
PH10a=part1,part2
PH11="quo	ed"
PH14=unquo\ted
PH15="a${PH15}b"
PH16="<","${PH10}",">"
empty=
[data]
a1 = ${PH10}
a1a= "${PH10}"
a2 = ${PH9}
a3 = ${PH5}
a4 = ${PH6}
a5 = ${PH7}
a6 = ${PH8}
a7 = "a","b","c"
a8 = ${PH16}
a9 = x${PH11}y${PH14}
b1 = ${nowhere} ${PH1
b2 = ${no${PH1}where}
b3 = ${PH15}
b4 = x${empty}y
b5 = ${PH10a}
b6 = "${PH1}","-","${PH10}"
b7 = $${PH1}}
b8 = ${}
)");
	ini.setPlaceholder("PH8", "tuv");
	const bool isLinux = SYSTEM == "linux";
	const std::string ph4 = isLinux ? "X12abclinuxZdefY" : "X12abcwindowsZdefY";
	const struct
	{
		std::string key;
		std::string raw;
		Strings values;
	} cases[] = {
	    {"a1", R"("part1","part2")", {"part1", "part2"}},
	    {"a1a", R"("part1","part2")", {"part1", "part2"}},
	    {"a2", isLinux ? R"("deflinux")" : R"("defmacwin")", {isLinux ? "deflinux" : "defmacwin"}},
	    {"a3", "\"" + ph4 + "\"", {ph4}},
	    {"a4", R"("${PH6}")", {"${PH6}"}},
	    {"a5", R"("${PH7}")", {"${PH7}"}},
	    {"a6", R"("tuv")", {"tuv"}},
	    {"a7", R"("a","b","c")", {"a", "b", "c"}},
	    {"a8", R"("<","part1","part2",">")", {"<", "part1", "part2", ">"}},
	    {"a9", R"("xquo\tedyunquo\\ted")", {"xquo\tedyunquo\\ted"}},
	    {"b1", R"("${nowhere} ${PH1")", {"${nowhere} ${PH1"}},
	    {"b2", R"("${no1where}")", {"${no1where}"}},
	    {"b3", R"("a${PH15}b")", {"a${PH15}b"}},
	    {"b4", R"("xy")", {"xy"}},
	    {"b5", R"("part1,part2")", {"part1,part2"}},
	    {"b6", R"("1","-","part1","part2")", {"1", "-", "part1", "part2"}},
	    {"b7", R"("$1}")", {"$1}"}},
	    {"b8", R"("${}")", {"${}"}},
	};
	for (const auto &[key, raw, values] : cases)
	{
		SCOPED_TRACE(key);
		EXPECT_EQ(ini.getRawResolvedEntry("data", key), raw);
		EXPECT_EQ(ini.getResolvedEntries("data", key), values);
		EXPECT_EQ(ini.getResolvedEntry("data", key), values[0]);
		EXPECT_EQ(ini.getResolvedEntry("data", key, values.size(), "default ${PH1}"), "default ${PH1}");
		EXPECT_EQ(ini.getResolvedValues(ini.getEntry("data", key)).front(), values[0]);
	}
	EXPECT_EQ(ini.getEntry("data", "a1a", 0), "${PH10}");
	EXPECT_EQ(ini.getRawEntry("data", "a1"), R"("${PH10}")");
	EXPECT_EQ(ini.getRawResolvedEntry("data", "missing"), "");
	EXPECT_EQ(ini.getResolvedEntry("data", "missing", "d"), "d");
	// Those of the program win, and stand for themselves.
	ini.setPlaceholder("PH1", R"(C:\temp\"${PH3}")");
	EXPECT_EQ(ini.getResolvedEntry("data", "b2"), R"(${noC:\temp\"${PH3}"where})");
	EXPECT_EQ(ini.getResolvedEntries("data", "b6"), (Strings{R"(C:\temp\"${PH3}")", "-", "part1", "part2"}));
	Ini sample(SAMPLE);
	EXPECT_EQ(sample.getEntry("other", "val6", "whatever"), "${APPPATH} -n net.morvane.coordinator.reflector");
	sample.setPlaceholderSource(
	    [](const std::string &name, std::string &value)
	    {
		    value = "HELLO";
		    return name == "APPPATH";
	    });
	EXPECT_EQ(sample.getResolvedEntry("other", "val6", "whatever"), "HELLO -n net.morvane.coordinator.reflector");
}

TEST(IniTest, PlaceholdersThatGrowWithoutBoundAreGivenUp)
{
	std::string doubling = "[placeholders]\np0=\"ab\"\n";
	std::string empty = "[placeholders]\np0=\n";
	std::string chain = "[placeholders]\np0=\"end\"\n";
	for (int i = 1; i < 200; ++i)
	{
		const std::string previous = "${p" + std::to_string(i - 1) + "}";
		const std::string key = "p" + std::to_string(i) + "=";
		doubling.append(key).append(previous).append(previous).append("\n");
		empty.append(key).append(previous).append(previous).append("\n");
		chain.append(key).append(previous).append("\n");
	}
	for (const std::string &text : {doubling, empty, chain})
	{
		const Ini ini(text + "[s]\nfew=${p10}\nmany=${p60}\nall=${p199}");
		EXPECT_EQ(ini.getResolvedEntry("s", "few").find("${"), std::string::npos);
		EXPECT_LT(ini.getResolvedEntry("s", "many").size() + ini.getResolvedEntry("s", "all").size(), std::size_t{1} << 26);
		EXPECT_LOG("placeholders are nested too deeply or expand to too much");
		takeLogLines();
	}
	// As many braces as fit cost time in proportion.
	std::string braces;
	for (int i = 0; i < 300'000; ++i)
	{
		braces += i < 150'000 ? "${" : "}";
	}
	EXPECT_EQ(Ini("[s]\nk=" + braces).getResolvedEntry("s", "k"), braces);
	EXPECT_EQ(Ini().getResolvedValues(std::string(1'000'000, '}')).front().size(), 1'000'000U);
}

TEST(IniTest, Parents)
{
	const auto parent = std::make_shared<Ini>("[a]\nx=1\ny=2\n[b]\nz=3\n[placeholders]\np=parent\nq=parent\n");
	Ini child("[a]\nx=${p}${q}\ny=\n[placeholders]\np=child\n");
	EXPECT_TRUE(child.setParent(parent));
	EXPECT_EQ(child.getResolvedEntry("a", "x"), "childparent");
	EXPECT_EQ(child.getEntry("a", "y", "own default"), "own default"); // the key is there
	EXPECT_EQ(child.getEntry("b", "z"), "3");
	EXPECT_EQ(child.getEntryNames("b"), Strings{});
	parent->setPlaceholder("p", "program");
	EXPECT_EQ(child.getResolvedEntry("a", "x"), "programparent");
	EXPECT_FALSE(child.setParent(nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'parentIni' evaluates to false");
	EXPECT_FALSE(child.setParent(parent));
	EXPECT_LOG("SANITY_CHECK failed: '! fParentIni' evaluates to false");
	const auto top = std::make_shared<Ini>();
	EXPECT_TRUE(parent->setParent(top));
	EXPECT_FALSE(top->setParent(parent)); // a circle
	EXPECT_LOG("SANITY_CHECK failed");
	EXPECT_FALSE(top->setParent(top));
	EXPECT_LOG("SANITY_CHECK failed");
	// A copy is a value of its own.
	Ini copy = child;
	EXPECT_TRUE(copy.setEntry("a", "x", "copy"));
	EXPECT_TRUE(copy.setEntry("a", "y", Strings{}));
	EXPECT_EQ(child.getEntry("a", "x"), "${p}${q}");
	EXPECT_EQ(child.getEntryNames("a"), (Strings{"x", "y"}));
	EXPECT_EQ(copy.getEntry("a", "y"), "2");
	copy = child;
	EXPECT_TRUE(copy == child);
}
}
}
