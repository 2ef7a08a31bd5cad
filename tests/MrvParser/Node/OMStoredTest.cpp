#include "MrvParser/Node/MrvOMStored.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Task/MrvAccessOMNodeTasks.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvParser/Task/MrvSetAndAccessTask.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
class OMStoredTest : public testing::Test
{
protected:
	~OMStoredTest() override { Task::releaseAll(); }

	static std::shared_ptr<OMStored> parse(const char *text)
	{
		auto node = OMStored::undefinedFactory();
		EXPECT_TRUE(ParseTask::call(node, text)) << text;
		return node;
	}
	static std::shared_ptr<IOMNode> number(OMInt value) { return OMStored::factory(value); }
	// Stores a node as a child.
	template <class Key>
	static bool store(const std::shared_ptr<IOMNode> &parent, const Key &key, std::shared_ptr<IOMNode> child)
	{
		return SetAndAccessTask::call(parent, key, child);
	}

	TestCoordinator fCoordinator;
};
using namespace std::string_literals;
}

TEST_F(OMStoredTest, TypedGettersDoNotConvert)
{
	const auto node = OMStored::undefinedFactory();
	const auto expect = [&](bool boolean, OMInt integer, OMFloat real, const char *text)
	{
		EXPECT_EQ(node->getBool(), boolean);
		EXPECT_EQ(node->getInt(), integer);
		EXPECT_EQ(node->getFloat(), real);
		EXPECT_EQ(node->getString(), text);
		EXPECT_EQ(node->getDate(), 0);
		EXPECT_EQ(node->getGUID(), nullptr);
	};
	node->set(true);
	expect(true, 0, 0.0, "");
	node->set(OMInt{12});
	expect(false, 12, 0.0, "");
	node->set(OMFloat{111.0});
	expect(false, 0, 111.0, "");
	EXPECT_EQ(node->getType(), OMType::Float);
	node->set("text");
	expect(false, 0, 0.0, "text");
	for (bool (IOMNode::*setter)() :
	    {&IOMNode::setUndefined, &IOMNode::setNull, &IOMNode::setEmptyArray, &IOMNode::setEmptyMap, &IOMNode::setError, &IOMNode::setNaN})
	{
		EXPECT_TRUE((*node.*setter)());
		expect(false, 0, 0.0, "");
		EXPECT_EQ(node->getSize(), 0U);
	}
	node->setNum(3.0);
	EXPECT_EQ(node->getType(), OMType::Int);
	node->setNum(3.5);
	EXPECT_EQ(node->getType(), OMType::Float);
	node->setNum(std::numeric_limits<double>::quiet_NaN());
	EXPECT_EQ(node->getType(), OMType::NaN);
	node->set(std::numeric_limits<double>::quiet_NaN());
	EXPECT_EQ(node->getType(), OMType::NaN);
}

TEST_F(OMStoredTest, AssignmentSharesContainersAndCopiesScalars)
{
	const auto a = parse("{x: [1, 2]}");
	const auto b = OMStored::undefinedFactory();
	EXPECT_TRUE(b->set(a));
	store(a, "y"s, number(5));
	EXPECT_EQ(b->toString(), "{ \"x\": [1, 2], \"y\": 5 }");
	EXPECT_TRUE(a->set(std::shared_ptr<IOMNode>(a))) << "itself: unchanged";
	EXPECT_EQ(a->getSize(), 2U);
	EXPECT_FALSE(a->setTo(a, 0));
	EXPECT_LOG("SANITY_CHECK failed: 'this != fromOMNode.get()' evaluates to false");
	EXPECT_TRUE(b->set(std::shared_ptr<IOMNode>()));
	EXPECT_EQ(b->getType(), OMType::Undefined);
	EXPECT_EQ(a->getSize(), 2U);
}

TEST_F(OMStoredTest, ClonesOwnAsManyLevelsAsAsked)
{
	const auto source = parse("{a: {b: {c: 1}}}");
	const auto change = [&](size_t level)
	{
		const auto copy = source->clone(level);
		store(source->getOMNode("a")->getOMNode("b"), "c"s, number(2));
		store(source->getOMNode("a"), "d"s, number(2));
		store(source, "e"s, number(2));
		const std::string text = copy->toString();
		store(source->getOMNode("a")->getOMNode("b"), "c"s, number(1));
		source->getOMNode("a")->eraseAttribute("d");
		source->eraseAttribute("e");
		return text;
	};
	EXPECT_EQ(change(0), R"({ "a": { "b": { "c": 2 }, "d": 2 }, "e": 2 })");
	EXPECT_EQ(change(1), R"({ "a": { "b": { "c": 2 }, "d": 2 } })");
	EXPECT_EQ(change(2), R"({ "a": { "b": { "c": 2 } } })");
	EXPECT_EQ(change(3), R"({ "a": { "b": { "c": 1 } } })");
	EXPECT_EQ(change(ALL_LEVELS), R"({ "a": { "b": { "c": 1 } } })");
}

