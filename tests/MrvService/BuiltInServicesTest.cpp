#include "MrvPlatform/MrvFileSystem.h"
#include "MrvService/MrvServiceLog.h"
#include "MrvService/MrvServicePing.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvLimits.h"
#include "support/CoordinatorStart.h"
#include "support/MemoryConsole.h"
#include "support/ScriptRun.h"
#include "support/TestLog.h"
#include "support/TestService.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
class BuiltInServicesTest : public testing::Test
{
protected:
	// Queues a message for a service from another one, and lets the event loop run.
	void send(const std::shared_ptr<IObject> &service, OpCode opCode, const std::string &payload, bool hasSender = true)
	{
		InternalCoordinator::instance()->queueMessage(
		    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(hasSender ? fSender : nullptr, service, opCode, payload));
		runPasses(2);
	}

	const CoordinatorStart fCoordinator;
	const std::shared_ptr<TestService> fSender = TestService::factory("sender", InternalCoordinator::factory());
};
}

TEST_F(BuiltInServicesTest, PingAnswersEverythingButAnswers)
{
	const auto ping = ServicePing::instance();
	for (const OpCode opCode : {OpCode::PING, OpCode::EVAL, OpCode::NONE, static_cast<OpCode>(77)})
	{
		send(ping, opCode, "pay\nload");
		ASSERT_EQ(fSender->received.size(), 1U);
		EXPECT_EQ(fSender->received[0]->getOpCode(), OpCode::PING_REPLY);
		EXPECT_EQ(fSender->received[0]->getPayload(), "pay\nload");
		EXPECT_EQ(fSender->received[0]->getSenderAddressObj(), ping->getAddressObj());
		fSender->received.clear();
	}
	send(ping, OpCode::PING_REPLY, "");
	send(ping, OpCode::PING, "", false);
	EXPECT_TRUE(fSender->received.empty());
	InternalCoordinator::instance()->queueMessage(
	    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(ping, ping, OpCode::PING, ""));
	runPasses(3);
	EXPECT_TRUE(InternalCoordinator::instance()->isIdle());
}

TEST_F(BuiltInServicesTest, LogWritesWhatIsUrgentEnough)
{
	const auto log = ServiceLog::instance();
	const std::string path = Dirs::getUserDataPath() + "service.log";
	log->setLogFilePath(path);
	EXPECT_EQ(log->getLogLevel(), 2);
	for (const auto &[opCode, text] : {std::pair{OpCode::LOG_ERROR, "error"}, std::pair{OpCode::LOG_WARNING, "warning"},
	         std::pair{OpCode::LOG_NOTE, "note"}, std::pair{OpCode::LOG_TRACE, "trace"}})
	{
		send(log, opCode, text);
	}
	EXPECT_EQ(readWholeFile(path), "error\nwarning\n");
	send(log, OpCode::PING, "payload");
	EXPECT_LOG("unexpected opcode");
	log->setLogFilePath(Dirs::getUserDataPath() + "no such folder/service.log");
	EXPECT_FALSE(log->logMessage("text"));
	EXPECT_LOG("::fopen_s(&logFile, fLogFilePath.c_str(), \"a\") == 0");
	MemoryConsole console;
	log->setLogFilePath("");
	EXPECT_TRUE(log->logMessage("text"));
	EXPECT_EQ(console.errorOutput, "text\n");
	EXPECT_TRUE(Platform::removeFile(path));
}

TEST_F(BuiltInServicesTest, LogCanBeCaptured)
{
	const auto log = ServiceLog::instance();
	MemoryConsole console;
	EXPECT_FALSE(log->popState());
	EXPECT_LOG("SANITY_CHECK failed: '! fStateStack.empty()' evaluates to false");
	EXPECT_EQ(log->getLogLevel(), 2);
	EXPECT_TRUE(log->pushState());
	EXPECT_TRUE(log->resetState());
	EXPECT_EQ(log->getLogLevel(), 4);
	const auto captured = std::make_shared<std::string>();
	log->setLogString(captured);
	send(log, OpCode::LOG_NOTE, "testlog");
	EXPECT_EQ(*captured, "testlog\n");
	EXPECT_TRUE(log->logMessage(std::string(Limits::LOG_STRING - captured->size() - 1, 'x')));
	EXPECT_EQ(captured->size(), Limits::LOG_STRING);
	EXPECT_FALSE(log->logMessage(""));
	EXPECT_LOG("the captured log is full");
	EXPECT_FALSE(log->logMessage("said once"));
	EXPECT_EQ(captured->size(), Limits::LOG_STRING);
	EXPECT_TRUE(log->popState());
	EXPECT_EQ(log->getLogLevel(), 2);
	send(log, OpCode::LOG_NOTE, "not urgent");
	send(log, OpCode::LOG_ERROR, "urgent");
	EXPECT_EQ(console.errorOutput, "urgent\n");
}
}
