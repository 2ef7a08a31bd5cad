#pragma once

#include <string>
#include <vector>

namespace Mrv::Test
{
// A program that ran to its end, with no input.
struct ProgramRun
{
	int status = -1; // its exit status; -1 when it could not be started or was cut off
	std::string output;
	std::string errors;
};

// Runs a program, the first of `arguments`, and waits for its end; after a minute and a half it is cut off.
ProgramRun runProgram(const std::vector<std::string> &arguments);
}
