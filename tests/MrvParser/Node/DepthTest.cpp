#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvParser/Node/MrvOperations.h"
#include "support/SmallStack.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
Value nest(size_t levels)
{
	Value value = Value::integer(1);
	for (size_t level = 0; level < levels; ++level)
	{
		Value outer = Value::emptyArray();
		outer.array()->fItems.push_back(std::move(value));
		value = std::move(outer);
	}
	return value;
}

void walkDeepValues(const void *)
{
	const Value deep = nest(1000);
	EXPECT_EQ(toString(deep).size(), 2001U);
	EXPECT_EQ(compareEqual(deep, nest(1000)), Comparison::YES);
	EXPECT_TRUE(OMStored::valueFactory(cloneValue(deep, ALL_LEVELS))->setIsDataStructure(true));

	const Value tooDeep = nest(100'000);
	EXPECT_EQ(toString(tooDeep), "error");
	EXPECT_LOG("nesting limit reached");
	EXPECT_EQ(compareEqual(tooDeep, nest(100'000)), Comparison::FAILED);
	EXPECT_LOG("nesting limit reached");
	EXPECT_TRUE(cloneValue(tooDeep, ALL_LEVELS).isError());
	EXPECT_LOG("nesting limit reached");
	computeHash(tooDeep);
	EXPECT_LOG("nesting limit reached");
	EXPECT_FALSE(OMStored::valueFactory(tooDeep)->setIsDataStructure(true));
	EXPECT_LOG("nesting limit reached");
}
}

TEST(DepthTest, ASmallStackIsEnoughForAThousandLevels)
{
	runOnSmallStack(&walkDeepValues, nullptr);
}
}