TEST_F(OMStoredTest, AChildIsOnePlaceForWhoeverAsks)
{
	const auto map = parse("{x: 1, a: [1, 2]}");
	const auto child = map->getOMNode("x");
	EXPECT_EQ(map->getOMNode("x"), child);
	child->set("changed");
	EXPECT_EQ(map->toString(), R"({ "a": [1, 2], "x": "changed" })");
	EXPECT_EQ(map->getType("x"), OMType::String);
	// What lies in two containers by pointer is one node in both.
	const auto other = OMStored::arrayFactory();
	other->push(child);
	child->set(OMInt{7});
	EXPECT_EQ(other->toString(), "[7]");
	// Overwriting a place by another node leaves the first alone.
	store(map, "x"s, number(8));
	EXPECT_EQ(other->toString(), "[7]");
	EXPECT_EQ(child->getInt(), 7);

	EXPECT_EQ(map->getOMNode("nothing"), nullptr);
	EXPECT_EQ(map->getOMNode("a")->getOMNode("1")->getInt(), 2) << "an array by the text of an index";
	EXPECT_EQ(map->getOMNode("a")->getOMNode("-1"), nullptr);
	EXPECT_EQ(map->getOMNode("a")->getOMNode(2), nullptr);
	EXPECT_EQ(number(5)->getOMNode("x"), nullptr);
}

TEST_F(OMStoredTest, ReadingAndWritingChildren)
{
	const auto map = parse("{x: 1}");
	const auto array = parse("[1]");
	std::shared_ptr<IOMNode> node;
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(map, nullptr, nullptr, AccessType::GET, "none", node));
	EXPECT_EQ(node, nullptr);
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(map, nullptr, nullptr, AccessType::GET_CREATE, "made", node));
	EXPECT_EQ(node->getType(), OMType::Undefined);
	EXPECT_TRUE(map->hasAttribute("made"));
	node = number(5);
	const auto given = node;
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(map, nullptr, nullptr, AccessType::SET, "y", node));
	EXPECT_EQ(node, given) << "stored by pointer";
	EXPECT_EQ(map->getOMNode("y"), given);
	node = nullptr;
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(map, nullptr, nullptr, AccessType::SET, "y", node));
	EXPECT_EQ(node, given) << "none given: what is there";

	node = number(9);
	EXPECT_TRUE(AccessOMNodeResolvedByIdxTask::call(array, nullptr, nullptr, AccessType::SET, 3, node));
	EXPECT_EQ(array->toString(), "[1, undefined, undefined, 9]");
	node = number(8);
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(array, nullptr, nullptr, AccessType::SET, "0", node));
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(array, nullptr, nullptr, AccessType::SET, "key", node)) << "no place for it";
	EXPECT_EQ(node, nullptr);
	node = number(7);
	EXPECT_TRUE(AccessOMNodeResolvedByIdxTask::call(map, nullptr, nullptr, AccessType::SET, 12, node));
	EXPECT_TRUE(map->hasAttribute("12"));
	EXPECT_EQ(array->toString(), "[8, undefined, undefined, 9]");
	node = nullptr;
	EXPECT_FALSE(AccessOMNodeResolvedByAttrTask::call(map, nullptr, nullptr, static_cast<AccessType>(9), "x", node));
	EXPECT_LOG("unexpected accessType");

	node = number(1);
	EXPECT_FALSE(SetAndAccessTask::call(array, "0"s, node));
	EXPECT_LOG("SANITY_CHECK failed: 'fType == OMType::Map' evaluates to false");
	node = number(1);
	EXPECT_FALSE(SetAndAccessTask::call(map, size_t{0}, node));
	EXPECT_LOG("SANITY_CHECK failed: 'fType == OMType::Array' evaluates to false");

	EXPECT_TRUE(array->eraseIndex(0));
	EXPECT_TRUE(array->eraseIndex(99));
	EXPECT_EQ(array->toString(), "[undefined, undefined, 9]");
	EXPECT_FALSE(array->eraseAttribute("x"));
	EXPECT_TRUE(map->eraseAttribute("none"));
	EXPECT_FALSE(map->eraseIndex(0));
	EXPECT_EQ(array->pop()->getInt(), 9);
	EXPECT_EQ(map->pop(), nullptr);
	EXPECT_FALSE(map->push(number(1)));
}

