#pragma once

#include <string>
#include <vector>

namespace Mrv::Test
{
// What a script says about itself in its comments:
//   // expect: TEXT        the next line of its output (behind a statement or on a line of its own)
//   // expect error        it ends in an Error; otherwise it must not
//   // expect no parse     it can't be parsed
//   // log: TEXT           a line at error level that contains TEXT; any other error line fails the test
//   // logs: TEXT         the same, for any number of lines but none
//   // stdin: TEXT         a line of its standard input
//   // depth: N            the variable `depth` that it finds in its scope
//   // always-yield depth: N    the same where every step suspends
struct ScriptExpectations
{
	std::vector<std::string> output;
	std::vector<std::string> logLines;
	std::vector<std::string> repeatedLogLines;
	std::string input;
	bool endsInError = false;
	bool isRefused = false;
	long depth = 0;

	static ScriptExpectations read(const std::string &script);
};

// Runs a script in a coordinator of its own, in the mode of this test run, and checks what it did. Failures quote `name`. A script from
// a file finds others beside it.
void runAndCheckScript(const std::string &name, const std::string &script, const std::string &scriptFilePath = {});

std::string readWholeFile(const std::string &path);
}
