// The exports, linked into the test, with exceptions thrown beneath them: none gets out, and each is told in the log.
#include "MrvHostInterface.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvMorvaneData.h"
#include "MrvPlatform/MrvSleep.h"
#include "host/HostSettings.h"
#include "support/CoordinatorStart.h"

#include <gtest/gtest.h>

#include <stdexcept>

extern "C"
{
	int32_t ESClientInterface(int32_t, SoServerInterface_s *, SoHServer);
	int32_t mrvInit(TaggedData *, int32_t, TaggedData *);
	int32_t mrvShutdown(TaggedData *, int32_t, TaggedData *);
	int32_t mrvTimeslice(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetScriptQueueSize(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetScript(TaggedData *, int32_t, TaggedData *);
	int32_t mrvAdvanceScriptQueue(TaggedData *, int32_t, TaggedData *);
	int32_t mrvReportScriptCompleted(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetHostMessageQueueSize(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetHostMessage(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetHostMessageTargetHost(TaggedData *, int32_t, TaggedData *);
	int32_t mrvAdvanceHostMessageQueue(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetLogMessageQueueSize(TaggedData *, int32_t, TaggedData *);
	int32_t mrvGetLogMessage(TaggedData *, int32_t, TaggedData *);
	int32_t mrvAdvanceLogMessageQueue(TaggedData *, int32_t, TaggedData *);
	int32_t mrvRegisterLocalHostName(TaggedData *, int32_t, TaggedData *);
	int32_t mrvRelayHostMessage(TaggedData *, int32_t, TaggedData *);
}

namespace Mrv::Test
{
namespace
{
int sThrows = 0; // how many lines throw from now on
std::string sLog;

void throwFromLog(const std::string &line)
{
	if (sThrows > 0)
	{
		--sThrows;
		throw std::runtime_error("thrown beneath");
	}
	sLog += line + "\n";
}

void throwFromSleep(int64_t)
{
	throw std::runtime_error("thrown in the loop");
}

class ThrowingExportsTest : public testing::Test
{
protected:
	ThrowingExportsTest()
	{
		sLog.clear();
		sThrows = 0;
		const auto logger = std::make_shared<Logger>();
		logger->addCallback(&throwFromLog);
		setCurrentLogger(logger);
	}
	~ThrowingExportsTest() override
	{
		sThrows = 0;
		Platform::setSleepFunction(nullptr);
		mrvShutdown(nullptr, 0, nullptr);
		MorvaneData::get().fService = nullptr;
		setCurrentLogger(nullptr);
		Object::createMaps();
	}

	static void start()
	{
		std::string name = "net.morvane.coordinator.throwing";
		TaggedData argument{};
		argument.data.string = name.data();
		argument.type = MRV_HOST_STRING;
		ASSERT_EQ(mrvInit(&argument, 1, nullptr), MRV_HOST_OK);
		ASSERT_TRUE(MorvaneData::get().isStarted());
	}
	static bool isTold(const std::string &text)
	{
		const bool isThere = sLog.find(text) != std::string::npos;
		sLog.clear();
		return isThere;
	}

private:
	const HostSettings fSettings;
};
}

// The first thing that each does with too many arguments is a line in the log.
TEST_F(ThrowingExportsTest, WhatIsThrownStaysInside)
{
	using Export = int32_t(TaggedData *, int32_t, TaggedData *);
	Export *const exports[] = {mrvGetScriptQueueSize, mrvGetScript, mrvAdvanceScriptQueue, mrvReportScriptCompleted,
	    mrvGetHostMessageQueueSize, mrvGetHostMessage, mrvGetHostMessageTargetHost, mrvAdvanceHostMessageQueue, mrvGetLogMessageQueueSize,
	    mrvGetLogMessage, mrvAdvanceLogMessageQueue, mrvRegisterLocalHostName, mrvRelayHostMessage, mrvShutdown};
	TaggedData arguments[3] = {};
	for (Export *function : exports)
	{
		sThrows = 1;
		EXPECT_EQ(function(arguments, 3, nullptr), MRV_HOST_OK) << "what the result held";
		EXPECT_TRUE(isTold("throws thrown beneath"));
		sThrows = 2; // also while that is told
		EXPECT_EQ(function(arguments, 3, nullptr), MRV_HOST_OK);
		EXPECT_EQ(sThrows, 0);
		EXPECT_EQ(function(arguments, 3, nullptr), MRV_HOST_BAD_ARGUMENT_COUNT) << "and it goes on";
	}
	sThrows = 1;
	EXPECT_EQ(ESClientInterface(7, nullptr, nullptr), MRV_HOST_OK);
	EXPECT_TRUE(isTold("throws thrown beneath"));
}

TEST_F(ThrowingExportsTest, ASliceThatThrowsIsTheLastOne)
{
	start();
	TaggedData size{};
	EXPECT_EQ(mrvTimeslice(nullptr, 0, nullptr), MRV_HOST_OK);
	Platform::setSleepFunction(&throwFromSleep);
	for (int slice = 0; slice < 1000 && sLog.find("throws") == std::string::npos; ++slice)
	{
		EXPECT_EQ(mrvTimeslice(nullptr, 0, nullptr), MRV_HOST_OK);
	}
	EXPECT_TRUE(isTold("throws thrown in the loop"));
	EXPECT_EQ(mrvTimeslice(nullptr, 0, nullptr), MRV_HOST_OK);
	EXPECT_FALSE(isTold("throws")) << "nothing runs any more";
	EXPECT_EQ(mrvGetScriptQueueSize(nullptr, 0, &size), MRV_HOST_OK);
	EXPECT_EQ(size.type, MRV_HOST_UNSIGNED) << "the queues still answer";

	// Another start is another coordinator.
	Platform::setSleepFunction(nullptr);
	mrvShutdown(nullptr, 0, nullptr);
	start();
	EXPECT_EQ(mrvTimeslice(nullptr, 0, nullptr), MRV_HOST_OK);
	EXPECT_FALSE(MorvaneData::get().fIsInTimeslice);
}

// A start that fails by an exception can be tried again.
TEST_F(ThrowingExportsTest, AStartThatThrows)
{
	std::string name = "not-a-name";
	TaggedData argument{};
	argument.data.string = name.data();
	argument.type = MRV_HOST_STRING;
	sThrows = 1;
	EXPECT_EQ(mrvInit(&argument, 1, nullptr), MRV_HOST_OK);
	EXPECT_TRUE(isTold("throws thrown beneath"));
	EXPECT_FALSE(MorvaneData::get().isStarted());
	start();
	EXPECT_EQ(sLog.find("failed"), std::string::npos) << sLog;
}
}