TEST_F(OMStoredTest, PermissionsGuardAttributes)
{
	const auto map = parse("{x: 1}");
	map->setPermissions("x", MapContainer::DEFAULT_PERMISSIONS & ~MapContainer::PERMISSION_WRITE);
	std::shared_ptr<IOMNode> node = number(2);
	EXPECT_FALSE(AccessOMNodeResolvedByAttrTask::call(map, nullptr, nullptr, AccessType::SET, "x", node));
	EXPECT_LOG("not permitted - need PERMISSION_WRITE");
	node = number(2);
	EXPECT_FALSE(SetAndAccessTask::call(map, "x"s, node));
	EXPECT_LOG("not permitted -- need PERMISSION_WRITE");
	EXPECT_EQ(map->getOMNode("x")->getInt(), 1);
	const auto copy = std::static_pointer_cast<OMStored>(map->clone(ALL_LEVELS));
	node = number(2);
	EXPECT_FALSE(SetAndAccessTask::call(copy, "x"s, node)) << "they go with a copy";
	EXPECT_LOG("not permitted");
	map->setPermissions("x", MapContainer::DEFAULT_PERMISSIONS);
	node = number(2);
	EXPECT_TRUE(SetAndAccessTask::call(map, "x"s, node));
	EXPECT_FALSE(parse("[1]")->setPermissions("x", 0));
}

// --- Data structures

TEST_F(OMStoredTest, ADataStructureKnowsItsPaths)
{
	const auto root = parse("{a: [{b: 1}, 2]}");
	EXPECT_TRUE(root->setIsDataStructure(true));
	const auto list = root->getOMNode("a");
	const auto leaf = list->getOMNode(0)->getOMNode("b");
	EXPECT_TRUE(leaf->isDataStructure());
	EXPECT_EQ(leaf->getDataStructurePath(), "a/0/b");
	EXPECT_EQ(list->getOMNode(0)->getDataStructureIdx(), 0);
	EXPECT_EQ(root->getDataStructureIdx(), -1);
	EXPECT_EQ(leaf->getDataStructureIdx(), -1);
	EXPECT_LOG("SANITY_CHECK failed: 'Utils::isNumeric(fDataStructureKey)' evaluates to false");

	// What comes in is linked, what goes is not any more.
	list->push(number(3));
	store(list, size_t{5}, number(6));
	EXPECT_EQ(list->getOMNode(2)->getDataStructurePath(), "a/2");
	EXPECT_EQ(list->getOMNode(3)->getDataStructurePath(), "a/3") << "what fills the gap as well";
	EXPECT_EQ(list->getOMNode(5)->getDataStructurePath(), "a/5");
	const auto first = list->getOMNode(0);
	EXPECT_TRUE(list->eraseIndex(0));
	EXPECT_EQ(first->getDataStructureParent(), nullptr);
	EXPECT_FALSE(first->isDataStructure());
	EXPECT_EQ(list->getOMNode(0)->getDataStructurePath(), "a/0") << "the keys behind it move up";
	EXPECT_EQ(list->getOMNode(4)->getDataStructurePath(), "a/4");
	const auto last = list->pop();
	EXPECT_EQ(last->getInt(), 6);
	EXPECT_EQ(last->getDataStructureParent(), nullptr);
	const auto overwritten = list->getOMNode(0);
	store(list, size_t{0}, number(1));
	EXPECT_EQ(overwritten->getDataStructureParent(), nullptr);
	EXPECT_EQ(list->getOMNode(0)->getDataStructureParent(), list);

	EXPECT_TRUE(root->setIsDataStructure(false));
	EXPECT_EQ(list->getDataStructureParent(), nullptr);
	EXPECT_FALSE(list->getOMNode(0)->isDataStructure());
}

TEST_F(OMStoredTest, ASecondParentGetsAClone)
{
	const auto first = OMStored::mapFactory();
	const auto second = OMStored::mapFactory();
	first->setIsDataStructure(true);
	second->setIsDataStructure(true);
	const std::shared_ptr<IOMNode> child = parse("{x: 1}");
	store(first, "c"s, child);
	store(second, "c"s, child);
	EXPECT_EQ(first->getOMNode("c"), child);
	EXPECT_NE(second->getOMNode("c"), child);
	store(child, "x"s, number(2));
	EXPECT_EQ(first->toString(), R"({ "c": { "x": 2 } })");
	EXPECT_EQ(second->toString(), R"({ "c": { "x": 1 } })");
	EXPECT_EQ(second->getOMNode("c")->getOMNode("x")->getDataStructurePath(), "c/x");

	// A copy that shares the container is none itself; one with its own container is.
	const auto shared = OMStored::undefinedFactory();
	shared->set(std::shared_ptr<IOMNode>(first));
	EXPECT_FALSE(shared->isDataStructure());
	EXPECT_TRUE(first->clone(ALL_LEVELS)->isDataStructure());
	const auto clone = first->clone(ALL_LEVELS);
	EXPECT_EQ(clone->getOMNode("c")->getOMNode("x")->getDataStructurePath(), "c/x");
	EXPECT_EQ(child->getDataStructureParent(), first);
}

