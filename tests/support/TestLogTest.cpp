#include "support/TestLog.h"

#include "MrvLogger/MrvChecks.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

using namespace Mrv;
using namespace Mrv::Test;

namespace
{
TEST(TestLog, TakesALineApart)
{
	LOG_WARNING("first");
	LOG_ERROR("second: a text");
	LOG_NOTE("below the level");

	const std::vector<LogLine> lines = TestLog::take();
	ASSERT_EQ(lines.size(), 2U);
	EXPECT_EQ(lines[0].label, "WARN ");
	EXPECT_EQ(lines[1].label, "ERROR");
	EXPECT_EQ(lines[1].text, "second: a text");
	EXPECT_TRUE(TestLog::take().empty());
}

TEST(TestLog, DemandedLinesMustComeAndThenCountAsExpected)
{
	{
		const ExpectLog expected("came", 2);
		LOG_ERROR("it came");
		LOG_ERROR("it came again");
	}
	EXPECT_TRUE(TestLog::take().empty());
	EXPECT_NONFATAL_FAILURE({ const ExpectLog missing("never logged"); }, "never logged");
}
}
