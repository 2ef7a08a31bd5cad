// Coordinators in processes of their own that die, come back, leave files behind, or can't be reached.
#include "processes/SiblingProcessFixture.h"

#include "MrvCoordinator/MrvRunRemoteScriptTask.h"
#include "MrvCoordinator/MrvSendDataToRemoteTask.h"
#include "MrvCoordinator/MrvSiblingCoordinator.h"
#include "MrvPlatform/MrvMessagePipe.h"
#include "MrvUtils/MrvUtils.h"
#include "support/HelperProcess.h"
#include "support/KillProcess.h"
#include "support/SmallStack.h"
#include "support/TestLog.h"

#include <algorithm>

namespace Mrv::Test
{
namespace
{
constexpr unsigned DEAD_PROCESS = 2147483632;

class SiblingFaultProcessTest : public SiblingProcessTest
{
protected:
	// Why a request failed; with the time to wait for an answer if it was waited for.
	static std::string failureOf(const Sender &sender, const std::shared_ptr<Task> &task)
	{
		Task::startTask(task);
		EXPECT_TRUE(sender.runUntil([&] { return task->isTaskCompleted(); }));
		EXPECT_FALSE(task->isSuccess());
		return task->fErrorNote;
	}
	unsigned start(const std::string &name) const
	{
		const unsigned processId = Platform::launchProcess({morvane(), "-n", name, "-s"});
		EXPECT_TRUE(waitUntil([&] { return hasPipe(name) && published(name).processId == processId; }));
		return processId;
	}
};

TEST_F(SiblingFaultProcessTest, WhoeverWaitsForOneThatCantBeReachedLearnsItAtOnce)
{
	configure({{"d", {fPipeFolder + "nothing"}}});
	constexpr int64_t TIME = TIME_LIMIT_MICROSECONDS;
	const std::string reason = "cannot be reached: mrv:///d/default/0";
	for (const char *const name : {"main", "a"}) // the second one hears it from the main coordinator
	{
		SCOPED_TRACE(name);
		{
			const Sender sender(name);
			std::string tail;
			const auto target = Address_abstract::factoryFromURL("mrv:///d/default/0", tail);
			EXPECT_EQ(failureOf(sender, RunRemoteScriptTask::factory(target, "1", TIME, OpCode::EVAL)), reason);
			EXPECT_EQ(failureOf(sender, SendDataToRemoteTask::factory(target, "id", "5", TIME)), reason);
		}
		CoordinatorStart::release();
		takeLogLines();
	}
}

TEST_F(SiblingFaultProcessTest, AMessageOutlivesAReceiverThatDiesInTheMiddleOfIt)
{
	const Sender main("main");
	const unsigned first = startHelper({"stall", "b"});
	ASSERT_TRUE(main.runUntil([&] { return hasPipe("b"); }));
	const std::string large(3 << 20, 'x');
	main.ping("b", large);
	const auto isSending = []
	{
		const auto sibling = SiblingCoordinator::find(PREFIX + "b");
		return sibling && sibling->getState() == SiblingState::SENDING;
	};
	ASSERT_TRUE(main.runUntil(isSending));
	killProcess(first);
	ASSERT_TRUE(main.waitForReplies(1));
	EXPECT_EQ(main.service->received[0]->getPayload(), large);
	EXPECT_NE(published("b").processId, first);
	takeLogLines();
}

TEST_F(SiblingFaultProcessTest, ASenderThatDiesInTheMiddleOfAMessageHoldsNobodyUp)
{
	const Sender main("main");
	runPasses(3);
	const unsigned half = startHelper({"half", fPipeFolder + PREFIX + "main"});
	EXPECT_TRUE(main.runUntil([&] { return !Platform::isProcessRunning(half); }));
	EXPECT_TRUE(main.isAnswered("b"));
}

TEST_F(SiblingFaultProcessTest, OneThatComesBackUnderItsNameIsTheOneThatAnswers)
{
	const Sender main("main");
	killProcess(start("stranger"));
	const unsigned second = start("stranger"); // takes the place of the files that the first one has left
	EXPECT_TRUE(main.isAnswered("stranger"));
	killProcess(second);
	start("stranger");
	EXPECT_TRUE(main.isAnswered("stranger")); // the way to the second one was open
	takeLogLines();
}

TEST_F(SiblingFaultProcessTest, FilesOfTheDeadMisleadNobody)
{
	const std::string session = fSessionFolder + PREFIX;
	std::string refusal;
	const std::string nowhere = Platform::messagePipes().rawPath(fPipeFolder + "nobody", refusal);
	const std::string proxy = "[NamedPipe]\nnamedPipeProxyPath=\"" + Utils::encodeString(nowhere) + "\"\nprocessId=\"1\"\n";
	const std::string own = std::to_string(Platform::currentProcessId());
	for (const char *const name : {"b", "c"})
	{
		EXPECT_TRUE(Dirs::replaceFile(fPipeFolder + PREFIX + name, proxy, Dirs::getTmpPath()));
	}
	EXPECT_TRUE(Dirs::replaceFile(session + "b.pid", std::to_string(DEAD_PROCESS)));
	// A process that lives, but isn't the one that published.
	const std::string machine = Platform::processStartToken(Platform::currentProcessId());
	EXPECT_TRUE(Dirs::replaceFile(session + "c.session",
	    "[session]\nprocessId=\"" + own + "\"\nstartToken=\"" + machine.substr(0, machine.find('/')) + "/another/1\"\n"));
	EXPECT_TRUE(Dirs::replaceFile(session + "c.pid", own));
	const Sender main("main");
	EXPECT_TRUE(main.isAnswered("b"));
	EXPECT_TRUE(main.isAnswered("c"));
	takeLogLines(); // how often the old addresses were tried meanwhile depends on how fast the new processes come up
}

TEST_F(SiblingFaultProcessTest, MainComesBackUnderTheOthers)
{
	const Sender sender("a");
	EXPECT_TRUE(sender.isAnswered("c"));
	const unsigned firstMain = published("main").processId;
	const unsigned other = published("c").processId;
	killProcess(firstMain);
	EXPECT_TRUE(sender.isAnswered("c"));
	EXPECT_NE(published("main").processId, firstMain);
	EXPECT_EQ(published("c").processId, other);
	takeLogLines();
}

TEST_F(SiblingFaultProcessTest, WhatWasSentBeforeTheEndArrives)
{
	constexpr std::size_t COUNT = 200;
	const Sender main("main");
	const unsigned teller = startHelper({"tell", "mrv:///main/sender/0", std::to_string(COUNT)});
	ASSERT_TRUE(main.waitForReplies(COUNT));
	EXPECT_TRUE(main.runUntil([&] { return !Platform::isProcessRunning(teller); }));
	EXPECT_FALSE(hasPipe("p" + std::to_string(teller)));
	EXPECT_EQ(main.service->received.back()->getPayload(), std::to_string(COUNT - 1));
}

TEST_F(SiblingFaultProcessTest, AFabricOfManyIsLaunchedAndAnswers)
{
	const std::size_t count = IS_SANITIZED || Platform::pathSeparator() == '\\' ? 8 : 50;
	std::vector<std::pair<std::string, std::vector<std::string>>> commands;
	for (std::size_t i = 0; i < count; ++i)
	{
		const std::string name = "n" + std::to_string(i);
		commands.push_back({name, {morvane(), "-n", name, "-s"}});
	}
	configure(commands);
	const Sender main("main");
	for (int round = 0; round < 2; ++round)
	{
		main.service->received.clear();
		for (const auto &[name, command] : commands)
		{
			main.ping(name, name);
		}
		EXPECT_TRUE(main.waitForReplies(count));
		std::vector<std::string> answered;
		for (const auto &reply : main.service->received)
		{
			answered.push_back(reply->getPayload());
		}
		std::sort(answered.begin(), answered.end());
		EXPECT_EQ(std::unique(answered.begin(), answered.end()) - answered.begin(), static_cast<std::ptrdiff_t>(count));
	}
}
}
}