TEST_F(OMStoredTest, AMapThatHoldsItselfIsNoDataStructure)
{
	const auto map = parse("{x: 1}");
	store(map, "self"s, OMStored::valueFactory(map->getValue()));
	EXPECT_FALSE(map->setIsDataStructure(true));
	EXPECT_LOG("data structure: a container holds itself");
	EXPECT_FALSE(map->isDataStructure());
	EXPECT_EQ(map->getOMNode("x")->getDataStructureParent(), nullptr);
	// Later, by an assignment into a data structure.
	map->eraseAttribute("self");
	EXPECT_TRUE(map->setIsDataStructure(true));
	EXPECT_FALSE(store(map, "self"s, OMStored::valueFactory(map->getValue())));
	EXPECT_LOG("data structure: a container holds itself");
	map->eraseAttribute("self");
}

TEST_F(OMStoredTest, OtherKindsOfNodesRefuseChange)
{
	class Bare final : public OMNode
	{
	};
	const auto node = std::make_shared<Bare>();
	EXPECT_FALSE(node->set("x") || node->set(OMInt{1}) || node->set(1.0) || node->set(true) || node->setEmptyMap() || node->setNum(1));
	EXPECT_FALSE(node->push(number(1)));
	EXPECT_LOG("unimplemented push()");
	EXPECT_EQ(node->pop(), nullptr);
	EXPECT_LOG("unimplemented pop()");
	EXPECT_EQ(node->getNodeIterator(), nullptr);
	EXPECT_EQ(node->getOMStoredPtr(), nullptr);
	EXPECT_EQ(node->toString(), "undefined");
	std::shared_ptr<IOMNode> child;
	EXPECT_TRUE(AccessOMNodeResolvedByAttrTask::call(node, nullptr, nullptr, AccessType::GET_CREATE, "x", child));
	EXPECT_EQ(child->getType(), OMType::Error);
	EXPECT_NE(OMStored::rewrapFactory(node), nullptr);
	const auto stored = OMStored::factory("x");
	EXPECT_EQ(OMStored::rewrapFactory(stored), stored);
}

TEST_F(OMStoredTest, CodeIsResolvedWhenItCanStandForItself)
{
	EXPECT_TRUE(parse("[1, {a: 2}]")->isResolved(ScriptPhase::PARSE));
	const auto name = parse("a");
	EXPECT_FALSE(name->isResolved(ScriptPhase::PARSE));
	EXPECT_TRUE(name->isResolved(ScriptPhase::RUN));
	EXPECT_TRUE(name->isLValue());
	EXPECT_EQ(name->getAsIdentifier(), "a");
	EXPECT_FALSE(parse("[1, a + 1]")->isResolved(ScriptPhase::RUN));
	const auto function = parse("function f(x) { x }");
	EXPECT_FALSE(function->isResolved(ScriptPhase::PARSE));
	EXPECT_TRUE(function->isResolved(ScriptPhase::RUN));
	EXPECT_EQ(function->getFunctionName(), "f");
	EXPECT_TRUE(parse("a")->cmpOp_EQ(*parse("a"))) << "two expressions of one text";
	EXPECT_FALSE(parse("a")->cmpOp_EQ(*parse("b")));
	EXPECT_TRUE(parse("{'a':'b','c':'d'}")->cmpOp_EQ(*parse("{\"c\":\"d\", a:\"b\"}")));
}

TEST_F(OMStoredTest, ReturnedValuesAreWrappedOnce)
{
	const auto node = OMStored::factory("value");
	const auto wrapped = node->wrapReturnValue();
	EXPECT_TRUE(wrapped->isWrappedReturnValue());
	EXPECT_EQ(wrapped->getType(), OMType::Expression);
	EXPECT_EQ(wrapped->unwrapReturnValue()->getString(), "value");
	EXPECT_EQ(wrapped->wrapReturnValue()->unwrapReturnValue()->getString(), "value");
	EXPECT_EQ(node->unwrapReturnValue(), node);
	EXPECT_TRUE(parse("return 5")->isWrappedReturnValue());
}
}
