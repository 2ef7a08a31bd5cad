// A sample host of the external object.
#include "MrvHostCommandLine.h"
#include "MrvSampleHost.h"

#include "MrvPlatform/MrvArguments.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSignals.h"

int main(int argc, char **argv)
{
	constexpr int STATUS_NO_START = 3;
	Mrv::Platform::prepareStandardStreams();
	Mrv::Platform::installOrderlyEndHandlers();
	std::vector<std::string> arguments = Mrv::Platform::processArguments(argc, argv);
	arguments.erase(arguments.begin());
	const Mrv::HostCommandLine line = Mrv::HostCommandLine::split(arguments);
	int status = 0;
	if (!line.error.empty())
	{
		Mrv::Platform::console().write(Mrv::Platform::StandardStream::ERROR_OUTPUT, "morvane-host: " + line.error + "\n");
		status = STATUS_NO_START;
	}
	else if (line.wantsHelp)
	{
		Mrv::Platform::console().write(Mrv::Platform::StandardStream::OUTPUT, Mrv::HostCommandLine::getHelpPage());
	}
	else
	{
		status = Mrv::SampleHost().run(line);
	}
	Mrv::Platform::console().flush();
	Mrv::Platform::orderlyEndReached();
	return status;
}
