#pragma once

#include <string>
#include <vector>

namespace Mrv
{
// The arguments of `morvane-host`, taken apart.
struct HostCommandLine
{
	std::string coordinatorName;
	std::string library; // the external object or its folder; empty: where morvane.jsx looks
	std::string script;  // empty: none
	bool wantsHelp = false;
	std::string error; // why the arguments are refused; empty when they are not

	static HostCommandLine split(const std::vector<std::string> &arguments);
	static std::string getHelpPage();
};
}
