// Data requests from elsewhere.
#include "support/GatewayPeer.h"
#include "support/TestLog.h"
#include "support/TestService.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Task/MrvEvalTask.h"
#include "MrvService/MrvRemotePayload.h"
#include "MrvService/MrvServiceOM.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Test::GatewayPeer;
using Test::runPasses;
using Test::runUntil;
using Test::takeLogLines;
using Test::TestService;

const std::string CLIENT = "11111111-2222-3333-4444-555555555555";

std::string request(const std::string &callBackID, const std::string &data)
{
	return R"({ "callBackID": ")" + callBackID + R"(", "clientSequenceNr": 3, "clientSessionId": ")" + CLIENT + R"(", "data": )" + data +
	       " }";
}

std::string reply(const std::string &middle)
{
	return R"({ "clientSequenceNr": 3, "clientSessionId": ")" + CLIENT + "\"" + middle + " }";
}

class DataRequestTest : public testing::Test
{
protected:
	// In the scope of this process's scripts.
	static void run(const std::string &script)
	{
		const auto node = ServiceOM::parseScript(script);
		ASSERT_TRUE(node);
		ASSERT_TRUE(EvalTask::call(node, InternalCoordinator::getCoordinatorScope(), HandleReturnValue::UNWRAP));
	}

	GatewayPeer peer;
};

TEST_F(DataRequestTest, TheFunctionIsCalledWithTheDataAndItsValueGoesBack)
{
	run("setDataRequestCallBack('add', function(data) { yield(1); return { sum: data.a + data.b }; })");
	EXPECT_TRUE(InternalCoordinator::hasDataRequestCallBack());
	EXPECT_EQ(peer.ask(OpCode::DATA_REQUEST, request("add", "{ a: 1, b: 2 }")), reply(R"(, "data": { "sum": 3 }, "success": true)"));
	const std::shared_ptr<IMessage> message = peer.received.back();
	EXPECT_EQ(message->getOpCode(), OpCode::DATA_REPLY);
	EXPECT_EQ(dynamic_cast<const Address_abstract &>(*message->getSenderAddressObj()).getAddressedGUID(),
	    InternalCoordinator::instance()->getOwnGUID());

	// A String is data as it stands, and code is no data.
	run("setDataRequestCallBack('echo', function(data) { return data; })");
	EXPECT_EQ(peer.ask(OpCode::DATA_REQUEST, request("echo", R"("a + b")")), reply(R"(, "data": "a + b", "success": true)"));
	EXPECT_EQ(peer.ask(OpCode::DATA_REQUEST, request("echo", "quit()")), reply(R"(, "data": error, "success": true)"));
	EXPECT_LOG("code that came as a value is not run: quit()");
	EXPECT_FALSE(InternalCoordinator::isTerminating());
}

TEST_F(DataRequestTest, WhoIsNotThereDoesNotAnswer)
{
	for (const std::string id : {"nobody", ""})
	{
		EXPECT_TRUE(peer.sendTo("default/0", OpCode::DATA_REQUEST, request(id, "1")));
		runPasses(5);
		EXPECT_LOG("callBackID not found " + id);
		EXPECT_LOG("SANITY_CHECK failed: 'handleDataRequestTask' evaluates to false");
		takeLogLines();
	}
	EXPECT_TRUE(peer.received.empty());
	EXPECT_FALSE(InternalCoordinator::hasDataRequestCallBack());
}

TEST_F(DataRequestTest, ACallPastItsDeadlineIsAnsweredWithoutData)
{
	InternalCoordinator::changeSettings().defaultTimeoutMicroseconds = 20'000;
	run("setDataRequestCallBack('for ever', function() { while (true) {} })");
	EXPECT_EQ(peer.ask(OpCode::DATA_REQUEST, request("for ever", "1")), reply(R"(, "error": "cut off at its deadline", "success": false)"));
	run("setDataRequestCallBack('well', function() { return 1; })");
	EXPECT_EQ(peer.ask(OpCode::DATA_REQUEST, request("well", "1")), reply(R"(, "data": 1, "success": true)"));
}

// What a host relies on that has to be asked before the answer goes out.
TEST_F(DataRequestTest, TheAnswerWaitsAsLongAsTheTaskIsHeld)
{
	run("setDataRequestCallBack('held', function(data) { return data; })");
	const auto asking = TestService::factory("asking", InternalCoordinator::instance());
	const auto task = InternalCoordinator::instance()->handleDataRequest(asking->getAddressObj(), "held", Value::integer(8), {});
	ASSERT_TRUE(task);
	task->setPersistent(true);
	runPasses(20);
	EXPECT_TRUE(asking->received.empty());
	EXPECT_EQ(task->getAncestorTask(AncestorKind::CALL_NODE_AS_FUNCTION_FOR_DATA_REPLY), task);
	EXPECT_TRUE(task->getAncestorTask(AncestorKind::HANDLE_DATA_REQUEST));
	task->setPersistent(false);
	EXPECT_TRUE(runUntil([&] { return asking->received.size() == 1; }));
	EXPECT_EQ(asking->received[0]->getPayload(), R"({ "data": 8, "success": true })");
}

TEST_F(DataRequestTest, FunctionsEndWithTheCoordinator)
{
	run("setDataRequestCallBack('one', function() {}); setDataRequestCallBack('two', function() {});");
	EXPECT_TRUE(InternalCoordinator::terminate());
	EXPECT_TRUE(runUntil([] { return InternalCoordinator::instance()->getMainTask()->isTaskCompleted(); }));
	EXPECT_TRUE(InternalCoordinator::runEventLoop(1000));
	EXPECT_FALSE(InternalCoordinator::hasDataRequestCallBack());
}

TEST(DataRequestLifeTest, NoFunctionOutlivesItsCoordinator)
{
	for (int life = 0; life < 2; ++life)
	{
		const GatewayPeer peer;
		EXPECT_FALSE(InternalCoordinator::hasDataRequestCallBack());
		EXPECT_TRUE(InternalCoordinator::instance()->setDataRequestCallBack(
		    InternalCoordinator::getCoordinatorScope(), "id", ServiceOM::parseScript("[function() {}]")->getValue().array()->fItems[0]));
		EXPECT_TRUE(InternalCoordinator::hasDataRequestCallBack());
	}
	EXPECT_FALSE(InternalCoordinator::hasDataRequestCallBack());
}
}
}
