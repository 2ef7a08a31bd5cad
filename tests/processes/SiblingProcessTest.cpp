// Coordinators in processes of their own: this one and others, over real pipes.
#include "processes/SiblingProcessFixture.h"

#include "MrvCoordinator/MrvSiblingCoordinator.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "support/HelperProcess.h"
#include "support/TestLog.h"

namespace Mrv::Test
{
namespace
{
TEST_F(SiblingProcessTest, OneThatRunsIsFoundByItsPipe)
{
	ASSERT_NE(Platform::launchProcess({morvane(), "-n", "stranger", "-s"}), 0U);
	ASSERT_TRUE(waitUntil([&] { return hasPipe("stranger"); }));
	const Sender main("main");
	EXPECT_TRUE(main.isAnswered("stranger"));
	const std::string large(10 << 20, 'x');
	EXPECT_TRUE(main.isAnswered("stranger", large));
	for (int i = 0; i < 1000; ++i)
	{
		main.ping("stranger", std::to_string(i));
	}
	main.service->received.clear();
	ASSERT_TRUE(main.waitForReplies(1000));
	for (std::size_t i = 0; i < 1000; ++i)
	{
		EXPECT_EQ(main.service->received[i]->getPayload(), std::to_string(i));
	}
}

TEST_F(SiblingProcessTest, OneThatIsConfiguredIsLaunchedAndReachedAgainAfterItsEnd)
{
	const Sender main("main");
	EXPECT_TRUE(main.isAnswered("b"));
	const unsigned first = published("b").processId;
	EXPECT_TRUE(published("b").isAlive());
	SiblingCoordinator::find(PREFIX + "b")->terminate();
	EXPECT_TRUE(main.runUntil([&] { return !published("b").isPublished() && !hasPipe("b"); }));
	EXPECT_TRUE(main.isAnswered("b"));
	EXPECT_NE(published("b").processId, first);
	takeLogLines(); // whether the way to the first one was still open depends
}

TEST_F(SiblingProcessTest, OthersGoThroughMainWhichComesByItself)
{
	{
		const Sender sender("a");
		EXPECT_TRUE(sender.isAnswered("main"));
		EXPECT_TRUE(sender.isAnswered("c")); // the answer comes by the GUID of this process's service
		EXPECT_TRUE(published("main").isAlive());
		EXPECT_TRUE(published("c").isAlive());
	}
	EXPECT_FALSE(published("a").isPublished());
	EXPECT_FALSE(hasPipe("a"));
}

TEST_F(SiblingProcessTest, OneWithoutANameIsSeenFromItsFirstMessageOn)
{
	const Sender sender("");
	const std::string name = "p" + std::to_string(Platform::currentProcessId());
	runPasses(3);
	EXPECT_FALSE(published(name).isPublished());
	EXPECT_FALSE(hasPipe(name));
	EXPECT_TRUE(sender.isAnswered("b"));
	EXPECT_TRUE(published(name).isAlive());
	EXPECT_TRUE(hasPipe(name));
}

TEST_F(SiblingProcessTest, ManyWritersAtOnceAreAllAnswered)
{
	constexpr int WRITERS = 5;
	const Sender main("main");
	const std::string folder = Dirs::getTmpPath();
	for (int i = 0; i < WRITERS; ++i)
	{
		startHelper({"ping", folder + "pings" + std::to_string(i), "main", "200", "5000"});
	}
	for (int i = 0; i < WRITERS; ++i)
	{
		const std::string path = folder + "pings" + std::to_string(i);
		std::string text;
		EXPECT_TRUE(main.runUntil([&] { return Dirs::readFile(path, text, 100); }));
		EXPECT_EQ(text, "200");
		Platform::removeFile(path);
	}
}

TEST_F(SiblingProcessTest, OneThatCrashedIsReplacedWhateverItLeft)
{
	configure({{"b", helperArguments({"crash", "b", "2"})}});
	const Sender main("main");
	EXPECT_TRUE(main.isAnswered("b"));
	const PublishedProcess::Publication crashed = published("b");
	main.ping("b");
	EXPECT_TRUE(main.runUntil([&] { return !Platform::isProcessRunning(crashed.processId); }));
	// Its files lie there still, or the next one's do.
	EXPECT_TRUE(main.isAnswered("b"));
	EXPECT_NE(published("b").guid, crashed.guid);
	main.ping("b"); // which ends it
	EXPECT_TRUE(main.runUntil([&] { return !published("b").isAlive(); }));
	takeLogLines();
}

TEST_F(SiblingProcessTest, ANameInUseIsRefusedAndItsOwnerStays)
{
	ASSERT_NE(Platform::launchProcess({morvane(), "-n", "owner", "-s"}), 0U);
	ASSERT_TRUE(waitUntil([&] { return hasPipe("owner"); }));
	const PublishedProcess::Publication owner = published("owner");
	// As a coordinator launches: what nobody sees on its standard error goes to a file.
	Platform::setEnvironmentVariable(InternalCoordinator::LAUNCHED_VARIABLE, "tester");
	const unsigned second = Platform::launchProcess({morvane(), "-n", "owner", "-s"});
	Platform::unsetEnvironmentVariable(InternalCoordinator::LAUNCHED_VARIABLE);
	ASSERT_NE(second, 0U);
	EXPECT_TRUE(waitUntil([&] { return !Platform::isProcessRunning(second); }));
	EXPECT_EQ(published("owner").guid, owner.guid);
	std::string log;
	EXPECT_TRUE(Dirs::readFile(SiblingCoordinator::getLaunchLogPath(PREFIX + "owner"), log, 100'000));
	EXPECT_NE(log.find("processId == 0 || ! Process::isRunning(processId)"), std::string::npos) << log;
	Platform::removeFile(SiblingCoordinator::getLaunchLogPath(PREFIX + "owner"));
	const Sender main("main");
	EXPECT_TRUE(main.isAnswered("owner"));
}

TEST_F(SiblingProcessTest, OneThatCantBeLaunchedIsGivenUp)
{
	configure({{"b", {morvane(), "--version"}}, {"d", {fPipeFolder + "nothing"}}});
	const Sender main("main");
	main.ping("d");
	main.ping("b");
	const auto isGivenUp = [](const std::string &name)
	{
		const auto sibling = SiblingCoordinator::find(PREFIX + name);
		return sibling && sibling->getState() == SiblingState::INACTIVE && sibling->getQueueSize() == 0;
	};
	EXPECT_TRUE(main.runUntil([&] { return isGivenUp("b") && isGivenUp("d"); }));
	EXPECT_LOG("Dirs::fileExists(processPath)");
	EXPECT_LOG("switch to SiblingState::INACTIVE: net.morvane.coordinator.d. cannot launch");
	EXPECT_LOG("switch to SiblingState::INACTIVE: net.morvane.coordinator.b. Clearing queue because no launchArgs or too many tries");
	// It comes up without our doing.
	ASSERT_NE(Platform::launchProcess({morvane(), "-n", "b", "-s"}), 0U);
	EXPECT_TRUE(main.runUntil([&] { return SiblingCoordinator::find(PREFIX + "b")->getState() == SiblingState::RUNNING; }));
	EXPECT_TRUE(main.isAnswered("b"));
}

TEST_F(SiblingProcessTest, TheListTellsWhoIsAlive)
{
	EXPECT_TRUE(Dirs::replaceFile(fSessionFolder + PREFIX + "dead.pid", "4000000"));
	const Sender main("main");
	EXPECT_TRUE(main.isAnswered("b"));
	const std::string list = Fabric::list();
	const auto lineOf = [&](const std::string &name, const std::string &rest)
	{ return list.find(PREFIX + name + std::string(5 - name.size(), ' ')) != std::string::npos && list.find(rest) != std::string::npos; };
	EXPECT_TRUE(lineOf("b", std::to_string(published("b").processId) + ' ')) << list;
	EXPECT_TRUE(lineOf("dead", "4000000  no ")) << list;
	EXPECT_TRUE(lineOf("main", " yes ")) << list;
	EXPECT_EQ(Fabric::stop({"dead"}), 1);
	Platform::removeFile(fSessionFolder + PREFIX + "dead.pid");
}
}
}
