// Walks over trees: what they find, make and assign, and where they end.
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Reference/MrvOMAccessor.h"
#include "MrvParser/Reference/MrvReferenceWalk.h"
#include "MrvParser/Task/MrvAccessOMNodeTasks.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvUtils/MrvUtils.h"
#include "support/Mode.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mrv::Test
{
namespace
{
const char *const TREE = R"({v1: 1,
	t1: {v1: 1, v2: 2, t1: {v1: 1, v2: 2}, t2: {v1: 1, v2: 2}},
	t2: {v1: 1, v2: 2, v3: 3, t1: {v1: 1, v2: 2}, t2: {v1: 1, v2: 2}},
	t3: {v1: 1, v2: 2, v3: 3, v4: 4},
	t4: {v1: 1, v2: 2, bv1: 1, bv2: 2, v1c: 1, v2c: 2, dv1e: 1, dv2e: 2, fv1gg: 1, fv2gg: 2, hhv1iii: 1, hhv2iii: 2}})";

class ReferenceWalkTest : public testing::Test
{
protected:
	ReferenceWalkTest() { open(TREE); }
	~ReferenceWalkTest() override { Task::releaseAll(); }

	void open(const char *text)
	{
		auto node = OMStored::undefinedFactory();
		EXPECT_TRUE(ParseTask::call(node, text)) << text;
		fAccessor = std::make_shared<OMAccessor>(node);
	}

	// The result's literal; "failed" when the walk failed.
	std::string get(const std::string &reference, ReferenceType type = ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY) const
	{
		std::shared_ptr<IOMNode> node;
		return AccessOMNodeTask::call(fAccessor, AccessType::GET, reference, type, node) ? node->toString() : "failed";
	}
	bool set(const std::string &reference, OMInt value)
	{
		std::shared_ptr<IOMNode> node = OMStored::factory(value);
		return AccessOMNodeTask::call(fAccessor, AccessType::SET, reference, ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY, node);
	}
	std::string all() const { return fAccessor->toString(); }
	// How many nodes below the root have this literal.
	size_t countOf(const std::string &value) const
	{
		std::shared_ptr<IOMNode> array;
		AccessOMNodeReadOnlyTask::call(fAccessor, "+.+", ReferenceType::OM_REF_SELECTOR_ARRAY, array);
		size_t count = 0;
		for (size_t index = 0; index < array->getSize(); ++index)
		{
			count += array->getOMNode(index)->toString() == value ? 1U : 0U;
		}
		return count;
	}

	TestCoordinator fCoordinator;
	const AlwaysYield fAlwaysYield{Mode::alwaysYield};
	std::shared_ptr<OMAccessor> fAccessor;
};
}

TEST_F(ReferenceWalkTest, CountsMatches)
{
	const struct
	{
		const char *references;
		const char *count;
	} rows[] = {
	    {"+.+/v1", "8"},
	    {"*.+/v1", "9"},
	    {"$.+/v1", "4"},
	    {"*.*/$v1 *.*/$.*v1.* *.*/$^.*v1.*$", "14"},
	    {"*.*/<=v2", "34"},
	    {"*.*/<v2 *.*/!>=v2", "26"},
	    {"*.*/!<v2 *.*/>=v2", "12"},
	    {"*.*/!=xxx *.*/$.+ *.*/+.+ +.+ *.*/*.*/+.+", "38"},
	    {"$.*/<=v2", "21"},
	    {"$.*/<v2 $.*/!>=v2", "17"},
	    {"$.*/!<v2 $.*/>=v2", "8"},
	    {"$.*/!=xxx $.*/$.+", "25"},
	    {"$.*/+.+", "33"},
	    {"*.*/$v1. *.*/$v1.+ *.*/{}v1.", "4"},
	    {"*.*/$^.v1", "3"},
	    {"{}^t[1234]$/*.*/v1", "8"},
	    {"*.* *.*/?.*", "39"}, // the root counts at zero levels
	    {"{2}.", "25"},
	    {"{3}. {3,}.", "8"},
	    {"{2,3}.", "33"}, // up to 23 levels
	    {"{,2}.", "31"},
	    {"!$v", "4"},
	    {"!$t[12] !v1/!$xxx", "3 25"},
	    {"q v1/x", "0 0"},
	};
	for (const auto &row : rows)
	{
		const std::string counts = row.count;
		const std::vector<std::string> expected = Utils::split(counts, ' ');
		const std::vector<std::string> references = Utils::split(row.references, ' ');
		for (size_t index = 0; index < references.size(); ++index)
		{
			const std::string &count = expected.size() == 1 ? expected[0] : expected[index];
			EXPECT_EQ(get("count()/" + references[index]), count) << references[index];
		}
	}
	for (const char *reference : {"/*.*/<=v2", "/*.*/+.+", "*.+/v1"})
	{
		EXPECT_EQ(std::to_string(fAccessor->getSize(reference)), get(std::string("count()/") + reference)) << reference;
	}
}

