#include "support/TestLog.h"

#include "MrvLogger/MrvLogger.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Mrv;
using namespace Mrv::Test;

namespace
{
TEST(TestLog, KeepsTheLinesOfALoggerThatTheCodeMadeForItself)
{
	const auto own = std::make_shared<Logger>();
	own->setLogFilePath(testing::TempDir() + "own.log");
	watchLog(*own);
	setCurrentLogger(own);
	LOG_ERROR("a text: with a colon");
	LOG_WARNING("another");

	ASSERT_EQ(logLines().size(), 2U);
	EXPECT_TRUE(logLines().front().starts_with("ERROR: in ")) << logLines().front();
	EXPECT_LOG(" a text: with a colon");
	EXPECT_FALSE(takeLogLine("a text"));
}
}
