// Processes that are started, and what they publish.
#include "MrvPipes/MrvProcess.h"

#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"
#include "support/HelperProcess.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Test::helperArguments;
using Strings = std::vector<std::string>;

class ProcessControlTest : public testing::Test
{
protected:
	ProcessControlTest() : fFolder(Dirs::getTmpPath() + "process tests" + Platform::pathSeparator())
	{
		Dirs::mkDir(fFolder, DirRecurse::RECURSE);
	}
	~ProcessControlTest() override { Dirs::rmDir(fFolder, DirRecurse::RECURSE); }

	template <typename Condition>
	static bool waitUntil(Condition isReached)
	{
		const std::int64_t end = Platform::steadyNanoseconds() + 60'000'000'000;
		while (!isReached() && Platform::steadyNanoseconds() < end)
		{
			Platform::sleepUntil(Platform::steadyNanoseconds() + 5'000'000);
		}
		return isReached();
	}

	std::string read(const std::string &name) const
	{
		std::string text;
		Dirs::readFile(fFolder + name, text, 100'000);
		return text;
	}

	std::string fFolder;
};

TEST_F(ProcessControlTest, ArgumentsArriveAsTheyAre)
{
	const Strings arguments{"plain", "with blanks in it", "", "\"quoted\"", "a\\", "\\\\share\\", "b\\\"c", "\\\\\"", "tab\there",
	    "ümläut 日本", "$HOME %PATH% *.* ; | & > < ^ ' `", "-n"};
	Strings launchArgs = helperArguments({"arguments", fFolder + "arguments"});
	launchArgs.insert(launchArgs.end(), arguments.begin(), arguments.end());
	std::string expected;
	for (const std::string &argument : arguments)
	{
		expected += argument + '\n';
	}
	const std::uint32_t processId = Process::launchProcess(launchArgs, {});
	ASSERT_NE(processId, 0U);
	EXPECT_TRUE(waitUntil([&] { return Dirs::fileExists(fFolder + "arguments"); }));
	EXPECT_EQ(read("arguments"), expected);
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(processId); }));
}

TEST_F(ProcessControlTest, OneProcessForTheSameArguments)
{
	ASSERT_TRUE(Dirs::replaceFile(fFolder + "wait", ""));
	const Strings launchArgs = helperArguments({"wait", fFolder + "wait"});
	EXPECT_EQ(Process::getProcessId(launchArgs), 0U);
	const std::uint32_t processId = Process::launchProcess(launchArgs, {});
	ASSERT_NE(processId, 0U);
	EXPECT_TRUE(Process::isRunning(processId));
	EXPECT_EQ(Process::launchProcess(launchArgs, {}), processId);
	EXPECT_EQ(Process::getProcessId(launchArgs), processId);
	Strings others = launchArgs;
	others.emplace_back("more");
	EXPECT_EQ(Process::getProcessId(others), 0U);
	EXPECT_NE(Process::getProcessId(Dirs::getAppName()), 0U);

	Platform::removeFile(fFolder + "wait");
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(processId); }));
	EXPECT_EQ(Process::getProcessId(launchArgs), 0U);
	const std::uint32_t next = Process::launchProcess(launchArgs, {});
	EXPECT_NE(next, 0U);
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(next); }));
}

TEST_F(ProcessControlTest, WhatCannotBeLaunchedTouchesNothing)
{
	const std::string pidFile = fFolder + "name.pid";
	ASSERT_TRUE(Dirs::replaceFile(pidFile, "4000000001"));
	EXPECT_EQ(Process::launchProcess({}, pidFile), 0U);
	EXPECT_LOG("SANITY_CHECK failed: '! launchArgs.empty()' evaluates to false");
	EXPECT_EQ(Process::launchProcess({fFolder + "nothing"}, pidFile), 0U);
	EXPECT_LOG("SANITY_CHECK failed: 'Dirs::fileExists(processPath)' evaluates to false");
	EXPECT_TRUE(Dirs::fileExists(pidFile));
	EXPECT_EQ(Process::launchProcess({pidFile}, {}), 0U);
	EXPECT_LOG("SANITY_CHECK failed: 'createProcessResult' evaluates to false");
	EXPECT_EQ(Process::getProcessId(Strings()), 0U);
	EXPECT_LOG("SANITY_CHECK failed: 'launchArgs.size() > 0' evaluates to false");
	EXPECT_EQ(Process::getProcessId(std::string("no such program")), 0U);
}