TEST_F(ReferenceWalkTest, SelectsNamesAndKinds)
{
	EXPECT_EQ(get("select()/$.+/v1"), "[1, 1, 1, 1]");
	EXPECT_EQ(get("select()/$.+/v1", ReferenceType::OM_REF_SELECTOR_FIRST_MATCH), "[1, 1, 1, 1]");
	EXPECT_EQ(get("select()/$.+/v1", ReferenceType::OM_REF_SELECTOR_ARRAY), "[[1, 1, 1, 1]]");
	EXPECT_EQ(get("$.+/v1", ReferenceType::OM_REF_SELECTOR_FIRST_MATCH), "[1, 1, 1, 1]");
	EXPECT_EQ(get("t3/v3"), "3");
	EXPECT_EQ(get("t3/v3", ReferenceType::OM_REF_SELECTOR_ARRAY), "[3]");
	EXPECT_EQ(get("t3/none"), "undefined");
	EXPECT_EQ(get("t3/none", ReferenceType::OM_REF_SELECTOR_ARRAY), "undefined");
	EXPECT_EQ(get("t3/name()/$v"), R"(["v1", "v2", "v3", "v4"])");
	EXPECT_EQ(get("t3/name()/$3"), "\"v3\"");
	EXPECT_EQ(get("t3/name()/$x"), "undefined");
	EXPECT_EQ(get("t3/name()"), "\"t3\"");
	EXPECT_EQ(get("name()"), "\"\"");
	EXPECT_EQ(get("name()/t1/count()/$t"), "\"\"") << "what a function has made has no name";
	EXPECT_EQ(get("t3/count()"), "1");
	EXPECT_EQ(get("count()/v1/x"), "0");
	EXPECT_EQ(get("v1/count()/x"), "undefined") << "a function below a scalar is never reached";
	EXPECT_EQ(get("count()/q/count()/x"), "0");
	EXPECT_EQ(get("select()/none"), "undefined");
	EXPECT_EQ(get("other()/v1"), "undefined") << "without a scope";
	open("{k: {v: 1}}");
	EXPECT_EQ(get("*k/*k/count()/v"), "[1, 0, 0]") << "a function counts a node once in a walk";
}

TEST_F(ReferenceWalkTest, OrderIsDeeperFirstThenHereThenNoLevel)
{
	open("{a: {b: {c: {}}}}");
	EXPECT_EQ(get("*.*"), R"([{  }, { "c": {  } }, { "b": { "c": {  } } }, { "a": { "b": { "c": {  } } } }])");
	open("{x: 1, a: {x: 2, a: {x: 3}}}");
	EXPECT_EQ(get("*a/x"), "[3, 2, 1]");
}

