#include "MrvProcessRun.h"

#include "MrvCommandLine.h"
#include "support/CoordinatorStart.h"
#include "support/MemoryConsole.h"
#include "support/TestLog.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <utility>

namespace Mrv
{
namespace
{
using Test::CoordinatorStart;
using Test::MemoryConsole;
using Test::takeLogLines;
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
		MemoryConsole console; // of its own, since an input that has ended stays so
		console.input = std::exchange(fInput, {});
		console.isATerminal = fIsATerminal;
		console.outcome = fOutcome;
		const CoordinatorStart coordinator(line.switches);
		EXPECT_TRUE(coordinator.isStarted());
		const int status = ProcessRun(*InternalCoordinator::instance()).run();
		CoordinatorStart::release();
		fOutput += console.output;
		fErrorOutput += console.errorOutput;
		EXPECT_FALSE(console.keyMode);
		takeLogLines(); // what scripts log is tested with the language
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
		fInput = input;
		return run(arguments);
	}

	// What a person sees who types this at a terminal; the keys that were typed are seen too.
	std::string typeIn(const std::string &keys)
	{
		fIsATerminal = true;
		fOutput.clear();
		EXPECT_EQ(runInput(keys, {}), 0);
		return fOutput;
	}

	std::string fPath;
	std::string fInput; // of the next run
	bool fIsATerminal = false;
	Platform::WriteOutcome fOutcome = Platform::WriteOutcome::WRITTEN;
	std::string fOutput; // of all runs
	std::string fErrorOutput;
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
	    {"function f() { exit(255) } x = [f(), output('not here')]", 255, "morvane: the script called exit(255)\n"},
	    {"exit(0)", 0, ""},
	    {"exit(256)", 0, ""},
	    {"exit(-1)", 0, ""},
	    {"exit('7')", 0, ""},
	    {"exit()", 0, ""},
	    {"quit()", 0, ""},
	    {"1 + nosuch", 1, ":1:3: "},
	    {"a = 1;\n\n  b = nosuch + 1;", 1, ":3:14: "},
	    {"1;\na = ) 3", 2, ":2:5: "},
	};
	for (const auto &[script, status, error] : cases)
	{
		SCOPED_TRACE(script);
		fErrorOutput.clear();
		EXPECT_EQ(runScript(script), status);
		const std::string expected = error.starts_with(':') ? fPath + error : error;
		EXPECT_EQ(fErrorOutput.substr(0, expected.size()), expected);
		EXPECT_EQ(fErrorOutput.empty(), error.empty()) << fErrorOutput;
	}
	EXPECT_EQ(fOutput, "");
}

TEST_F(ProcessRunTest, AScriptThatIsMissing)
{
	EXPECT_EQ(run({"nosuch.msl"}), 2);
	EXPECT_NE(fErrorOutput.find("nosuch.msl could not be read or parsed"), std::string::npos);
}

TEST_F(ProcessRunTest, AScriptHasItsArgumentsAndStandardInput)
{
	fInput = "one\ntwo\n";
	EXPECT_EQ(runScript("#!/usr/bin/env morvane\noutput(stringify(arguments) + stringify(stdIn()))", {"-v", "x"}), 0);
	EXPECT_EQ(fOutput.substr(0, 11), R"(["-v", "x"])");
	EXPECT_NE(fOutput.find("one"), std::string::npos);
}

// Nobody could reach it, so the process ends; that isn't the end that its script would have come to.
TEST_F(ProcessRunTest, APipeThatCannotBeOpenedIsNoStart)
{
	const std::string proxyPath = InternalCoordinator::getPipeFolderPath() + "net.morvane.coordinator.refused";
	ASSERT_TRUE(Dirs::mkDir(proxyPath, DirRecurse::RECURSE));
	EXPECT_EQ(run({"-n", "refused", "-s"}), 3);
	EXPECT_NE(fErrorOutput.find("morvane: the coordinator could not start: its pipe can't be opened\n"), std::string::npos) << fErrorOutput;
	EXPECT_EQ(runInput("while (true) { yield(1); }", {"-n", "refused"}), 3);
	Dirs::rmDir(proxyPath, DirRecurse::RECURSE);
}

