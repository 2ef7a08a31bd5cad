// The states of a sibling, each way from one to another, with a peer that this process plays: it serves the pipe, publishes, dies, comes
// back, as the test says. Processes that live for real are in tests/processes.
#include "MrvCoordinator/MrvSiblingCoordinator.h"

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvCoordinator/MrvSiblingDirectory.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"
#include "support/CoordinatorStart.h"
#include "support/HelperProcess.h"
#include "support/TestLog.h"
#include "support/TestService.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Mrv::Test
{
namespace
{
using Strings = std::vector<std::string>;
const std::string NAME = "net.morvane.coordinator.peer";
constexpr int64_t SECOND = 1'000'000'000;

int64_t sAhead = 0; // of the system's clock
Strings sTransitions;

int64_t movedClock()
{
	return Platform::systemSteadyNanoseconds() + sAhead;
}

class SiblingCoordinatorTest : public testing::Test
{
protected:
	explicit SiblingCoordinatorTest(const std::string &ownName = "main", const std::string &command = {}) : fStart(start(ownName, command))
	{
		EXPECT_TRUE(fStart->isStarted());
		fCoordinator = InternalCoordinator::instance();
		fPipePath = InternalCoordinator::getPipeFolderPath() + NAME;
		fSibling = std::dynamic_pointer_cast<SiblingCoordinator>(SiblingCoordinator::factoryFromParentName(fCoordinator, NAME));
		InternalCoordinator::changeSettings().scanActiveSiblingsIntervalMicroseconds = 0;
		InternalCoordinator::changeSettings().interCoordinatorPipeWaitTimeMicroseconds = 0;
		sAhead = 0;
		sTransitions.clear();
		Platform::setClockSource(movedClock);
		SiblingCoordinator::setTransitionObserver([](const SiblingCoordinator &, SiblingState from, SiblingState to)
		    { sTransitions.push_back(std::string(SiblingCoordinator::getStateName(from)) + ">" + SiblingCoordinator::getStateName(to)); });
	}
	~SiblingCoordinatorTest() override
	{
		SiblingCoordinator::setTransitionObserver(nullptr);
		Platform::setClockSource(nullptr);
		const std::string session = InternalCoordinator::getSessionDataFolderPath() + NAME;
		fSibling.reset();
		fCoordinator.reset();
		fStart.reset();
		for (const std::string &path : {fPipePath, session + ".pid", session + ".session", configPath()})
		{
			Platform::removeFile(path);
		}
	}

	static std::string configPath() { return Dirs::getTmpPath() + "sibling.ini"; }
	static std::unique_ptr<CoordinatorStart> start(const std::string &ownName, const std::string &command)
	{
		EXPECT_TRUE(Dirs::replaceFile(configPath(), command.empty() ? "" : "[coordinatorMap]\n" + NAME + " = " + command + "\n"));
		return std::make_unique<CoordinatorStart>(Strings{"-n", ownName, "-c", configPath()}, OtherCoordinators::REAL);
	}

	PublishedProcess peer() const { return {InternalCoordinator::getSessionDataFolderPath(), NAME}; }
	// The peer is this very process.
	void comeUp()
	{
		EXPECT_TRUE(peer().publish("guid"));
		fReader = Pipes::openReadNamedPipe(fPipePath);
		EXPECT_NE(fReader, 0);
	}
	// A proxy file that leads nowhere, with a living process.
	void leaveProxy() const
	{
		EXPECT_TRUE(peer().publish("guid"));
		EXPECT_TRUE(Dirs::replaceFile(fPipePath, "[NamedPipe]\nnamedPipeProxyPath=\"" + Dirs::getTmpPath() + "nowhere\"\nprocessId=\"1\"\n",
		    Dirs::getParentPath(Dirs::getParentPath(fPipePath))));
	}
	void die()
	{
		if (fReader != 0)
		{
			Pipes::closeNamedPipe(fReader);
		}
		fReader = 0;
		EXPECT_TRUE(Dirs::replaceFile(peer().getPidFilePath(), "2147483632"));
	}
	void send(const std::string &payload, OpCode opCode = OpCode::PING) const
	{
		std::string tail;
		const auto address = Address_abstract::factoryFromURL("mrv:///peer/net.morvane.service.ping", tail);
		EXPECT_TRUE(fSibling->relayOutgoingMessage(
		    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(fCoordinator->getAddressObj(), address, opCode, payload)));
	}
	bool runUntil(const std::function<bool()> &isReached) const
	{
		fCoordinator->runEventLoop(10'000'000, isReached);
		return isReached();
	}
	bool runUntil(SiblingState state) const
	{
		return runUntil([&] { return fSibling->getState() == state && fSibling->getQueueSize() == 0; });
	}
	Strings received() const
	{
		Strings payloads;
		std::string line;
		bool isComplete = false;
		while (Pipes::readFromNamedPipe(line, fReader, isComplete, '\n'))
		{
			const auto message = std::dynamic_pointer_cast<IMessage>(Data_abstract::deserializeFromStr(Utils::unescapeIPC(line)));
			payloads.push_back(message ? message->getPayload() : "?");
		}
		return payloads;
	}

	std::unique_ptr<CoordinatorStart> fStart;
	std::shared_ptr<InternalCoordinator> fCoordinator;
	std::shared_ptr<SiblingCoordinator> fSibling;
	std::string fPipePath;
	int fReader = 0;
};

TEST_F(SiblingCoordinatorTest, AMessageTakesThreeStatesAndOneAfterTheOtherGoesOut)
{
	comeUp();
	send("a\n-b");
	send("");
	ASSERT_TRUE(runUntil(SiblingState::RUNNING));
	EXPECT_EQ(received(), (Strings{"a\n-b", ""}));
	EXPECT_EQ(sTransitions,
	    (Strings{"IDLE>RUNNING", "RUNNING>SENDING", "SENDING>IDLE", "IDLE>RUNNING", "RUNNING>SENDING", "SENDING>IDLE", "IDLE>RUNNING"}));
	EXPECT_TRUE(fSibling->isIdle());
}

TEST_F(SiblingCoordinatorTest, WithoutACommandItIsGivenUpUntilItComesByItself)
{
	const auto notRelayed = TestListener::attach(*fCoordinator, "messageNotRelayed");
	send("lost");
	send("lost");
	ASSERT_TRUE(runUntil(SiblingState::INACTIVE));
	EXPECT_EQ(notRelayed->payloads.size(), 2U);
	EXPECT_LOG("Cannot launch - no launchArgs: " + NAME);
	EXPECT_LOG("switch to SiblingState::INACTIVE: " + NAME + ". cannot launch");
	// Nothing tells of it, so it is forgotten; the scan of pipes finds it again.
	fSibling.reset();
	EXPECT_TRUE(runUntil([] { return !SiblingCoordinator::find(NAME); }));
	comeUp();
	EXPECT_TRUE(runUntil([] { return SiblingCoordinator::find(NAME) != nullptr; }));
	fSibling = SiblingCoordinator::find(NAME);
	ASSERT_TRUE(fSibling);
	ASSERT_TRUE(runUntil(SiblingState::RUNNING));
	send("seen");
	ASSERT_TRUE(runUntil(SiblingState::RUNNING));
	EXPECT_EQ(received(), Strings{"seen"});
}

TEST_F(SiblingCoordinatorTest, OneThatDiesIsNoticedAndItsStaleFilesGo)
{
	leaveProxy();
	ASSERT_TRUE(runUntil(SiblingState::RUNNING));
	die();
	ASSERT_TRUE(runUntil(SiblingState::IDLE));
	EXPECT_FALSE(Dirs::fileExists(fPipePath));
	EXPECT_FALSE(peer().read().isPublished());
	// Nothing is left of it, so it is forgotten in the end.
	fSibling.reset();
	EXPECT_TRUE(runUntil([] { return !SiblingCoordinator::find(NAME); }));
}

TEST_F(SiblingCoordinatorTest, FourFailedWritesEndWithANewLaunch)
{
	leaveProxy();
	send("kept");
	ASSERT_TRUE(runUntil([&] { return fSibling->getState() == SiblingState::LAUNCHED; }));
	EXPECT_LOG("fSendRetries > MAX_SEND_RETRIES");
	Strings expected{"IDLE>RUNNING"};
	for (int tries = 0; tries < 4; ++tries)
	{
		expected.insert(expected.end(), {"RUNNING>SENDING", "SENDING>RUNNING"});
	}
	expected.emplace_back("RUNNING>LAUNCHED");
	EXPECT_EQ(sTransitions, expected);
	EXPECT_EQ(fSibling->getQueueSize(), 1U);
	EXPECT_FALSE(Dirs::fileExists(fPipePath));
	comeUp();
	ASSERT_TRUE(runUntil(SiblingState::RUNNING));
	EXPECT_EQ(received(), Strings{"kept"});
	takeLogLines();
}

// One that starts again takes away what an earlier one has left before it serves the pipe.
TEST_F(SiblingCoordinatorTest, OneThatLivesMayTakeItsTimeUntilItServesItsPipe)
{
	InternalCoordinator::changeSettings().interCoordinatorPipeWaitTimeMicroseconds = 7'000'000;
	EXPECT_TRUE(peer().publish("guid"));
	send("kept");
	const auto waitBeyondTheTimeOut = [this](int64_t seconds)
	{
		ASSERT_TRUE(runUntil([&] { return fSibling->getState() == SiblingState::LAUNCHED; }));
		sAhead += seconds * SECOND;
		runPasses(3);
	};
	waitBeyondTheTimeOut(5);
	EXPECT_EQ(sTransitions, Strings{"IDLE>LAUNCHED"});
	comeUp();
	ASSERT_TRUE(runUntil(SiblingState::RUNNING));
	EXPECT_EQ(received(), Strings{"kept"});
	Pipes::closeNamedPipe(fReader);
	fReader = 0;
	send("lost");
	waitBeyondTheTimeOut(8);
	ASSERT_TRUE(runUntil(SiblingState::INACTIVE));
	takeLogLines();
}

TEST_F(SiblingCoordinatorTest, TheQueueHasALimit)
{
	const std::string large(30 << 20, 'x');
	send(large);
	send(large);
	std::string tail;
	const auto message = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
	    fCoordinator->getAddressObj(), fCoordinator->getAddressObj(), OpCode::PING, large);
	EXPECT_FALSE(fSibling->relayOutgoingMessage(message));
	EXPECT_FALSE(fSibling->relayOutgoingMessage(message));
	EXPECT_LOG("too much waits to be sent to " + NAME);
	EXPECT_EQ(fSibling->getQueueSize(), 2U);
}

TEST_F(SiblingCoordinatorTest, AtTheEndWhatWasSentBeforeGoesOutAndTheRestIsHeldBack)
{
	comeUp();
	send("before");
	InternalCoordinator::changeSettings().delayQuitMicroseconds = 3'600'000'000;
	ASSERT_TRUE(InternalCoordinator::terminate());
	ASSERT_TRUE(runUntil([&] { return fSibling->getQueueSize() == 0; }));
	send("after");
	runPasses(20);
	EXPECT_EQ(fSibling->getQueueSize(), 1U);
	EXPECT_TRUE(fSibling->isHoldingResponses());
	EXPECT_FALSE(fCoordinator->isIdle());
	EXPECT_EQ(received(), Strings{"before"});
	sAhead += 3601 * SECOND; // nobody waits longer
	EXPECT_TRUE(InternalCoordinator::runEventLoop(10'000'000));
	EXPECT_TRUE(fCoordinator->getMainTask()->isTaskCompleted());
	EXPECT_LOG("1 messages for " + NAME + " are lost at the end of this process");
}

// With a command that starts a process which ends at once.
class LaunchingSiblingTest : public SiblingCoordinatorTest
{
protected:
	LaunchingSiblingTest() : SiblingCoordinatorTest("main", command()) {}
	~LaunchingSiblingTest() override { Platform::removeFile(logPath()); }

	static std::string logPath() { return Dirs::getTmpPath() + "launched"; }
	static Strings arguments() { return helperArguments({"arguments", logPath(), "x"}); }
	static std::string command()
	{
		std::string text;
		for (const std::string &argument : arguments())
		{
			text += (text.empty() ? "" : ", ") + ('"' + Utils::encodeString(argument) + '"');
		}
		return text;
	}
	// The launched process has ended, and the time-out is over.
	void waitForFailure() const
	{
		ASSERT_TRUE(runUntil([&] { return Dirs::fileExists(logPath()) && Process::getProcessId(arguments()) == 0; }));
		Platform::removeFile(logPath());
		sAhead += 61 * SECOND;
	}
};

TEST_F(LaunchingSiblingTest, FourLaunchesWithoutAPipeAreEnough)
{
	send("request");
	for (int launch = 0; launch < 4; ++launch)
	{
		waitForFailure();
	}
	ASSERT_TRUE(runUntil(SiblingState::INACTIVE));
	EXPECT_LOG("Clearing queue because no launchArgs or too many tries");
	EXPECT_EQ(sTransitions, (Strings{"IDLE>LAUNCHED", "LAUNCHED>INACTIVE"}));
	EXPECT_FALSE(Dirs::fileExists(logPath()));
}

TEST_F(LaunchingSiblingTest, WhatIsNoRequestIsNotWorthASecondLaunch)
{
	send("text", OpCode::STD_OUT);
	waitForFailure();
	ASSERT_TRUE(runUntil(SiblingState::IDLE));
	EXPECT_EQ(sTransitions, (Strings{"IDLE>LAUNCHED", "LAUNCHED>IDLE"}));
	EXPECT_FALSE(Dirs::fileExists(logPath()));
}

TEST(SiblingDirectoryTest, MainTidiesThePipeFolder)
{
	const std::string folder = InternalCoordinator::getPipeFolderPath();
	const std::string deadOne = folder + "net.morvane.coordinator.p2147483632";
	const CoordinatorStart start({"-n", "main"}, OtherCoordinators::REAL);
	for (const std::string &path : {folder + ".lock", folder + "a b", deadOne})
	{
		EXPECT_TRUE(Dirs::replaceFile(path, "", Dirs::getTmpPath()));
	}
	SiblingDirectory directory;
	EXPECT_FALSE(directory.findSibling("net.morvane.coordinator.nobody"));
	EXPECT_LOG("failed to register sibling .lock");
	EXPECT_LOG("failed to register sibling a b");
	EXPECT_EQ(Dirs::scanDir(folder), Strings{});
	// One that has published itself is known before its pipe is there.
	const PublishedProcess starting(InternalCoordinator::getSessionDataFolderPath(), "net.morvane.coordinator.starting");
	EXPECT_TRUE(starting.publish("guid"));
	EXPECT_TRUE(directory.findSibling("net.morvane.coordinator.starting"));
	EXPECT_TRUE(starting.withdraw());
	EXPECT_TRUE(SiblingDirectory::registerSibling("net.morvane.coordinator.main"));
	EXPECT_FALSE(SiblingCoordinator::find("net.morvane.coordinator.main"));
	EXPECT_TRUE(SiblingDirectory::isTransientName("net.morvane.coordinator.p12"));
	EXPECT_FALSE(SiblingDirectory::isTransientName("net.morvane.coordinator.p"));
	EXPECT_FALSE(SiblingDirectory::isTransientName("net.morvane.coordinator.p1a"));
}
}
}