TEST_F(ReferenceWalkTest, IndexesAndRanges)
{
	open("{val1: 1, val2: 2, val5: [10, 11, {x: 12}], list: [0, 1, 2, 3, 4, 5, 6, 7], '5': 'five'}");
	for (const char *reference : {"val5/[1]", "val5/1", "val5[1]", "/val5//[01]/", "val5['1']", "[val5][\"1\"]", "=val5/=1"})
	{
		EXPECT_EQ(get(reference), "11") << reference;
	}
	EXPECT_EQ(get("list[2-5]"), "[2, 3, 4, 5]");
	EXPECT_EQ(get("list[-1]"), "[0, 1]");
	EXPECT_EQ(get("list/[6-]"), "[6, 7]");
	EXPECT_EQ(get("list/![2-5]"), "[0, 1, 6, 7]");
	EXPECT_EQ(get("count()/list/[]"), "8");
	EXPECT_EQ(get("count()/list/[-]"), "8");
	EXPECT_EQ(get("list[5-2]"), "failed") << "no range, so it is a name";
	EXPECT_EQ(get("[]"), "undefined") << "no elements in a map";
	EXPECT_EQ(get("![]"), "undefined");
	EXPECT_EQ(get("list[99999999999999999999]"), "undefined");
	EXPECT_EQ(get("list/<2"), "[0, 1]");
	EXPECT_EQ(get("val5[2]/x"), "12");
	EXPECT_EQ(get("5"), "failed") << "a number is no name";
	EXPECT_EQ(get("$^5$"), "\"five\"");
	EXPECT_EQ(get("list/x"), "failed");
	EXPECT_EQ(get("val1/x"), "undefined");
	EXPECT_EQ(get("*.*/x"), "failed") << "an array lies in the way of a name";
	EXPECT_EQ(get("*.*/$^x$"), "12");
	EXPECT_EQ(get("['val1']/count()/val1"), "undefined");
	open("{main: {val1: 1, val2: 2, sub: {val1: 3}}}");
	EXPECT_EQ(get("main/count()/val1"), "1");
	EXPECT_EQ(get("['main']/count()/val1"), "1");
	EXPECT_EQ(get("main/count()/*^v.*1$"), "2") << "main itself matches at no level";
	EXPECT_EQ(get("main/name()/*^v.*1$"), R"(["main", "val1"])");
	EXPECT_EQ(get("main/$?^v.*$"), "failed");
}

TEST_F(ReferenceWalkTest, AssignsToEveryMatch)
{
	EXPECT_TRUE(set("{}^t[1234]$/*.*/v1", 77));
	EXPECT_EQ(countOf("77"), 8U);
	EXPECT_TRUE(set("select()/$.+/v1", 78));
	EXPECT_EQ(countOf("78"), 4U);
	EXPECT_TRUE(set("v1/x", 5)) << "nothing is found, so nothing changes";
	EXPECT_EQ(get("v1"), "1");
	EXPECT_FALSE(set("count()/$.+", 5));
	EXPECT_FALSE(set("t1/name()", 5));
	EXPECT_EQ(get("t3/v3"), "3") << "refused before anything is assigned";
	EXPECT_TRUE(set("t3/select()", 6));
	EXPECT_EQ(get("t3"), "6");
	EXPECT_TRUE(set("+^v", 0));
	EXPECT_TRUE(set("?^t", 7)) << "no level: the root itself, at the end";
	EXPECT_EQ(all(), "7");
}

