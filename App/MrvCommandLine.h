#pragma once

#include <string>
#include <vector>

namespace Mrv
{
// The process's arguments, taken apart: switches for the coordinator, and what belongs to the script.
struct CommandLine
{
	std::vector<std::string> switches;   // with their values, as the coordinator reads them
	std::vector<std::string> launchArgs; // what the script sees as `arguments`
	bool wantsHelp = false;
	bool wantsConfiguration = false; // to see it, instead of a start
	bool wantsList = false;          // of all coordinators, instead of a start
	bool wantsStopOfAll = false;
	std::vector<std::string> namesToStop;
	std::string error; // why the arguments are refused; empty when they are not

	// `--` ends the switches. When the first argument is no switch and names a file, it is the script, and everything behind it is the
	// script's. `--help` and `--version` stand for `-h` and `-v`; `--print-config`, `--list` and `--stop` have no letters.
	static CommandLine split(const std::vector<std::string> &arguments);
	static std::string getHelpPage();
};
}
