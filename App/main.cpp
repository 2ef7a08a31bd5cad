// A coordinator as a process of its own.
#include "MrvCommandLine.h"
#include "MrvProcessRun.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvArguments.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSignals.h"

#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr int STATUS_NO_START = 3;

int fail(const std::string &reason)
{
	Mrv::Platform::console().flush();
	Mrv::Platform::console().write(Mrv::Platform::StandardStream::ERROR_OUTPUT, "morvane: " + reason + "\n");
	return STATUS_NO_START;
}

int runCoordinator(const Mrv::CommandLine &line)
{
	std::string program = "morvane";
	std::vector<std::string> switches = line.switches;
	std::vector<char *> argv{program.data()};
	for (std::string &argument : switches)
	{
		argv.push_back(argument.data());
	}
	Mrv::InternalCoordinator::setLaunchArgs(line.launchArgs);
	int status = STATUS_NO_START;
	if (!Mrv::InternalCoordinator::init(static_cast<int>(argv.size()), argv.data()))
	{
		status = fail("the coordinator could not start: a name that is refused or in use, or a switch with a wrong value");
	}
	else
	{
		const auto coordinator = Mrv::InternalCoordinator::instance();
		status = coordinator->getMainTask() ? Mrv::ProcessRun(*coordinator).run() : 0;
	}
	Mrv::InternalCoordinator::release();
	return status;
}
}

int main(int argc, char **argv)
{
	Mrv::Platform::prepareStandardStreams();
	Mrv::Platform::installOrderlyEndHandlers();
	Mrv::setCurrentLogger(std::make_shared<Mrv::Logger>());

	std::vector<std::string> arguments = Mrv::Platform::processArguments(argc, argv);
	arguments.erase(arguments.begin());
	const Mrv::CommandLine line = Mrv::CommandLine::split(arguments);
	int status = 0;
	if (line.wantsHelp)
	{
		Mrv::Platform::console().write(Mrv::Platform::StandardStream::OUTPUT, Mrv::CommandLine::getHelpPage());
	}
	else
	{
		status = line.error.empty() ? runCoordinator(line) : fail(line.error);
	}
	Mrv::Platform::console().flush();
	Mrv::Platform::restoreTerminalNow();
	Mrv::Platform::orderlyEndReached();
	return status;
}