TEST_F(ReferenceWalkTest, CreatesWhatIsMissingOnExactNames)
{
	open("{main: {val1: 1}}");
	EXPECT_TRUE(set("main/val99", 5));
	for (const ReferenceType type : {ReferenceType::OM_REF_SELECTOR_FIRST_MATCH, ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY})
	{
		EXPECT_EQ(get("main/val99", type), "5");
	}
	EXPECT_TRUE(set("main/val98[1]/vvv/www[2]/ttt", 6));
	EXPECT_EQ(get("main/val98"), R"([undefined, { "vvv": { "www": [undefined, undefined, { "ttt": 6 }] } }])");
	EXPECT_EQ(get("main/count()/{}.*"), "3");
	EXPECT_EQ(get("main/name()/{}.*"), R"(["val1", "val98", "val99"])");
	EXPECT_FALSE(set("main/val98/name", 5));
	EXPECT_FALSE(set("main/1", 5));
	EXPECT_FALSE(set("main/val98[4000000000]", 5));
	EXPECT_LOG("array index too far beyond the end");
	const auto before = all();
	std::shared_ptr<IOMNode> node;
	EXPECT_TRUE(AccessOMNodeTask::call(fAccessor, AccessType::GET_CREATE, "new/list[0]", ReferenceType::OM_REF_SELECTOR_ARRAY, node));
	EXPECT_EQ(node->toString(), "[undefined]");
	EXPECT_EQ(get("new"), R"({ "list": [undefined] })");

	fAccessor = std::make_shared<OMAccessor>();
	EXPECT_TRUE(set("a/b", 1)) << "a missing node becomes one";
	EXPECT_EQ(all(), R"({ "a": { "b": 1 } })");
	fAccessor = std::make_shared<OMAccessor>(OMStored::factory("scalar"));
	EXPECT_FALSE(set("a", 1));
	EXPECT_EQ(get("a"), "failed");
	EXPECT_EQ(get("count()/a"), "0");
}

TEST_F(ReferenceWalkTest, MatchesAreTheNodesThemselves)
{
	std::shared_ptr<IOMNode> node;
	EXPECT_TRUE(AccessOMNodeReadOnlyTask::call(fAccessor, "$^t3$/$^v[12]$", ReferenceType::OM_REF_SELECTOR_ARRAY, node));
	node->getOMNode(0)->set("new");
	EXPECT_EQ(get("t3/v1"), "\"new\"");
	EXPECT_FALSE(fAccessor->getAccessorNode()->isDataStructure());
	EXPECT_EQ(fAccessor->getAccessorNode()->getOMNode("t3")->getDataStructureParent(), nullptr) << "nothing is marked";

	// One container under two names: its children are found once.
	open("{a: {x: 1}}");
	const auto root = fAccessor->getAccessorNode()->getOMStoredPtr();
	root->getValue().map()->set(Name("b"), root->getOMNode("a")->getPlainValue());
	EXPECT_EQ(get("count()/$.*/x"), "1");
	EXPECT_EQ(get("count()/+x|a|b"), "3");
}

TEST_F(ReferenceWalkTest, EndsOnCyclesAndManyRoutes)
{
	open("{x: 1, list: [{x: 2}]}");
	const auto root = fAccessor->getAccessorNode()->getOMStoredPtr();
	root->getValue().map()->set(Name("self"), root->getPlainValue());
	root->getValue().map()->set(Name("again"), root->getPlainValue());
	EXPECT_EQ(get("count()/*.*/$^x$"), "2");
	EXPECT_EQ(get("count()/+.+"), "6");
	EXPECT_EQ(get("count()/{40}."), "6") << "each level is entered once";
	EXPECT_TRUE(set("*self/x", 9));
	EXPECT_EQ(get("x"), "9");
	root->getValue().map()->clear();

	open("{v: 1}");
	for (int level = 0; level < 60; ++level)
	{
		const auto outer = OMStored::mapFactory();
		outer->getValue().map()->set(Name("l"), fAccessor->getAccessorNode()->getPlainValue());
		fAccessor = std::make_shared<OMAccessor>(outer);
	}
	EXPECT_EQ(get("count()/*.*/*.*/*.*/*.*/*.*/*.*/*.*/*.*/*.*/*.*/*.*/*.*/v"), "1");
	EXPECT_EQ(get("count()/*.*/*.*/*.*/*.*/+.+"), "61");
}

TEST_F(ReferenceWalkTest, DeepTreesAreWalkedUpToTheLimit)
{
	const auto nested = [this](size_t levels)
	{
		Value value = Value::integer(1);
		for (size_t level = 0; level < levels; ++level)
		{
			Value outer = Value::emptyArray();
			outer.array()->fItems.push_back(std::move(value));
			value = std::move(outer);
		}
		fAccessor = std::make_shared<OMAccessor>(OMStored::valueFactory(std::move(value)));
	};
	nested(5000);
	EXPECT_EQ(get("count()/+.+"), "5000");
	nested(20000);
	EXPECT_EQ(get("count()/+.+"), "failed");
	EXPECT_LOG("nesting limit reached: reference");
}

