// The asking side: what goes out, and what becomes of the answers.
#include "MrvCoordinator/MrvRunRemoteScriptTask.h"
#include "MrvCoordinator/MrvSendDataToRemoteTask.h"

#include "support/GatewayPeer.h"
#include "support/SmallStack.h"
#include "support/TestLog.h"

#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mrv
{
namespace
{
using Test::GatewayPeer;
using Test::IS_SANITIZED;
using Test::logLines;
using Test::Mode;
using Test::runUntil;
using Test::takeLogLines;

constexpr int64_t DEFAULT = -1;

class RemoteScriptTest : public testing::Test
{
protected:
	static std::shared_ptr<const IObject> far(const std::string &indices = "default/0")
	{
		return RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName("far", indices, "far");
	}
	static std::shared_ptr<InternalCoordinator> coordinator() { return InternalCoordinator::instance(); }

	std::shared_ptr<RunRemoteScriptTask> start(int64_t timeoutMicroseconds = DEFAULT)
	{
		const auto task = RunRemoteScriptTask::factory(far(), "1 + 2", timeoutMicroseconds, OpCode::EVAL);
		startAndWait(task);
		return task;
	}
	std::shared_ptr<SendDataToRemoteTask> startData()
	{
		const auto task = SendDataToRemoteTask::factory(far(), "id", "5", DEFAULT);
		startAndWait(task);
		return task;
	}
	// Until the request has left.
	void startAndWait(const std::shared_ptr<Task> &task)
	{
		const std::size_t before = peer.received.size();
		Task::startTask(task);
		EXPECT_TRUE(runUntil([&] { return peer.received.size() > before; }));
	}

	std::string sent(const std::string &name) const
	{
		const auto payload = peer.received.back()->getAsOMNode();
		const auto node = payload ? payload->getOMNode(name) : nullptr;
		return node ? node->getAsString() : "absent";
	}
	// The numbers of the last request, as an answer repeats them.
	std::string numbers() const
	{
		return "clientSequenceNr: " + sent("clientSequenceNr") + ", clientSessionId: \"" + sent("clientSessionId") + "\", ";
	}
	void answer(OpCode opCode, const std::string &payload)
	{
		const auto &asking = dynamic_cast<const Address_abstract &>(*peer.received.back()->getSenderAddressObj());
		EXPECT_TRUE(peer.send(opCode, "{ " + payload + " }",
		    RemoteResolvedAddress::factoryFromGUIDsNameHost(
		        asking.getAddressedGUID(), asking.getUpstreamCoordinatorGUID(), asking.getCoordinatorName(), "near.example")));
		int passes = 0;
		runUntil([&] { return ++passes > 3; });
	}
	static bool ends(const std::shared_ptr<Task> &task)
	{
		return runUntil([&] { return task->isTaskCompleted(); });
	}

	GatewayPeer peer;
};

TEST_F(RemoteScriptTest, SendsTheScriptAndTakesItsValue)
{
	const auto task = start();
	EXPECT_EQ(peer.hosts.back(), "far");
	EXPECT_EQ(peer.received.back()->getOpCode(), OpCode::EVAL);
	EXPECT_EQ(peer.received.back()->getPayload(),
	    R"({ "clientSequenceNr": 1, "clientSessionId": ")" + sent("clientSessionId") + R"(", "script": "1 + 2" })");
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 1U);
	answer(OpCode::EVAL_RESULT, numbers() + "result: { x: [3] }, success: true");
	EXPECT_TRUE(ends(task));
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(task->getResult()->toString(), R"({ "x": [3] })");
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 0U);

	// Each request has a number of its own, data requests too, and all have the same session.
	const std::string session = sent("clientSessionId");
	const auto data = startData();
	EXPECT_EQ(peer.received.back()->getPayload(),
	    R"({ "callBackID": "id", "clientSequenceNr": 2, "clientSessionId": ")" + session + R"(", "data": 5 })");
	EXPECT_EQ(peer.received.back()->getOpCode(), OpCode::DATA_REQUEST);
	answer(OpCode::DATA_REPLY, numbers() + "data: 'five', success: true");
	EXPECT_TRUE(ends(data));
	EXPECT_EQ(data->getResult()->getAsString(), "five");
}

