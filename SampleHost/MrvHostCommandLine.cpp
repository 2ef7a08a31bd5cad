#include "MrvHostCommandLine.h"

namespace Mrv
{
HostCommandLine HostCommandLine::split(const std::vector<std::string> &arguments)
{
	HostCommandLine line;
	for (std::size_t index = 0; index < arguments.size() && line.error.empty(); ++index)
	{
		const std::string &argument = arguments[index];
		if (argument == "--help" || argument == "-h")
		{
			line.wantsHelp = true;
		}
		else if (argument == "--name" || argument == "--lib")
		{
			std::string &value = argument == "--name" ? line.coordinatorName : line.library;
			if (index + 1 == arguments.size() || arguments[index + 1].empty())
			{
				line.error = argument + " needs a value";
			}
			else
			{
				value = arguments[++index];
			}
		}
		else if (argument.empty() || argument[0] == '-')
		{
			line.error = "unknown argument '" + argument + "', see morvane-host --help";
		}
		else if (!line.script.empty())
		{
			line.error = "one script only, and '" + argument + "' is a second one";
		}
		else
		{
			line.script = argument;
		}
	}
	if (line.error.empty() && !line.wantsHelp && line.coordinatorName.empty())
	{
		line.error = "a name for the coordinator is needed: --name NAME";
	}
	return line;
}

std::string HostCommandLine::getHelpPage()
{
	return "Usage: morvane-host --name NAME [--lib PATH] [SCRIPT.jsx]\n"
	       "\n"
	       "A sample host of Morvane's external object: loads it into a JavaScript engine, starts a\n"
	       "coordinator of that name in it, runs the script, and then gives the coordinator its slices,\n"
	       "as long as the script leaves it an idle task and until app.quit() or a signal.\n"
	       "\n"
	       "  --name NAME   the coordinator's name; a short one gets net.morvane.coordinator. put in front\n"
	       "  --lib PATH    the external object, or the folder that it is in; without it, the folder of\n"
	       "                morvane.jsx is looked at, which is that of this program\n"
	       "  --help        print this page and exit (also -h)\n"
	       "\n"
	       "The script is ECMAScript 3 and finds the object Morvane ready and started; $.writeln prints a\n"
	       "line. What the coordinator logs goes to standard error.\n"
	       "\n"
	       "Exit status:\n"
	       "  0         all went well, or app.quit()\n"
	       "  0 to 255  what the script gave to app.quit()\n"
	       "  1         the script ended in an error\n"
	       "  2         the script could not be read\n"
	       "  3         the arguments are wrong, or the coordinator could not start\n";
}
}
