#pragma once

#include <string>
#include <vector>

namespace Mrv
{
// What a person at a shell asks about all coordinators of this user, without starting any. The settings must have been read.
class Fabric
{
public:
	// A table of those that have published themselves: name, process id, whether that lives, and since when, in local time.
	static std::string list();

	// Asks the coordinators of these names, which may be short, to end, and waits until their processes have withdrawn or died, for as long
	// as an end may take. The main one goes last, since the others need it. The exit status: 0 when all are gone, and 1, with a line on
	// standard error for each, when one isn't, or wasn't running.
	static int stop(const std::vector<std::string> &names);
	static int stopAll();

	// The published names, sorted.
	static std::vector<std::string> getNames();
};
}