TEST_F(RemoteScriptTest, AFailureEndsTheTaskAtOnceWithItsReason)
{
	const std::pair<std::string, std::string> failures[] = {{"error: 'because', success: false", "because"},
	    {"success: false, result: 5", "refused there"}, {"success: true", "refused there"}, {"result: 5", "refused there"}};
	for (const auto &[fields, reason] : failures)
	{
		SCOPED_TRACE(fields);
		const auto task = start();
		answer(OpCode::EVAL_RESULT, numbers() + fields);
		EXPECT_TRUE(ends(task));
		EXPECT_FALSE(task->isSuccess());
		EXPECT_EQ(task->fErrorNote, reason);
		EXPECT_LOG("ASSIGN_TYPED failed: 'OMStored result = resultNode;'");
		takeLogLines();
	}
	const auto data = startData();
	answer(OpCode::DATA_REPLY, numbers() + "error: 'cut off', success: false");
	EXPECT_TRUE(ends(data));
	EXPECT_FALSE(data->isSuccess());
	EXPECT_EQ(data->fErrorNote, "cut off");
	// A function that gave nothing has answered.
	const auto nothing = startData();
	answer(OpCode::DATA_REPLY, numbers() + "success: true");
	EXPECT_TRUE(ends(nothing));
	EXPECT_TRUE(nothing->isSuccess());
	EXPECT_EQ(nothing->getResult()->getType(), OMType::Undefined);
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 0U);
}

TEST_F(RemoteScriptTest, WhatIsNoAnswerToItLeavesTheTaskWaiting)
{
	const auto task = start();
	const std::string number = "clientSequenceNr: " + sent("clientSequenceNr");
	const std::string good = numbers();
	answer(OpCode::EVAL_RESULT, "clientSequenceNr: 77, result: 5, success: true");
	answer(OpCode::EVAL_RESULT, "result: 5, success: true");
	EXPECT_TRUE(logLines().empty());
	for (const std::string &session : {std::string(), ", clientSessionId: \"" + peer.object->toSectionedString() + "\""})
	{
		answer(OpCode::EVAL_RESULT, number + session + ", result: 5, success: true");
		EXPECT_LOG("unmatched clientSessionId");
		takeLogLines();
	}
	answer(OpCode::DATA_REPLY, good + "data: 5, success: true");
	EXPECT_LOG("ASSIGN_TYPED failed: 'SendDataToRemoteTask sendDataToRemoteTask = task;'");
	takeLogLines();
	EXPECT_FALSE(task->isTaskCompleted());
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 1U);
	answer(OpCode::EVAL_RESULT, good + "result: 6, success: true");
	EXPECT_TRUE(ends(task));
	EXPECT_EQ(task->getResult()->getInt(), 6);

	const auto data = startData();
	answer(OpCode::EVAL_RESULT, numbers() + "result: 5, success: true");
	EXPECT_LOG("ASSIGN_TYPED failed: 'RunRemoteScriptTask runRemoteScriptTask = task;'");
	takeLogLines();
	answer(OpCode::DATA_REPLY, "clientSequenceNr: " + sent("clientSequenceNr") + ", data: 5");
	EXPECT_LOG("unmatched clientSessionId");
	takeLogLines();
	EXPECT_FALSE(data->isTaskCompleted());
}

TEST_F(RemoteScriptTest, TheDeadlineEndsTheWaitAndALateAnswerIsPassedOver)
{
	const auto task = start(2'000);
	EXPECT_TRUE(ends(task));
	EXPECT_FALSE(task->isSuccess());
	EXPECT_FALSE(task->hasResult());
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 0U);
	answer(OpCode::EVAL_RESULT, numbers() + "result: 5, success: true");
	EXPECT_FALSE(task->hasResult());

	// Without a time-out of its own the setting holds: there always is one.
	InternalCoordinator::changeSettings().remoteTimeoutMicroseconds = 3'000;
	const auto bySetting = start();
	EXPECT_TRUE(ends(bySetting));
	EXPECT_NE(bySetting->fErrorNote.find("within 3 ms"), std::string::npos) << bySetting->fErrorNote;

	// Who ends the task by hand isn't waited for either.
	InternalCoordinator::changeSettings().remoteTimeoutMicroseconds = 60'000'000;
	const auto exited = start();
	exited->exit();
	EXPECT_TRUE(ends(exited));
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 0U);
	takeLogLines();
}