TEST_F(ReferenceWalkTest, PermissionsAreKept)
{
	fAccessor->getAccessorNode()->getOMStoredPtr()->setPermissions("v1", 1);
	EXPECT_TRUE(set("v1", 5));
	EXPECT_LOG("not permitted - need PERMISSION_WRITE");
	EXPECT_TRUE(set("$^v", 5));
	EXPECT_LOG("not permitted - need PERMISSION_WRITE");
	EXPECT_EQ(get("v1"), "1");
}

TEST_F(ReferenceWalkTest, AssignmentKeepsDataStructures)
{
	const auto root = fAccessor->getAccessorNode();
	ASSERT_TRUE(root->setIsDataStructure(true));
	std::shared_ptr<IOMNode> value = OMStored::mapFactory();
	OMAccessor(value).set("k", OMInt{1});
	EXPECT_TRUE(fAccessor->set("$^t[12]$", std::as_const(value)));
	const auto first = root->getOMNode("t1");
	const auto second = root->getOMNode("t2");
	EXPECT_EQ(first->getDataStructureParent(), root);
	EXPECT_EQ(first->getOMNode("k")->getDataStructurePath(), "t1/k");
	EXPECT_EQ(second->getOMNode("k")->getDataStructurePath(), "t2/k");
	EXPECT_EQ(OMAccessor(first).getString("name()"), "t1") << "a root that is a marked child has a name";
	root->setIsDataStructure(false);

	// Elsewhere the matches share one container.
	EXPECT_TRUE(fAccessor->set("$^t[34]$", std::as_const(value)));
	fAccessor->set("t3/k", OMInt{2});
	EXPECT_EQ(get("t4/k"), "2");
}

TEST_F(ReferenceWalkTest, BadReferencesAreRefusedAsAWhole)
{
	const struct
	{
		const char *reference;
		const char *log;
	} rows[] = {
	    {"v1/!", "empty inverted segment"},
	    {"v1/<", "empty comparison segment"},
	    {"!=", "empty comparison segment"},
	    {"=", "empty comparison segment"},
	};
	for (const auto &row : rows)
	{
		EXPECT_EQ(get(row.reference), "failed") << row.reference;
		EXPECT_LOG(row.log);
		EXPECT_FALSE(set(row.reference, 5));
		EXPECT_LOG(row.log);
	}
	for (const char *reference : {"", "/", " // ", "$(", "$[b-a]", "*(", "+a**)"})
	{
		EXPECT_EQ(get(reference), "failed") << reference;
	}
	EXPECT_EQ(get("v1"), "1");
	std::string many;
	for (int segment = 0; segment < 1200; ++segment)
	{
		many += "*.*/";
	}
	EXPECT_EQ(get("count()/" + many + "v1"), "39") << "the rest is left out";
	EXPECT_LOG("max segment count reached");
}

TEST_F(ReferenceWalkTest, AChangedTreeDoesNotHurtAWalk)
{
	// A walk that is suspended at each step while its tree is emptied and filled.
	const AlwaysYield alwaysYield(true);
	const auto root = fAccessor->getAccessorNode();
	const auto walk = std::make_shared<AccessOMNodeReadOnlyTask>(fAccessor, "*.*/+.+", ReferenceType::OM_REF_SELECTOR_ARRAY);
	Task::registerTask(walk);
	for (int slice = 0; !walk->isTaskCompleted() && slice < 10000; ++slice)
	{
		walk->runTimeslice(1000);
		const std::string key = "t" + std::to_string(slice % 5);
		root->eraseAttribute(key);
		OMAccessor(root).set(slice % 3 == 0 ? key + "/v1" : key, OMInt{slice});
		root->eraseAttribute("v" + std::to_string(slice % 2));
	}
	EXPECT_TRUE(walk->isTaskCompleted());
	EXPECT_TRUE(walk->isSuccess());
}
}