TEST_F(ProcessRunTest, AScriptFromStandardInputIsReadToItsEndFirst)
{
	for (const Strings &arguments : {Strings{"-f", "-"}, Strings{}, Strings{"argument"}})
	{
		SCOPED_TRACE(testing::PrintToString(arguments));
		fOutput.clear();
		fErrorOutput.clear();
		EXPECT_EQ(runInput("output('a');\n7\n", arguments), 0);
		EXPECT_EQ(fOutput, "a");
		EXPECT_EQ(runInput("output('b'); exit(3)", arguments), 3);
		EXPECT_EQ(fOutput, "ab");
		// What can't be parsed doesn't begin to run.
		EXPECT_EQ(runInput("output('c');\na = ) 3\n", arguments), 2);
		EXPECT_EQ(fOutput, "ab");
		EXPECT_NE(fErrorOutput.find("standard input:2:5: "), std::string::npos) << fErrorOutput;
		EXPECT_EQ(runInput("", arguments), 0);
	}
}

TEST_F(ProcessRunTest, StatementsFromStandardInputRunOneByOne)
{
	EXPECT_EQ(runInput("output('a');\n7\noutput('b')\n", {"-I"}), 0);
	EXPECT_EQ(fOutput, "ab");
	EXPECT_EQ(runInput("output('c');\n7\na ==== 8\noutput('d');\n", {"-I"}), 2);
	EXPECT_EQ(fOutput, "abc");
	EXPECT_NE(fErrorOutput.find("standard input:3:"), std::string::npos) << fErrorOutput;
	EXPECT_NE(fErrorOutput.find("morvane: standard input could not be parsed\n"), std::string::npos);
	// An Error is told, and the next statement runs.
	fErrorOutput.clear();
	EXPECT_EQ(runInput("nosuch + 1;\noutput('e');\nexit(4);\noutput('f');\n", {"-I"}), 4);
	EXPECT_EQ(fOutput, "abce");
	EXPECT_NE(fErrorOutput.find("standard input:1:8: "), std::string::npos) << fErrorOutput;
}

TEST_F(ProcessRunTest, StatementsRunElsewhere)
{
	const std::string address = "mrv:////sample.test/0";
	EXPECT_EQ(runInput("output(abc + '\\n');\nexit(4);\n", {"-I", "-r", address}), 4);
	EXPECT_EQ(runInput("output(abc + '\\n')", {"-r", address}), 0);
	EXPECT_TRUE(Dirs::replaceFile(fPath, "output(abc + '\\n')"));
	EXPECT_EQ(run({"-r", address, "-f", fPath}), 0);
	EXPECT_EQ(fOutput, "sampleValue\nsampleValue\nsampleValue\n");
	EXPECT_EQ(runInput("1 + nosuch", {"-r", address}), 1);
	EXPECT_NE(fErrorOutput.find("elsewhere: eval:1:"), std::string::npos) << fErrorOutput;
	EXPECT_EQ(runInput("1 +* 2", {"-r", address}), 2);
}

TEST_F(ProcessRunTest, ThePromptPrintsValues)
{
	EXPECT_EQ(typeIn("1 + 2\r"), "> 1 + 2\r\n3\n> ");
	EXPECT_EQ(typeIn("a = 4;\ra\r"), "> a = 4;\r\n> a\r\n4\n> ");
	// Several on a line, and a key that takes one back.
	EXPECT_EQ(typeIn("1; 2\r"), "> 1; 2\r\n2\n> ");
	EXPECT_EQ(typeIn("12\b3\r"), "> 13\r\n13\n> ");
	EXPECT_EQ(fErrorOutput, "");
}

TEST_F(ProcessRunTest, ThePromptSurvivesATypo)
{
	for (const std::string typo : {"a ==== 8", "f(1 2)", "nosuch + 1;"})
	{
		SCOPED_TRACE(typo);
		fErrorOutput.clear();
		const std::string seen = typeIn(typo + "\r1 + 1\r");
		EXPECT_TRUE(seen.ends_with("> 1 + 1\r\n2\n> ")) << seen;
		EXPECT_NE(fErrorOutput.find("standard input:1:"), std::string::npos) << fErrorOutput;
	}
}

