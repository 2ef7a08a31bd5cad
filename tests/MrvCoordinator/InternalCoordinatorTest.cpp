#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "support/CoordinatorStart.h"
#include "support/HelperProcess.h"
#include "support/MemoryConsole.h"
#include "support/ScriptRun.h"
#include "support/TestLog.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Test::CoordinatorStart;
using Test::logLines;
using Test::MemoryConsole;
using Test::readWholeFile;
using Test::startHelper;
using Test::takeLogLines;
using Strings = std::vector<std::string>;

const std::string OWN_ID = std::to_string(Platform::currentProcessId());

std::string idFile(const std::string &name)
{
	return InternalCoordinator::getSessionDataFolderPath() + "net.morvane.coordinator." + name + ".pid";
}

void writeFile(const std::string &path, const std::string &text)
{
	std::FILE *file = Platform::openFile(path, Platform::OpenMode::WRITE);
	ASSERT_TRUE(file);
	std::fwrite(text.data(), 1, text.size(), file);
	std::fclose(file);
}

TEST(InternalCoordinatorTest, SwitchesSetSettings)
{
	const CoordinatorStart coordinator({"-e", "4", "-o", "5", "-w", "9223372036854775807", "-n", "first", "-n", "main", "-N", "short", "-t",
	    "x", "-z", "-s", "-f", "-", "-p", "", "launched"});
	ASSERT_TRUE(coordinator.isStarted());
	const CoordinatorSettings &settings = InternalCoordinator::getSettings();
	EXPECT_EQ(settings.consoleEcho, 0);
	EXPECT_EQ(settings.remoteTimeoutMicroseconds, 5000);
	EXPECT_EQ(settings.delayQuitMicroseconds, INT64_MAX);
	EXPECT_EQ(settings.coordinatorName, "net.morvane.coordinator.main");
	EXPECT_TRUE(InternalCoordinator::isMainCoordinator());
	EXPECT_EQ(settings.coordinatorShortName, "net.morvane.coordinator.short");
	EXPECT_FALSE(settings.runTests);
	EXPECT_TRUE(settings.isServer);
	EXPECT_EQ(settings.scriptFile, "-");
	EXPECT_EQ(settings.prompt, "");
	EXPECT_EQ(InternalCoordinator::getLaunchArgs(), Strings{"launched"});
	const Value *arguments = InternalCoordinator::getCoordinatorScope()->getEnvironment().findOwn(Name("arguments"));
	ASSERT_TRUE(arguments);
	EXPECT_EQ(arguments->array()->fItems.size(), 1U);
}

TEST(InternalCoordinatorTest, AWrongCommandLineRefusesTheStartAndLeavesNothingBehind)
{
	const Strings wrong[] = {{"-n"}, {"-D", "d", "-e", "x"}, {"-v", "-w", "-5"}, {"-p", "a", "-p", "b"}, {"-n", "no good"}};
	MemoryConsole console;
	for (const Strings &switches : wrong)
	{
		SCOPED_TRACE(testing::PrintToString(switches));
		{
			const CoordinatorStart refused(switches);
			EXPECT_FALSE(refused.isStarted());
			EXPECT_FALSE(logLines().empty());
			takeLogLines();
		}
		const CoordinatorStart next;
		EXPECT_TRUE(next.isStarted());
		EXPECT_EQ(InternalCoordinator::getSettings().settingD, "");
		EXPECT_EQ(InternalCoordinator::getSettings().coordinatorName, "net.morvane.coordinator.p" + OWN_ID);
		EXPECT_FALSE(InternalCoordinator::isTerminating());
		EXPECT_TRUE(InternalCoordinator::instance()->getMainTask());
	}
}

TEST(InternalCoordinatorTest, TheVersionIsWrittenAndNothingElseIsStarted)
{
	MemoryConsole console;
	const CoordinatorStart coordinator({"-v", "-n", "version"});
	EXPECT_TRUE(coordinator.isStarted());
	Platform::console().flush();
	EXPECT_EQ(console.output, InternalCoordinator::getVersion() + "\n");
	EXPECT_FALSE(InternalCoordinator::instance()->getMainTask());
	EXPECT_TRUE(InternalCoordinator::isTerminating());
	EXPECT_FALSE(Dirs::exists(idFile("version")));
}

TEST(InternalCoordinatorTest, NameAndKindAreFixedByTheStart)
{
	EXPECT_TRUE(InternalCoordinator::setName("before"));
	EXPECT_TRUE(InternalCoordinator::setIsEmbedded(true));
	ASSERT_TRUE(InternalCoordinator::init(0, nullptr));
	EXPECT_FALSE(InternalCoordinator::setName("after"));
	EXPECT_LOG("the name can't be changed any more");
	EXPECT_FALSE(InternalCoordinator::setIsEmbedded(false));
	EXPECT_LOG("too late");
	EXPECT_EQ(InternalCoordinator::getSettings().coordinatorName, "net.morvane.coordinator.before");
	EXPECT_TRUE(InternalCoordinator::isEmbedded());
	CoordinatorStart::release();
	EXPECT_FALSE(InternalCoordinator::isEmbedded());
	EXPECT_TRUE(InternalCoordinator::setName(""));
}

