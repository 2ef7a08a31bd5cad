#include "MrvParser/Node/MrvContainerRelease.h"
#include "MrvParser/Node/MrvIOMNodeIterator.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvPlatform/MrvClock.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

namespace Mrv::Test
{
namespace
{
// The keys that are there, in the order in which the map keeps them.
std::vector<std::string> keysInOrder(const MapContainer &map)
{
	std::vector<std::string> keys;
	for (const MapContainer::Entry &entry : map.entries())
	{
		if (!entry.isErased())
		{
			keys.emplace_back(entry.name.view());
		}
	}
	return keys;
}

constexpr uint64_t LOW_BITS = (uint64_t{1} << 20) - 1; // more than an index of 2^13 names looks at

// 2^13 names whose FNV hashes end alike: of each next piece there are two that leave these bits the same.
std::vector<std::string> namesThatCollide()
{
	std::mt19937 random(5); // NOLINT(cert-msc51-cpp): the same names each time
	std::vector<std::string> names{""};
	for (int level = 0; level < 13; ++level)
	{
		std::map<uint64_t, std::string> pieces;
		std::string piece;
		uint64_t low = 0;
		do
		{
			piece.clear();
			for (int letter = 0; letter < 7; ++letter)
			{
				piece += static_cast<char>('a' + random() % 26);
			}
			low = Name(names.front() + piece).hash & LOW_BITS;
		} while (pieces.emplace(low, piece).second || pieces[low] == piece);
		std::vector<std::string> longer;
		for (const std::string &name : names)
		{
			longer.push_back(name + pieces[low]);
			longer.push_back(name + piece);
		}
		names = std::move(longer);
	}
	return names;
}

// The shortest of several times, since others have the processor too.
int64_t nanosecondsToFill(const std::vector<std::string> &names)
{
	int64_t shortest = INT64_MAX;
	for (int round = 0; round < 5; ++round)
	{
		const int64_t begin = Platform::steadyNanoseconds();
		MapContainer map;
		for (const std::string &name : names)
		{
			map.set(Name(name), Value::integer(1));
		}
		EXPECT_EQ(map.size(), names.size());
		shortest = std::min(shortest, Platform::steadyNanoseconds() - begin);
	}
	return shortest;
}

std::shared_ptr<OMStored> makeMap(std::initializer_list<const char *> keys)
{
	auto node = OMStored::mapFactory();
	OMInt number = 0;
	for (const char *key : keys)
	{
		node->getValue().map()->set(Name(key), Value::integer(number++));
	}
	return node;
}
}

TEST(MapContainerTest, NamesCannotBeChosenToMakeItSlow)
{
	const std::vector<std::string> names = namesThatCollide();
	EXPECT_EQ(Name(names.front()).hash & LOW_BITS, Name(names.back()).hash & LOW_BITS);
	std::vector<std::string> ordinary;
	for (size_t number = 0; number < names.size(); ++number)
	{
		ordinary.push_back(names.front() + std::to_string(number));
	}
	EXPECT_LT(nanosecondsToFill(names), 20 * nanosecondsToFill(ordinary));
}

TEST(MapContainerTest, KeepsTheOrderOfInsertion)
{
	MapContainer map;
	for (const char *key : {"c", "a", "b", "", "a name that is longer than a cell"})
	{
		map.set(Name(key), Value::string(key));
	}
	map.set(Name("a"), Value::integer(1));
	EXPECT_EQ(keysInOrder(map), (std::vector<std::string>{"c", "a", "b", "", "a name that is longer than a cell"}));
	EXPECT_TRUE(map.erase(Name("a")));
	EXPECT_TRUE(map.erase(Name("a"))) << "also when it isn't there";
	EXPECT_EQ(map.get("a"), nullptr);
	map.set(Name("a"), Value::integer(2));
	EXPECT_EQ(keysInOrder(map), (std::vector<std::string>{"c", "b", "", "a name that is longer than a cell", "a"}));
	EXPECT_EQ(map.size(), 5U);
	EXPECT_EQ(map.sortedNames().front().view(), "");
	map.clear();
	EXPECT_EQ(map.size(), 0U);
	EXPECT_EQ(map.get("b"), nullptr);
}

TEST(MapContainerTest, BehavesAsAMapWhateverIsDoneToIt)
{
	std::mt19937 random(7);
	MapContainer map;
	std::map<std::string, OMInt> model;
	std::vector<std::string> order;
	for (OMInt step = 0; step < 200'000; ++step)
	{
		// Many names that come and go; some too long for a cell.
		const auto number = static_cast<uint32_t>(random() % 3000);
		const std::string key = (number % 3 == 0 ? "a rather long name " : "n") + std::to_string(number);
		if (random() % 5 < 3)
		{
			if (model.emplace(key, step).second)
			{
				order.push_back(key);
			}
			model[key] = step;
			map.set(Name(key), Value::integer(step));
		}
		else
		{
			if (model.erase(key) > 0)
			{
				std::erase(order, key);
			}
			map.erase(Name(key));
		}
		if (step % 5000 == 0)
		{
			ASSERT_EQ(map.size(), model.size());
			ASSERT_EQ(keysInOrder(map), order);
			for (const auto &[name, value] : model)
			{
				const Value *place = map.get(name);
				ASSERT_TRUE(place && place->intPayload() == value) << name;
			}
			EXPECT_LT(map.entries().size(), model.size() * 2 + 20) << "erased entries don't pile up";
		}
	}
}

TEST(MapContainerTest, GuessesAreOnlyGuesses)
{
	MapContainer map;
	for (int i = 0; i < 20; ++i)
	{
		map.set(Name("n" + std::to_string(i)), Value::integer(i));
	}
	const Name name("n7");
	for (uint32_t guess : {0U, 7U, 19U, 4'000'000'000U})
	{
		EXPECT_EQ(map.find(name, guess), 7U);
		EXPECT_EQ(guess, 7U);
	}
	uint32_t guess = 7;
	map.erase(name);
	EXPECT_EQ(map.find(name, guess), MapContainer::NOT_FOUND);
}

TEST(IteratorTest, SurvivesEveryChangeOfAMap)
{
	const auto node = makeMap({"a", "b", "c", "d"});
	MapContainer &map = *node->getValue().map();
	const auto iterator = node->getNodeIterator();
	EXPECT_EQ(iterator->getKey(), "a");
	EXPECT_EQ(iterator->getIndex(), -1);
	map.erase(Name("b"));
	map.set(Name("e"), Value::integer(9));
	iterator->next();
	EXPECT_EQ(iterator->getKey(), "c");
	// Names come and go in the meantime, so many that the map would be laid out anew.
	for (int i = 0; i < 1000; ++i)
	{
		map.set(Name("x" + std::to_string(i)), Value());
		map.erase(Name("x" + std::to_string(i)));
	}
	EXPECT_EQ(iterator->getKey(), "c");
	iterator->next();
	EXPECT_EQ(iterator->getKey(), "d");
	iterator->next();
	EXPECT_EQ(iterator->getKey(), "e");
	EXPECT_EQ(iterator->getValue()->getInt(), 9);
	iterator->next();
	EXPECT_TRUE(iterator->isEnd());
	EXPECT_EQ(iterator->getValue(), nullptr);

	const auto other = node->getNodeIterator();
	node->setEmptyMap();
	EXPECT_EQ(other->getKey(), "a") << "it walks over the container that it was made for";
	map.clear();
	EXPECT_TRUE(other->isEnd());
}

TEST(IteratorTest, SurvivesEveryChangeOfAnArray)
{
	const auto node = OMStored::arrayFactory();
	for (OMInt i = 0; i < 3; ++i)
	{
		node->push(OMStored::factory(i));
	}
	const auto iterator = node->getNodeIterator();
	iterator->next();
	EXPECT_EQ(iterator->getIndex(), 1);
	EXPECT_EQ(iterator->getKey(), "1");
	node->push(OMStored::factory(OMInt{3}));
	node->eraseIndex(0);
	EXPECT_EQ(iterator->getValue()->getInt(), 2);
	node->pop();
	node->pop();
	EXPECT_TRUE(iterator->isEnd());
	EXPECT_EQ(iterator->getValue(), nullptr);
	EXPECT_TRUE(OMStored::factory("text")->getNodeIterator()->isEnd());
}

TEST(ArrayContainerTest, GrowsWithinBounds)
{
	const auto node = OMStored::arrayFactory();
	const Value array = node->getValue();
	EXPECT_TRUE(OMStored::storeIn(array, 3, Value::integer(9)));
	EXPECT_EQ(node->toString(), "[undefined, undefined, undefined, 9]");
	EXPECT_FALSE(OMStored::storeIn(array, 4 + ArrayContainer::MAX_GROWTH, Value()));
	EXPECT_LOG("array index too far beyond the end");
	EXPECT_FALSE(OMStored::storeIn(array, SIZE_MAX, Value()));
	EXPECT_LOG("array index too far beyond the end");
	EXPECT_EQ(node->getSize(), 4U);
	EXPECT_TRUE(OMStored::storeIn(array, 3 + ArrayContainer::MAX_GROWTH, Value()));
	EXPECT_EQ(node->getSize(), 4 + ArrayContainer::MAX_GROWTH);
}

TEST(ContainerReleaseTest, CyclesAreTakenApart)
{
	Value map = Value::emptyMap();
	Value array = Value::emptyArray();
	map.map()->set(Name("self"), map);
	map.map()->set(Name("list"), array);
	array.array()->fItems.push_back(map);
	array.array()->fItems.push_back(Value::cell(OMStored::valueFactory(array)));
	emptyReachableContainers(map);
	EXPECT_EQ(map.map()->size(), 0U);
	EXPECT_EQ(array.array()->size(), 0U);
	EXPECT_FALSE(array.array()->isShared());
}
}