TEST_F(ProcessControlTest, ALaunchTakesTheEvidenceOfTheDeadAway)
{
	const PublishedProcess published(fFolder, "name");
	const Strings launchArgs = helperArguments({"wait", fFolder + "nothing"});
	ASSERT_TRUE(Dirs::replaceFile(published.getPidFilePath(), "4000000001"));
	const std::uint32_t first = Process::launchProcess(launchArgs, published.getPidFilePath());
	EXPECT_FALSE(Dirs::fileExists(published.getPidFilePath()));
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(first); }));

	// That of a living one stays.
	EXPECT_TRUE(published.publish("guid"));
	const std::uint32_t second = Process::launchProcess(launchArgs, published.getPidFilePath());
	EXPECT_TRUE(Dirs::fileExists(published.getPidFilePath()));
	EXPECT_TRUE(waitUntil([&] { return !Process::isRunning(second); }));
}

TEST_F(ProcessControlTest, StartTokensTellProcessesOfOneIdApart)
{
	const std::uint32_t own = Platform::currentProcessId();
	const std::string token = Platform::processStartToken(own);
	EXPECT_EQ(token, Platform::processStartToken(own));
	EXPECT_EQ(Platform::machineOfStartToken(token), Platform::machineId());
	EXPECT_EQ(token.find_first_of(" \n"), std::string::npos);
	EXPECT_EQ(Platform::processStartToken(4'000'000'001), "");
	EXPECT_EQ(Platform::machineOfStartToken("none"), "");

	EXPECT_TRUE(Process::isRunning(own, token));
	EXPECT_TRUE(Process::isRunning(own, ""));
	EXPECT_FALSE(Process::isRunning(own, token + '1'));
	EXPECT_FALSE(Process::isRunning(4'000'000'001, token));
	EXPECT_FALSE(Process::isRunning(0));
}

TEST_F(ProcessControlTest, PublishingAProcess)
{
	const PublishedProcess published(fFolder, "name");
	const std::string own = std::to_string(Platform::currentProcessId());
	EXPECT_EQ(published.findRunning(), 0U);
	EXPECT_TRUE(published.publish("the guid"));
	EXPECT_EQ(read("name.pid"), own);
	EXPECT_EQ(published.findRunning(), Platform::currentProcessId());
	EXPECT_EQ(published.read().guid, "the guid");
	EXPECT_EQ(published.read().startToken, Platform::processStartToken(Platform::currentProcessId()));
	EXPECT_TRUE(published.withdraw());
	EXPECT_FALSE(Dirs::fileExists(fFolder + "name.pid"));
	EXPECT_FALSE(Dirs::fileExists(fFolder + "name.session"));
	EXPECT_TRUE(published.withdraw());
	EXPECT_FALSE(PublishedProcess(fFolder + "nothing" + Platform::pathSeparator(), "name").publish("g"));
	EXPECT_LOG("cannot publish the process");
}

TEST_F(ProcessControlTest, WhatOthersHavePublished)
{
	const PublishedProcess published(fFolder, "name");
	const std::string own = std::to_string(Platform::currentProcessId());
	const std::string token = Platform::processStartToken(Platform::currentProcessId());
	const auto session = [](const std::string &processId, const std::string &startToken)
	{ return "[session]\nprocessId=" + processId + "\nstartToken=\"" + startToken + "\"\n"; };
	const struct
	{
		std::string pidText;
		std::string sessionText;
		bool isAlive;
		bool staysThere;
	} cases[] = {
	    {own + "\n", "", true, true},                        // without a session it is believed
	    {own, session(own, token), true, true},              //
	    {own, session(own, token + "9"), false, false},      // the id was given out again
	    {own, session("1" + own, token + "9"), true, true},  // an earlier run's session
	    {own, session(own, "elsewhere/x/1"), false, true},   // another machine's, never removed
	    {own, session(own, "garbage"), true, true},          // no token that can be read
	    {own, std::string(1000, '\x01'), true, true},        //
	    {"4000000001", "", false, false},                    // dead
	    {"0", "", false, true}, {"", "", false, true},       // nothing that anybody published
	    {"-1", "", false, true}, {"12 34", "", false, true}, //
	    {"99999999999999999999999999", "", false, true},     //
	    {own + std::string(1000, ' '), "", false, true},     //
	};
	for (const auto &[pidText, sessionText, isAlive, staysThere] : cases)
	{
		SCOPED_TRACE(pidText.substr(0, 40) + " / " + sessionText.substr(0, 60));
		ASSERT_TRUE(Dirs::replaceFile(fFolder + "name.pid", pidText));
		ASSERT_TRUE(Dirs::replaceFile(fFolder + "name.session", sessionText));
		EXPECT_EQ(published.read().isAlive(), isAlive);
		EXPECT_EQ(published.findRunning(), isAlive ? Platform::currentProcessId() : 0U);
		EXPECT_EQ(Dirs::fileExists(fFolder + "name.pid"), staysThere);
	}
	// One's own leaving takes nothing of a successor's along.
	ASSERT_TRUE(Dirs::replaceFile(fFolder + "name.pid", "4000000001"));
	EXPECT_TRUE(published.withdraw());
	EXPECT_TRUE(Dirs::fileExists(fFolder + "name.pid"));
}
}
}
