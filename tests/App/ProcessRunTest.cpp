#include "MrvProcessRun.h"

#include "MrvCommandLine.h"
#include "support/CoordinatorStart.h"
#include "support/MemoryConsole.h"
#include "support/TestLog.h"

#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Test::CoordinatorStart;
using Test::MemoryConsole;
using Strings = std::vector<std::string>;

// A process without being one: arguments and input go in, output and the exit status come out.
class ProcessRunTest : public testing::Test
{
protected:
	ProcessRunTest() : fPath(Dirs::getTmpPath() + "script.msl") {}
	~ProcessRunTest() override { Platform::removeFile(fPath); }

	int run(const Strings &arguments)
	{
		const CommandLine line = CommandLine::split(arguments);
		EXPECT_EQ(line.error, "");
		InternalCoordinator::setLaunchArgs(line.launchArgs);
		const CoordinatorStart coordinator(line.switches);
		EXPECT_TRUE(coordinator.isStarted());
		const int status = ProcessRun(*InternalCoordinator::instance()).run();
		Test::takeLogLines(); // what scripts log is tested with the language
		return status;
	}

	int runScript(const std::string &script, Strings arguments = {})
	{
		std::FILE *file = Platform::openFile(fPath, Platform::OpenMode::WRITE);
		EXPECT_TRUE(file);
		std::fwrite(script.data(), 1, script.size(), file);
		std::fclose(file);
		arguments.insert(arguments.begin(), fPath);
		return run(arguments);
	}

	int runInput(const std::string &input, const Strings &arguments)
	{
		fConsole.input = input;
		return run(arguments);
	}

	// What a person sees who types this at a terminal; the keys that were typed are seen too.
	std::string typeIn(const std::string &keys)
	{
		fConsole.isATerminal = true;
		fConsole.output.clear();
		EXPECT_EQ(runInput(keys, {}), 0);
		EXPECT_FALSE(fConsole.isInKeyMode);
		return fConsole.output;
	}

	std::string fPath;
	MemoryConsole fConsole;
};

TEST_F(ProcessRunTest, ExitStatuses)
{
	const struct
	{
		std::string script;
		int status;
		std::string error; // on standard error, behind the file's name if it begins with a colon
	} cases[] = {
	    {"output('')", 0, ""},
	    {"", 0, ""},
	    {"0", 0, ""},
	    {"7", 0, ""},
	    {"exit(7)", 7, "morvane: the script called exit(7)\n"},
	    {"function f() { exit(255) } [f(), output('not here')]", 255, "morvane: the script called exit(255)\n"},
	    {"exit(0)", 0, ""},
	    {"exit(256)", 0, ""},
	    {"exit(-1)", 0, ""},
	    {"exit('7')", 0, ""},
	    {"exit()", 0, ""},
	    {"quit()", 0, ""},
	    {"1 + nosuch", 1, ":1:5: "},
	    {"a = 1;\n\n  b = nosuch;", 1, ":3:7: "},
	    {"1;\na = ) 3", 2, ":2:5: "},
	};
	for (const auto &[script, status, error] : cases)
	{
		SCOPED_TRACE(script);
		fConsole.errorOutput.clear();
		EXPECT_EQ(runScript(script), status);
		const std::string expected = error.starts_with(':') ? fPath + error : error;
		EXPECT_EQ(fConsole.errorOutput.substr(0, expected.size()), expected);
		EXPECT_EQ(fConsole.errorOutput.empty(), error.empty()) << fConsole.errorOutput;
	}
	EXPECT_EQ(fConsole.output, "");
}

TEST_F(ProcessRunTest, AScriptThatIsMissing)
{
	EXPECT_EQ(run({"nosuch.msl"}), 2);
	EXPECT_NE(fConsole.errorOutput.find("nosuch.msl could not be read or parsed"), std::string::npos);
}

TEST_F(ProcessRunTest, AScriptHasItsArgumentsAndStandardInput)
{
	fConsole.input = "one\ntwo\n";
	EXPECT_EQ(runScript("#!/usr/bin/env morvane\noutput(stringify(arguments) + stringify(stdIn()))", {"-v", "x"}), 0);
	EXPECT_EQ(fConsole.output.substr(0, 11), R"(["-v", "x"])");
	EXPECT_NE(fConsole.output.find("one"), std::string::npos);
}