TEST_F(ProcessRunTest, AnOpenBracketContinuesTheStatement)
{
	EXPECT_EQ(typeIn("[1,\r2]\r"), "> [1,\r\n. 2]\r\n1,2\n> ");
	EXPECT_TRUE(typeIn("f = function() {\r7\r}\rf()\r").starts_with("> f = function() {\r\n. 7\r\n. }\r\n"));
	EXPECT_TRUE(fOutput.ends_with("> f()\r\n7\n> ")) << fOutput;
}

TEST_F(ProcessRunTest, ThePromptIsLeftByExit)
{
	for (const std::string leave : {"exit()", "quit()", "exit();"})
	{
		SCOPED_TRACE(leave);
		const std::string seen = typeIn(leave + "\routput('not here')\r");
		EXPECT_TRUE(seen.starts_with("> " + leave + "\r\n")) << seen;
		EXPECT_EQ(seen.find("not here"), std::string::npos) << seen;
	}
	fIsATerminal = true;
	EXPECT_EQ(runInput("exit(9)\r", {}), 9);
	// After a script that failed the prompt is the last job.
	fIsATerminal = false;
	EXPECT_EQ(runScript("nosuch + 1"), 1);
	fInput = "a\n";
	fOutput.clear();
	EXPECT_EQ(run({"-f", fPath, "-i", "-p", "?"}), 0);
	EXPECT_TRUE(fOutput.starts_with("?")) << fOutput;
}

TEST_F(ProcessRunTest, JobsOfAConfigurationFile)
{
	const std::string file = Dirs::getTmpPath() + "jobs.ini";
	const auto runOver = [&](const std::string &settings, const std::string &input, Strings switches = {})
	{
		EXPECT_TRUE(Dirs::replaceFile(file, "[config]\n" + settings));
		switches.insert(switches.begin(), {"-c", file});
		fOutput.clear();
		return runInput(input, switches);
	};
	EXPECT_TRUE(Dirs::replaceFile(fPath, "output('script'); 1"));
	EXPECT_EQ(runOver("scriptFile=" + fPath, "output('input')"), 0);
	EXPECT_EQ(fOutput, "script");
	EXPECT_EQ(runOver("readStdIn=true\nstartupScriptFile=" + fPath, "output('a');\noutput('b')\n"), 0);
	EXPECT_EQ(fOutput, "scriptab");
	EXPECT_EQ(runOver("isInteractive=true\nprompt=\"? \"", "1 + 1;\n2 + 2\n"), 0);
	EXPECT_TRUE(fOutput.starts_with("? ")) << fOutput;
	EXPECT_EQ(runOver("isServer=true\ninternalCoordinatorTimesliceMicroseconds=1\nscriptFile=-", "output('x'); quit()"), 0);
	EXPECT_EQ(fOutput, "x");
	EXPECT_EQ(runOver("scriptFile=nosuch.msl", "output('y')", {"-f", "-"}), 0);
	EXPECT_EQ(fOutput, "y");
	Platform::removeFile(file);
}

TEST_F(ProcessRunTest, OutputThatFailsEndsTheRun)
{
	for (const std::string script : {"while (true) output('x\\n')", "output('x')"})
	{
		SCOPED_TRACE(script);
		fOutcome = Platform::WriteOutcome::FAILED;
		EXPECT_EQ(runScript(script), 1);
		fOutcome = Platform::WriteOutcome::CLOSED_PIPE;
		EXPECT_EQ(runScript(script), 0);
	}
}

TEST_F(ProcessRunTest, AFunctionThatAnswersKeepsTheProcessAlive)
{
	EXPECT_EQ(runScript("setDataRequestCallBack('slow', function() {\n"
	                    "  yield(50);\n"
	                    "  setDataRequestCallBack('slow', null);\n"
	                    "  output('answered');\n"
	                    "});\n"
	                    "sendData(1, 'slow', 5); output('script over, ');"),
	    0);
	EXPECT_EQ(fOutput, "script over, answered");
}
}
}