TEST(InternalCoordinatorTest, OneThatMustNotEndItselfGoesOn)
{
	const CoordinatorStart coordinator;
	ASSERT_TRUE(coordinator.isStarted());
	InternalCoordinator::setCanTerminate(false);
	EXPECT_FALSE(InternalCoordinator::terminate());
	EXPECT_LOG("cannot terminate");
	EXPECT_FALSE(InternalCoordinator::isTerminating());
	InternalCoordinator::instance()->getMainTask()->exit();
	EXPECT_LOG("cannot terminate");
	EXPECT_TRUE(InternalCoordinator::runEventLoop(1000));
	EXPECT_FALSE(InternalCoordinator::instance()->getMainTask()->isTaskCompleted());

	InternalCoordinator::setCanTerminate(true);
	EXPECT_TRUE(InternalCoordinator::terminate());
	EXPECT_TRUE(InternalCoordinator::isTerminating());
	EXPECT_TRUE(InternalCoordinator::runEventLoop(-1));
	EXPECT_TRUE(InternalCoordinator::instance()->getMainTask()->isTaskCompleted());
}

TEST(InternalCoordinatorTest, TheProcessIdIsPublishedWhileItRuns)
{
	const std::string path = idFile("published");
	EXPECT_EQ(InternalCoordinator::getPublishedProcessId("net.morvane.coordinator.published"), 0);
	// Of a run of our own that ended badly, of a process that is gone, and no number at all.
	for (const std::string &stale : {OWN_ID, std::string("2147483632"), std::string("99999999999999999999999999999999"), std::string("?")})
	{
		SCOPED_TRACE(stale);
		writeFile(path, stale);
		const CoordinatorStart coordinator({"-n", "published"});
		EXPECT_TRUE(coordinator.isStarted());
		EXPECT_EQ(readWholeFile(path), OWN_ID);
		EXPECT_EQ(InternalCoordinator::getPublishedProcessId("net.morvane.coordinator.published"), Platform::currentProcessId());
		CoordinatorStart::release();
		EXPECT_FALSE(Dirs::exists(path));
	}
	EXPECT_FALSE(Dirs::exists(path + ".new"));
}

TEST(InternalCoordinatorTest, AFileThatAnotherHasTakenOverStays)
{
	const std::string path = idFile("main");
	const std::string life = Dirs::getTmpPath() + "life";
	writeFile(life, "");
	const std::string other = std::to_string(startHelper({"wait", life}));
	{
		const CoordinatorStart coordinator({"-n", "main"});
		ASSERT_TRUE(coordinator.isStarted());
		EXPECT_TRUE(InternalCoordinator::runEventLoop(0));
		EXPECT_FALSE(InternalCoordinator::isTerminating());
		InternalCoordinator::changeSettings().scanActiveSiblingsIntervalMicroseconds = 0;
		writeFile(path, "2147483632"); // of a dead one: nobody has taken over
		EXPECT_TRUE(InternalCoordinator::instance()->runEventLoop(10'000'000, [&] { return readWholeFile(path) == OWN_ID; }));
		EXPECT_FALSE(InternalCoordinator::isTerminating());
		writeFile(path, other);
		EXPECT_TRUE(InternalCoordinator::instance()->runEventLoop(10'000'000, [] { return InternalCoordinator::isTerminating(); }));
		EXPECT_TRUE(InternalCoordinator::isTerminating());
		EXPECT_LOG("published pid has changed; another coordinator node has taken over. Terminating");
	}
	EXPECT_EQ(readWholeFile(path), other);
	Platform::removeFile(path);
	Platform::removeFile(life);
}

TEST(InternalCoordinatorTest, LifeMayBeginAgain)
{
	{
		const CoordinatorStart refused({"-n"}); // there is a coordinator, but nothing to run
		takeLogLines();
		EXPECT_TRUE(InternalCoordinator::runEventLoop(-1));
		EXPECT_TRUE(InternalCoordinator::runEventLoop(1'000'000));
	}
	for (int life = 0; life < 3; ++life)
	{
		const CoordinatorStart coordinator({"-n", "again", "-i"});
		ASSERT_TRUE(coordinator.isStarted());
		EXPECT_TRUE(InternalCoordinator::runEventLoopUntilNoMoreSubTasks(1000));
		EXPECT_EQ(InternalCoordinator::getLaunchArgs(), Strings{});
		EXPECT_TRUE(InternalCoordinator::getSettings().isInteractive);
		Value &left = InternalCoordinator::getCoordinatorScope()->getEnvironment().create(Name("left"));
		EXPECT_EQ(left.type(), OMType::Undefined);
		left = Value::integer(life);
		if (life != 1) // with and without an orderly end
		{
			EXPECT_TRUE(InternalCoordinator::terminate());
			EXPECT_TRUE(InternalCoordinator::runEventLoop(-1));
		}
		CoordinatorStart::release();
		CoordinatorStart::release(); // once more does nothing
		EXPECT_FALSE(InternalCoordinator::getSettings().isInteractive);
	}
}

TEST(InternalCoordinatorTest, ReleaseTakesApartWhatHoldsItself)
{
	Value map = Value::emptyMap();
	{
		const CoordinatorStart coordinator;
		ASSERT_TRUE(coordinator.isStarted());
		map.map()->set(Name("self"), map);
		InternalCoordinator::getCoordinatorScope()->getEnvironment().create(Name("map")) = map;
	}
	EXPECT_EQ(map.map()->size(), 0U);
}
}
}
