#include "MrvParser/Node/MrvOperations.h"
#include "MrvSerializer/MrvSimpleSerializer.h"
#include "support/RoutingCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Mrv::Test
{
namespace
{
class DataTest : public testing::Test
{
protected:
	RoutingCoordinator fCoordinator;
};
}

TEST_F(DataTest, EachClassComesBackAsItWasWritten)
{
	const auto text = DataString::factoryFromString("a\nb");
	EXPECT_EQ(Data_abstract::serializeToStr(text), "DataString\na\\nb\n");
	EXPECT_EQ(*Data_abstract::deserializeFromStr("DataString\na\\nb\n"), *text);

	const auto node = DataOM::factoryFromJSONStr("{\"a\": [1, true, \"x\"]}");
	ASSERT_TRUE(node);
	const std::string written = Data_abstract::serializeToStr(node);
	EXPECT_EQ(written, "DataOM\n{ \\\"a\\\": [1, true, \\\"x\\\"] }\n");
	EXPECT_EQ(*Data_abstract::deserializeFromStr(written), *node);
	EXPECT_EQ(Data_abstract::serializeToStr(DataOM::factory()), "DataOM\nnull\n");

	EXPECT_EQ(Data_abstract::serializeToStr(nullptr), "DataNull\n");
	EXPECT_EQ(Data_abstract::serializeToStr(fCoordinator.self), "DataNull\n") << "what is no data";
	EXPECT_FALSE(Data_abstract::deserializeFromStr("DataNull\n"));
}

TEST_F(DataTest, WhatCannotBeReadIsRefused)
{
	EXPECT_FALSE(Data_abstract::deserializeFromStr(""));
	EXPECT_LOG("SANITY_CHECK failed: '! serializer->atEnd()' evaluates to false");
	EXPECT_FALSE(Data_abstract::deserializeFromStr("Nonsense\n"));
	EXPECT_LOG("wrapped deserialization factory for Nonsense is null");
	EXPECT_FALSE(Data_abstract::deserializeFromStr(std::string(size_t{10} * 1000 * 1000, 'x') + "\n"));
	EXPECT_LOG("wrapped deserialization factory for xxx");
	EXPECT_FALSE(Data_abstract::deserializeFromStr("DataOM\n[1, \n"));
	EXPECT_LOG("SANITY_CHECK failed: 'ParseTask::call(omNode, jsonString)' evaluates to false");
	EXPECT_FALSE(Data_abstract::deserializeFromStr("DataString\nno end"));
	EXPECT_FALSE(Data_abstract::deserializeFromStr("DataString\na\nb\n"));
	EXPECT_LOG("not at inputStream.eof()");
	takeLogLines();
}

TEST_F(DataTest, APlainFactoryServesForeignTextOnlyWhereThatIsSaid)
{
	const auto make = []() -> std::shared_ptr<IObject> { return DataString::factoryFromString("default"); };
	ASSERT_TRUE(Object::registerFactory("Own", make));
	ASSERT_TRUE(Object::registerFactory("Fit", make, Object::FactoryUse::FOREIGN_TEXT));
	EXPECT_FALSE(Data_abstract::deserializeFromStr("Own\n"));
	const auto made = Data_abstract::deserializeFromStr("Fit\n");
	ASSERT_TRUE(made);
	EXPECT_EQ(made->toString(), "default");
	EXPECT_TRUE(Object::deregisterFactory("Own"));
	EXPECT_TRUE(Object::deregisterFactory("Fit"));
	EXPECT_FALSE(Data_abstract::deserializeFromStr("Fit\n"));
	takeLogLines();
}

TEST_F(DataTest, ObjectsWithinObjectsHaveALimit)
{
	std::string text;
	for (int level = 0; level < 100'000; ++level)
	{
		text += "Event\nx\n";
	}
	EXPECT_FALSE(Data_abstract::deserializeFromStr(text));
	EXPECT_LOG("nesting limit reached: deserialization");
	takeLogLines();
	std::string few;
	for (int level = 0; level < 10; ++level)
	{
		few += "Event\nx\n";
	}
	EXPECT_TRUE(Data_abstract::deserializeFromStr(few + "DataNull\n"));
}
}
