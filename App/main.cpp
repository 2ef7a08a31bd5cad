// A coordinator as a process of its own.
#include "MrvCommandLine.h"
#include "MrvFabric.h"
#include "MrvProcessRun.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvArguments.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvSignals.h"

#include <algorithm>
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

int print(const std::string &text)
{
	Mrv::Platform::console().write(Mrv::Platform::StandardStream::OUTPUT, text);
	return 0;
}

// Looks at other coordinators without becoming one that they see. A name of its own keeps that of the configuration for who serves.
int runFabric(const Mrv::CommandLine &line, std::vector<char *> &argv)
{
	Mrv::InternalCoordinator::setName("p" + std::to_string(Mrv::Platform::currentProcessId()));
	if (!Mrv::InternalCoordinator::configure(static_cast<int>(argv.size()), argv.data()))
	{
		return fail("a switch with a wrong value");
	}
	int status = 0;
	if (line.wantsStopOfAll || !line.namesToStop.empty())
	{
		status = line.wantsStopOfAll ? Mrv::Fabric::stopAll() : Mrv::Fabric::stop(line.namesToStop);
	}
	return line.wantsList ? std::max(status, print(Mrv::Fabric::list())) : status;
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
	if (line.wantsConfiguration)
	{
		const bool isRead = Mrv::InternalCoordinator::configure(static_cast<int>(argv.size()), argv.data());
		status = isRead ? print(Mrv::InternalCoordinator::describeConfiguration()) : fail("a switch with a wrong value");
	}
	else if (line.wantsList || line.wantsStopOfAll || !line.namesToStop.empty())
	{
		status = runFabric(line, argv);
	}
	else if (!Mrv::InternalCoordinator::init(static_cast<int>(argv.size()), argv.data()))
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
		status = print(Mrv::CommandLine::getHelpPage());
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