TEST_F(ProcessRunTest, AScriptFromStandardInputIsReadToItsEndFirst)
{
	for (const Strings &arguments : {Strings{"-f", "-"}, Strings{}, Strings{"argument"}})
	{
		SCOPED_TRACE(testing::PrintToString(arguments));
		fConsole.output.clear();
		fConsole.errorOutput.clear();
		EXPECT_EQ(runInput("output('a');\n7\n", arguments), 0);
		EXPECT_EQ(fConsole.output, "a");
		EXPECT_EQ(runInput("output('b'); exit(3)", arguments), 3);
		EXPECT_EQ(fConsole.output, "ab");
		// What can't be parsed doesn't begin to run.
		EXPECT_EQ(runInput("output('c');\na = ) 3\n", arguments), 2);
		EXPECT_EQ(fConsole.output, "ab");
		EXPECT_NE(fConsole.errorOutput.find("standard input:2:5: "), std::string::npos) << fConsole.errorOutput;
		EXPECT_EQ(runInput("", arguments), 0);
	}
}

TEST_F(ProcessRunTest, StatementsFromStandardInputRunOneByOne)
{
	EXPECT_EQ(runInput("output('a');\n7\noutput('b')\n", {"-I"}), 0);
	EXPECT_EQ(fConsole.output, "ab");
	EXPECT_EQ(runInput("output('c');\n7\na = ) 3\noutput('d');\n", {"-I"}), 2);
	EXPECT_EQ(fConsole.output, "abc");
	EXPECT_NE(fConsole.errorOutput.find("standard input:3:5: "), std::string::npos) << fConsole.errorOutput;
	EXPECT_NE(fConsole.errorOutput.find("morvane: standard input could not be parsed\n"), std::string::npos);
	// An Error is told, and the next statement runs.
	fConsole.errorOutput.clear();
	EXPECT_EQ(runInput("nosuch + 1;\noutput('e');\nexit(4);\noutput('f');\n", {"-I"}), 4);
	EXPECT_EQ(fConsole.output, "abce");
	EXPECT_NE(fConsole.errorOutput.find("standard input:1:1: "), std::string::npos) << fConsole.errorOutput;
}

TEST_F(ProcessRunTest, ThePromptPrintsValues)
{
	EXPECT_EQ(typeIn("1 + 2\r"), "> 1 + 2\r\n3\n> ");
	EXPECT_EQ(typeIn("a = 4;\ra\r"), "> a = 4;\r\n> a\r\n4\n> ");
	// Several on a line, and a key that takes one back.
	EXPECT_EQ(typeIn("1; 2\r"), "> 1; 2\r\n2\n> ");
	EXPECT_EQ(typeIn("12\b3\r"), "> 12\b \b3\r\n13\n> ");
	EXPECT_EQ(fConsole.errorOutput, "");
}

TEST_F(ProcessRunTest, ThePromptSurvivesATypo)
{
	for (const std::string typo : {"a ==== 8", ")", "'open\\q", "nosuch + 1;"})
	{
		SCOPED_TRACE(typo);
		fConsole.errorOutput.clear();
		const std::string seen = typeIn(typo + "\r1 + 1\r");
		EXPECT_TRUE(seen.ends_with("> 1 + 1\r\n2\n> ")) << seen;
		EXPECT_NE(fConsole.errorOutput.find("standard input:1:"), std::string::npos) << fConsole.errorOutput;
	}
}

TEST_F(ProcessRunTest, AnOpenBracketContinuesTheStatement)
{
	EXPECT_EQ(typeIn("[1,\r2]\r"), "> [1,\r\n. 2]\r\n[1, 2]\n> ");
	EXPECT_EQ(typeIn("f = function() {\r7\r}\rf()\r").substr(0, 40), "> f = function() {\r\n. 7\r\n. }\r\n");
}

TEST_F(ProcessRunTest, ThePromptIsLeftByExit)
{
	for (const std::string leave : {"exit()", "quit()", "exit();"})
	{
		SCOPED_TRACE(leave);
		EXPECT_EQ(typeIn(leave + "\routput('not here')\r"), "> " + leave + "\r\n");
	}
	fConsole.isATerminal = true;
	EXPECT_EQ(runInput("exit(9)\r", {}), 9);
	// After a script that failed the prompt is the last job.
	fConsole.isATerminal = false;
	EXPECT_EQ(runScript("nosuch + 1"), 1);
	fConsole.input = "a\n";
	fConsole.output.clear();
	EXPECT_EQ(run({"-f", fPath, "-i", "-p", "?"}), 0);
	EXPECT_TRUE(fConsole.output.starts_with("?")) << fConsole.output;
}

TEST_F(ProcessRunTest, OutputThatFailsEndsTheRun)
{
	for (const std::string script : {"while (true) output('x\\n')", "output('x')"})
	{
		SCOPED_TRACE(script);
		{
			MemoryConsole full;
			full.outcome = Platform::WriteOutcome::FAILED;
			EXPECT_EQ(runScript(script), 1);
		}
		MemoryConsole closed;
		closed.outcome = Platform::WriteOutcome::CLOSED_PIPE;
		EXPECT_EQ(runScript(script), 0);
		EXPECT_EQ(closed.errorOutput, "");
	}
}
}
}