TEST_F(RemoteScriptTest, ASessionThatIsGoneIsForgottenAndTheScriptSentAgain)
{
	const std::string session = peer.object->toSectionedString();
	const auto first = start();
	EXPECT_EQ(sent("serviceSessionId"), "absent");
	answer(OpCode::EVAL_RESULT, numbers() + "result: 1, serviceSessionId: '" + session + "', success: true");
	EXPECT_TRUE(ends(first));

	const auto second = start();
	EXPECT_EQ(sent("serviceSessionId"), session);
	const std::string number = sent("clientSequenceNr");
	answer(OpCode::EVAL_RESULT, numbers() + "error: 'no such session', success: false");
	EXPECT_TRUE(runUntil([&] { return sent("clientSequenceNr") != number; }));
	EXPECT_EQ(sent("serviceSessionId"), "absent");
	EXPECT_EQ(sent("script"), "1 + 2");
	EXPECT_FALSE(second->isTaskCompleted());
	// Once only.
	answer(OpCode::EVAL_RESULT, numbers() + "error: 'not here', success: false");
	EXPECT_TRUE(ends(second));
	EXPECT_EQ(second->fErrorNote, "not here");
	takeLogLines();

	// Other failures leave the session in place.
	const auto third = start();
	answer(OpCode::EVAL_RESULT, numbers() + "error: 'no', serviceSessionId: '" + session + "', success: false");
	EXPECT_TRUE(ends(third));
	takeLogLines();
	start();
	EXPECT_EQ(sent("serviceSessionId"), session);
}

TEST_F(RemoteScriptTest, WhatNobodyTakesEndsAtOnce)
{
	const auto nowhere = RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName("nobody", "default/0", "localhost");
	const std::shared_ptr<RemoteRequestTask> tasks[] = {RunRemoteScriptTask::factory(nowhere, "1", DEFAULT, OpCode::EVAL),
	    RunRemoteScriptTask::factory(nowhere, "path", DEFAULT, OpCode::EVAL_FILE),
	    SendDataToRemoteTask::factory(nowhere, "id", "1", DEFAULT)};
	for (const auto &task : tasks)
	{
		Task::startTask(task);
		EXPECT_TRUE(ends(task));
		EXPECT_FALSE(task->isTimedOut());
		EXPECT_FALSE(task->isSuccess());
		EXPECT_EQ(task->fErrorNote.substr(0, 17), "cannot be reached");
	}
	EXPECT_LOG("no coordinator to relay the message to");
	takeLogLines();

	// A message of somebody else with the number of ours is not ours.
	const auto waiting = start();
	const auto foreign = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(nullptr, nowhere, OpCode::EVAL,
	    "{ clientSequenceNr: " + sent("clientSequenceNr") + ", clientSessionId: \"" + peer.object->toSectionedString() +
	        "\", script: '1' }");
	EXPECT_TRUE(coordinator()->queueMessage(foreign));
	EXPECT_TRUE(runUntil([] { return !logLines().empty(); }));
	EXPECT_LOG("no coordinator to relay the message to");
	EXPECT_FALSE(waiting->isTaskCompleted());
	EXPECT_EQ(waiting->getStage(), RemoteRequestTask::Stage::WAITING);
}

