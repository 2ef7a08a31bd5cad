#include "MrvParser/Reference/MrvOMAccessor.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvTask/MrvOperationTask.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Mrv::Test
{
namespace
{
using namespace std::string_literals;

class OMAccessorTest : public testing::Test
{
protected:
	~OMAccessorTest() override { Task::releaseAll(); }

	static OMAccessor parse(const char *text)
	{
		auto node = OMStored::undefinedFactory();
		EXPECT_TRUE(ParseTask::call(node, text)) << text;
		return OMAccessor(node);
	}

	TestCoordinator fCoordinator;
};
}

TEST_F(OMAccessorTest, ReadsByTextByIndexAndOfItself)
{
	const OMAccessor map = parse("{i: 12, f: 1.5, s: '7', b: true, a: [1, 'x'], 'k/[1]': 3, n: {x: [4, undefined]}}");
	EXPECT_EQ(map.getInt("i"), 12);
	EXPECT_EQ(map.getFloat("f"), 1.5);
	EXPECT_EQ(map.getString("s"), "7");
	EXPECT_TRUE(map.getBool("b"));
	EXPECT_EQ(map.getInt("s"), 0) << "typed getters do not convert";
	EXPECT_EQ(map.getAsNum("s"), 7);
	EXPECT_EQ(map.getAsBits("s"), 7);
	EXPECT_TRUE(map.getAsBool("a"));
	EXPECT_EQ(map.getAsString("a"), "1,x");
	EXPECT_EQ(map.getSize("a"), 2U);
	EXPECT_EQ(map.getSize(), 7U);
	EXPECT_EQ(map.getInt("=k\\/\\[1]"), 3);
	EXPECT_EQ(map.getInt("/n/x[0]"), 4);
	EXPECT_EQ(map.getInt("count()/*.*/$^[xi]$"), 2);
	EXPECT_EQ(map.getSize("+^.$"), 11U) << "several matches are an array";
	EXPECT_EQ(map.getAsString("n/x/1"), "undefined");
	EXPECT_EQ(map.getAsString("n/x/2"), "");
	EXPECT_TRUE(std::isnan(map.getAsNum("n/x/1")));
	EXPECT_EQ(map.getType("f"), OMType::Float);
	EXPECT_EQ(map.getType(), OMType::Map);
	EXPECT_EQ(map.typeOf("b"), "boolean");
	EXPECT_EQ(map.typeOf("none"), "error");
	EXPECT_EQ(map.toString("a"), "[1, \"x\"]");
	EXPECT_EQ(map.stringify("s"), "\"7\"");

	const OMAccessor array = parse("[1, 'x', [2]]");
	EXPECT_EQ(array.getInt(size_t{0}), 1);
	EXPECT_EQ(array.getInt("0"), 1);
	EXPECT_EQ(array.getString(1), "x");
	EXPECT_EQ(array.toString(2), "[2]");
	EXPECT_EQ(array.toString(), "[1, \"x\", [2]]");
	EXPECT_EQ(array.stringify(), "[1, \"x\", [2]]");
}

TEST_F(OMAccessorTest, WhatIsNotThereReadsAsNothing)
{
	const OMAccessor map = parse("{a: 1}");
	EXPECT_EQ(map.getInt("b"), 0);
	EXPECT_EQ(map.getAsNum("b"), 0.0);
	EXPECT_EQ(map.getAsString("b"), "");
	EXPECT_EQ(map.getAsBits(size_t{3}), -1);
	EXPECT_EQ(map.getType("b"), OMType::Undefined);
	EXPECT_EQ(map.getSize(), 1U) << "and reading makes nothing";

	const OMAccessor empty;
	EXPECT_FALSE(empty.getAsBool());
	EXPECT_TRUE(std::isnan(empty.getAsNum()));
	EXPECT_EQ(empty.getAsNum("a"), 0.0);
	EXPECT_EQ(empty.getAsString(), "");
	EXPECT_EQ(empty.typeOf(), "error");
	EXPECT_EQ(empty.getAsBits(), -1);
	EXPECT_LOG("SANITY_CHECK failed: 'fOMNode' evaluates to false");
}

TEST_F(OMAccessorTest, BuildsWhatItWrites)
{
	OMAccessor built;
	EXPECT_TRUE(built.set("text", "abc"));
	EXPECT_TRUE(built.set("string", "x"s));
	EXPECT_TRUE(built.set("int", OMInt{5}));
	EXPECT_TRUE(built.set("float", 1.5));
	EXPECT_TRUE(built.set("bool", true));
	EXPECT_TRUE(built.setEmptyArray("list"));
	EXPECT_TRUE(built.setNull("null"));
	EXPECT_TRUE(built.setNaN("nan"));
	EXPECT_TRUE(built.setUndefined("undefined"));
	EXPECT_TRUE(built.set("int", OMInt{6}));
	const OMAccessor parsed =
	    parse("{text: 'abc', string: 'x', int: 6, float: 1.5, bool: true, list: [], null: null, nan: NaN, undefined: undefined}");
	EXPECT_EQ(built.toString(), parsed.toString());
	EXPECT_FALSE(built == parsed) << "NaN is not equal to itself";
	EXPECT_TRUE(built.set("nan", OMInt{0}));
	OMAccessor same = parse("{text: 'abc', string: 'x', int: 6, float: 1.5, bool: true, list: [], null: null, nan: 0, undefined: null}");
	EXPECT_TRUE(built == same);
	same.setUndefined("undefined");
	EXPECT_EQ(built.hash(), same.hash());
	EXPECT_TRUE(OMAccessor() == OMAccessor());
	EXPECT_FALSE(OMAccessor() == same);

	OMAccessor list;
	EXPECT_TRUE(list.set(size_t{2}, OMInt{9}));
	EXPECT_TRUE(list.setEmptyMap(size_t{0}));
	EXPECT_TRUE(list.set(size_t{1}, false));
	EXPECT_EQ(list.toString(), "[{  }, false, 9]");
	EXPECT_TRUE(list.set(1.5));
	EXPECT_EQ(list.toString(), "1.500000");
	EXPECT_TRUE(list.setError());
	EXPECT_EQ(list.typeOf(), "error");
}

TEST_F(OMAccessorTest, WhatCannotBeWrittenIsRefused)
{
	OMAccessor empty;
	EXPECT_FALSE(empty.set(OMInt{1}));
	EXPECT_LOG("SANITY_CHECK failed: 'fOMNode' evaluates to false");
	OMAccessor text(OMStored::factory("text"));
	EXPECT_FALSE(text.set("key", "x"));
	EXPECT_LOG("SANITY_CHECK failed: 'omNode->set(str)' evaluates to false");
	EXPECT_FALSE(text.set("key", OMInt{1}));
	EXPECT_LOG("SANITY_CHECK failed: 'omNode->set(i)' evaluates to false");
	EXPECT_FALSE(text.set(size_t{0}, 1.5));
	EXPECT_LOG("SANITY_CHECK failed: 'omNode->set(d)' evaluates to false");
	EXPECT_FALSE(text.set("key", true));
	EXPECT_LOG("SANITY_CHECK failed: 'omNode->set(b)' evaluates to false");
	EXPECT_EQ(text.getString(), "text");
	OMAccessor list = parse("[1]");
	EXPECT_FALSE(list.set(size_t{1} << 30, OMInt{1}));
	EXPECT_LOG("array index too far beyond the end");
	EXPECT_LOG("SANITY_CHECK failed: 'omNode->set(i)' evaluates to false");
	EXPECT_EQ(list.toString(), "[1]");
}

TEST_F(OMAccessorTest, NodesAreCopiedOrStoredThemselves)
{
	OMAccessor map = parse("{}");
	std::shared_ptr<IOMNode> node = OMStored::factory("x");
	EXPECT_TRUE(map.set("copy", std::as_const(node)));
	EXPECT_TRUE(map.set("self", node));
	node->set("changed");
	EXPECT_EQ(map.toString(), R"({ "copy": "x", "self": "changed" })");
	OMAccessor sharing = map;
	EXPECT_TRUE(sharing.set("more", OMInt{1}));
	EXPECT_EQ(map.getInt("more"), 1) << "copies of an accessor share the node";

	// A node that has a place in another data structure is cloned.
	const auto owner = OMStored::mapFactory();
	owner->setIsDataStructure(true);
	OMAccessor(owner).set("child", node);
	const auto before = node;
	const auto other = OMStored::mapFactory();
	other->setIsDataStructure(true);
	EXPECT_TRUE(OMAccessor(other).set("child", node));
	EXPECT_NE(node, before) << "it comes back changed";
	EXPECT_EQ(node, other->getOMNode("child"));
}

TEST_F(OMAccessorTest, StoredCodeRunsInTheScopeOfTheAccessor)
{
	auto code = OMStored::undefinedFactory();
	ASSERT_TRUE(ParseTask::call(code, "n * 2"));
	OMAccessor map = parse("{}");
	std::shared_ptr<IOMNode> stored = code;
	map.set("twice", stored);
	EXPECT_EQ(map.getType("twice"), OMType::Expression);
	const auto scope = OMScope::factory();
	OMAccessor(scope).set("n", OMInt{21});
	EXPECT_TRUE(map.setAccessorScope(scope));
	EXPECT_EQ(map.getInt("twice"), 42);
	// A scope gives the names of its parents too.
	const auto inner = OMScope::factory(scope);
	OMAccessor names(inner);
	EXPECT_EQ(names.getInt("n"), 21);
	EXPECT_TRUE(names.set("n", OMInt{1}));
	EXPECT_EQ(map.getInt("twice"), 2);
	EXPECT_EQ(inner->getSize(), 0U);
}

TEST_F(OMAccessorTest, YieldingAccess)
{
	for (const bool always : {false, true})
	{
		const AlwaysYield alwaysYield(always);
		OMAccessor accessor;
		const auto run = [](std::function<void(const std::shared_ptr<Task> &, bool &)> operation)
		{
			const auto task = OperationTask::factory([&](Task &running, bool &success) { operation(running.shared_from_this(), success); });
			EXPECT_TRUE(task->runToCompletion());
			return task->isSuccess();
		};
		std::shared_ptr<IOMNode> node;
		run([&](const std::shared_ptr<Task> &task, bool &)
		    { accessor.get_yielding(task, node, "none", ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY); });
		EXPECT_EQ(node, nullptr);
		EXPECT_EQ(accessor.getType(), OMType::Map) << "an accessor without a node gets a map";
		node = OMStored::factory("value");
		EXPECT_TRUE(run([&](const std::shared_ptr<Task> &task, bool &success) { accessor.set_yielding(task, success, "key", node); }));
		const auto stored = node;
		EXPECT_EQ(accessor.getAccessorNode()->getOMNode("key"), stored) << "what was given comes back as the node that holds it";
		run([&](const std::shared_ptr<Task> &task, bool &)
		    { accessor.get_yielding(task, node, "key", ReferenceType::OM_REF_SELECTOR_ARRAY); });
		EXPECT_EQ(node->toString(), "[\"value\"]");
		EXPECT_EQ(node->getOMNode(0), stored);

		accessor.setAccessorNode(nullptr);
		EXPECT_FALSE(run(
		    [&](const std::shared_ptr<Task> &task, bool &success) { accessor.accessOMNodeReadOnly_yielding(task, success, "key", node); }));
		EXPECT_LOG("SANITY_CHECK failed: 'fOMNode' evaluates to false");
	}
}
}
