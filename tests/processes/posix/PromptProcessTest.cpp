// The stand-alone process as a person meets it: on a terminal, with signals.
#include "processes/posix/TerminalProcess.h"

#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace Mrv::Test
{
namespace
{
constexpr const char *CTRL_C = "\x03";
constexpr const char *CTRL_D = "\x04";
constexpr const char *UP = "\x1b[A";

class PromptProcessTest : public testing::Test
{
protected:
	PromptProcessTest() : fPath(Dirs::getTmpPath() + "process.msl"), fHistory(Dirs::getUserDataPath() + "net.morvane/history")
	{
		Platform::removeFile(fHistory);
	}
	~PromptProcessTest() override
	{
		Platform::removeFile(fPath);
		Platform::removeFile(fHistory);
	}

	const std::string &script(const std::string &text)
	{
		std::FILE *file = Platform::openFile(fPath, Platform::OpenMode::WRITE);
		EXPECT_TRUE(file);
		std::fwrite(text.data(), 1, text.size(), file);
		std::fclose(file);
		return fPath;
	}

	std::string fPath;
	std::string fHistory;
};

TEST_F(PromptProcessTest, ALineIsEditedAndRemembered)
{
	{
		TerminalProcess process;
		ASSERT_TRUE(process.waitFor("> ")) << process.shown();
		// Left, delete, and the number anew.
		process.type("2 * 4\x1b[D\x1b[3~21\r");
		EXPECT_TRUE(process.waitFor("\r\n42\r\n> ")) << process.shown();
		process.type(std::string(UP) + "\r");
		EXPECT_TRUE(process.waitFor("\r\n42\r\n> ")) << process.shown();
		process.type("'\xe6\x97\xa5\xc3\xa4x\x7f' + 1\r");
		EXPECT_TRUE(process.waitFor("\r\n\xe6\x97\xa5\xc3\xa4"
		                            "1\r\n> "))
		    << process.shown();
		process.type(CTRL_D);
		EXPECT_EQ(process.waitForEnd(), 0);
		EXPECT_TRUE(process.hasFirstModes());
	}
	TerminalProcess process;
	ASSERT_TRUE(process.waitFor("> ")) << process.shown();
	process.type(std::string(UP) + UP + "\r");
	EXPECT_TRUE(process.waitFor("\r\n42\r\n> ")) << process.shown();
	process.type("exit(5)\r");
	EXPECT_EQ(process.waitForEnd(), 5);
	EXPECT_TRUE(process.hasFirstModes());
}

TEST_F(PromptProcessTest, CtrlCBelongsToThePrompt)
{
	TerminalProcess process;
	ASSERT_TRUE(process.waitFor("> ")) << process.shown();
	ASSERT_TRUE(process.waitForInterruptKey(false));
	process.type(std::string("nonsense(") + CTRL_C);
	EXPECT_TRUE(process.waitFor("nonsense(^C\r\r\n> ")) << process.shown(); // the terminal adds a CR of its own
	process.type("6 + 1\r");
	EXPECT_TRUE(process.waitFor("\r\n7\r\n> ")) << process.shown();
	// In an open bracket the whole statement goes.
	process.type("f = function() {\r");
	EXPECT_TRUE(process.waitFor("\r\n. ")) << process.shown();
	ASSERT_TRUE(process.waitForInterruptKey(false));
	process.type(CTRL_C);
	EXPECT_TRUE(process.waitFor("^C\r\r\n> ")) << process.shown();
	process.type("6 + 2\r");
	EXPECT_TRUE(process.waitFor("\r\n8\r\n> ")) << process.shown();
	process.type("quit()\r");
	EXPECT_EQ(process.waitForEnd(), 0);
	EXPECT_TRUE(process.hasFirstModes());
}

TEST_F(PromptProcessTest, CtrlCInterruptsWhatRuns)
{
	TerminalProcess process;
	ASSERT_TRUE(process.waitFor("> ")) << process.shown();
	for (const std::string statement : {"while (true) {}", "yield(1000000)", "eval('while (true) {}')", "while (true) yield(1)"})
	{
		SCOPED_TRACE(statement);
		process.type("{ output('runs\\n'); " + statement + " }\r");
		ASSERT_TRUE(process.waitFor("\nruns\r\n")) << process.shown();
		ASSERT_TRUE(process.waitForInterruptKey(true)) << process.shown();
		process.type(CTRL_C);
		EXPECT_TRUE(process.waitFor("interrupted\r\n> ")) << process.shown();
		process.type("3 * 3\r");
		EXPECT_TRUE(process.waitFor("\r\n9\r\n> ")) << process.shown();
		ASSERT_TRUE(process.waitForInterruptKey(false));
	}
	process.type(CTRL_D);
	EXPECT_EQ(process.waitForEnd(), 0);
	EXPECT_TRUE(process.hasFirstModes());
}

TEST_F(PromptProcessTest, ASignalAtThePromptRestoresTheTerminal)
{
	for (const int number : {SIGTERM, SIGHUP})
	{
		TerminalProcess process;
		ASSERT_TRUE(process.waitFor("> ")) << process.shown();
		ASSERT_TRUE(process.waitForInterruptKey(false));
		process.sendSignal(number);
		EXPECT_EQ(process.waitForEnd(), 0) << process.shown();
		EXPECT_TRUE(process.hasFirstModes());
	}
}

TEST_F(PromptProcessTest, ASignalThatCutsOffAScriptIsItsStatus)
{
	for (const int number : {SIGTERM, SIGINT, SIGHUP})
	{
		SCOPED_TRACE(number);
		TerminalProcess process({"-f", script("output('running\\n'); while (true) {}")});
		ASSERT_TRUE(process.waitFor("running")) << process.shown();
		process.sendSignal(number);
		EXPECT_EQ(process.waitForEnd(), 128 + number) << process.shown();
		EXPECT_NE(process.shown().find("cut off by signal " + std::to_string(number)), std::string::npos) << process.shown();
	}
}

TEST_F(PromptProcessTest, ServingGoesOnUntilASignalComes)
{
	TerminalProcess process({"-f", script("output('served\\n')"), "-s"});
	ASSERT_TRUE(process.waitFor("served")) << process.shown();
	std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the script has printed, and ends
	process.sendSignal(SIGTERM);
	EXPECT_EQ(process.waitForEnd(), 0) << process.shown();
}

TEST_F(PromptProcessTest, TheStartUpScriptRunsBeforeTheSession)
{
	TerminalProcess process({"-F", script("output('started\\n'); left = 5;"), "-i"});
	ASSERT_TRUE(process.waitFor("started\r\n> ")) << process.shown();
	process.type("left + 1\r");
	EXPECT_TRUE(process.waitFor("\r\n6\r\n> ")) << process.shown();
	process.type(CTRL_D);
	EXPECT_EQ(process.waitForEnd(), 0);
}

TEST_F(PromptProcessTest, AScriptReadsEditedLines)
{
	TerminalProcess process;
	ASSERT_TRUE(process.waitFor("> ")) << process.shown();
	process.type("'got ' + stdIn()\r");
	EXPECT_TRUE(process.waitFor("\r\n> ")) << process.shown();
	process.type("lime\x1b[D\x1b[D\x7fo\r");
	EXPECT_TRUE(process.waitFor("got lome")) << process.shown();
}
}
}