TEST_F(RemoteScriptTest, TargetsAreTextsThatTheConfigurationMayExplain)
{
	using Place = IRemoteScripts::Target::Place;
	const struct
	{
		const char *text;
		Place place;
		bool isOnThisHost;
		const char *url;
	} targets[] = {
	    {"", Place::NOWHERE, false, ""},
	    {"http://near", Place::NOWHERE, false, ""},
	    {"mrv:////", Place::HERE, true, "mrv:////default/0"},
	    {"mrv:///near", Place::HERE, true, "mrv:////default/0"},
	    {"mrv:///net.morvane.coordinator.near/", Place::HERE, true, "mrv:////default/0"},
	    {"mrv:////sample.test", Place::ELSEWHERE, true, "mrv:////sample.test/0"},
	    {"mrv:///other", Place::ELSEWHERE, true, "mrv:///other/default/0"},
	    {"mrv:///other/x/1", Place::ELSEWHERE, true, "mrv:///other/x/1"},
	    {"mrv://far/other", Place::ELSEWHERE, false, "mrv://far/other/default/0"},
	};
	for (const auto &expected : targets)
	{
		SCOPED_TRACE(expected.text);
		const IRemoteScripts::Target target = coordinator()->findTarget(expected.text);
		EXPECT_EQ(target.place, expected.place);
		EXPECT_EQ(target.isOnThisHost, expected.isOnThisHost);
		EXPECT_EQ(target.url, expected.url);
	}
	// The GUID of a coordinator means its default service too, once it is known.
	EXPECT_TRUE(peer.sendTo("net.morvane.service.null/0", OpCode::NONE, ""));
	const std::string guid = peer.coordinator->toSectionedString();
	EXPECT_EQ(coordinator()->findTarget("mrv://" + guid + "/" + guid).url, "mrv://far/net.morvane.coordinator.far/default/0");
	const std::string object = peer.object->toSectionedString();
	EXPECT_EQ(coordinator()->findTarget("mrv://" + guid + "/" + object).url, "mrv://" + guid + "/" + object);
}

TEST(RemoteTargetTest, AWordOfTheConfigurationStandsForAnAddress)
{
	const std::string path = Dirs::getTmpPath() + "targets.ini";
	std::FILE *file = Platform::openFile(path, Platform::OpenMode::WRITE);
	ASSERT_TRUE(file);
	std::fputs("[urlMap]\nshop = mrv:///other/x/1\nchain = shop\n", file);
	std::fclose(file);
	const GatewayPeer peer({"-n", "near", "-c", path});
	Platform::removeFile(path);
	const auto coordinator = InternalCoordinator::instance();
	EXPECT_EQ(coordinator->findTarget("shop").url, "mrv:///other/x/1");
	EXPECT_EQ(coordinator->findTarget("Shop").place, IRemoteScripts::Target::Place::NOWHERE);
	EXPECT_EQ(coordinator->findTarget("chain").place, IRemoteScripts::Target::Place::NOWHERE); // one look-up, no more
}

// Nothing is left of a request: neither objects, nor tasks, nor sessions.
TEST_F(RemoteScriptTest, ManyRequestsLeaveNothingBehind)
{
	const int total = Mode::alwaysYield || IS_SANITIZED ? 5'000 : 100'000;
	constexpr int IN_FLIGHT = 100;
	const auto target = InternalAddress::factoryFromIndices("default/0");
	std::vector<std::shared_ptr<RunRemoteScriptTask>> tasks(IN_FLIGHT);
	int started = 0;
	int succeeded = 0;
	const auto round = [&]
	{
		for (auto &task : tasks)
		{
			if (task && task->isTaskCompleted())
			{
				succeeded += task->isSuccess() && task->getResult()->getInt() == 3 ? 1 : 0;
				task = nullptr;
			}
			if (!task && started < total)
			{
				++started;
				task = RunRemoteScriptTask::factory(target, "1 + 2", DEFAULT, OpCode::EVAL);
				Task::startTask(task);
			}
		}
		return started == total && std::all_of(tasks.begin(), tasks.end(), [](const auto &task) { return !task; });
	};
	const auto warmUp = RunRemoteScriptTask::factory(target, "1 + 2", DEFAULT, OpCode::EVAL);
	Task::startTask(warmUp);
	EXPECT_TRUE(ends(warmUp));
	const std::size_t objects = Object::getRegisteredObjectCount();
	EXPECT_TRUE(runUntil(round));
	EXPECT_EQ(succeeded, total);
	EXPECT_EQ(Object::getRegisteredObjectCount(), objects);
	EXPECT_EQ(coordinator()->getPendingTaskCount(), 0U);
	EXPECT_LE(Task::getActiveTasks().size(), 1U);
}
}
}
