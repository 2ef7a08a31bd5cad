#include "MrvCommandLine.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvUtils/MrvDirs.h"

#include <string_view>

namespace Mrv
{
namespace
{
bool isSwitch(const std::string &argument)
{
	return argument.size() > 1 && argument[0] == '-';
}

// A file that is there, or the name of a script that is missing: that is an error to be told, not an argument for something else.
bool namesScript(const std::string &argument)
{
	constexpr std::string_view ENDING = ".msl";
	const bool isScriptName =
	    argument.size() > ENDING.size() && std::string_view(argument).substr(argument.size() - ENDING.size()) == ENDING;
	return (Dirs::exists(argument) && !Dirs::dirExists(argument)) || (isScriptName && !Dirs::exists(argument));
}
}

CommandLine CommandLine::split(const std::vector<std::string> &arguments)
{
	CommandLine line;
	size_t index = 0;
	if (!arguments.empty() && !isSwitch(arguments[0]) && namesScript(arguments[0]))
	{
		line.switches = {"-f", arguments[0]};
		line.launchArgs.assign(arguments.begin() + 1, arguments.end());
		return line;
	}
	for (; index < arguments.size() && arguments[index] != "--"; ++index)
	{
		const std::string &argument = arguments[index];
		if (!isSwitch(argument))
		{
			line.launchArgs.push_back(argument);
		}
		else if (argument == "--help" || argument == "-h")
		{
			line.wantsHelp = true;
		}
		else if (argument == "--version")
		{
			line.switches.emplace_back("-v");
		}
		else if (argument == "--print-config")
		{
			line.wantsConfiguration = true;
		}
		else if (argument == "--list")
		{
			line.wantsList = true;
		}
		else if (argument == "--stop")
		{
			if (index + 1 == arguments.size())
			{
				line.error = "switch --stop needs a coordinator's name, or --all";
				return line;
			}
			const std::string &whom = arguments[++index];
			line.wantsStopOfAll = line.wantsStopOfAll || whom == "--all";
			if (whom != "--all")
			{
				line.namesToStop.push_back(whom);
			}
		}
		else if (argument.size() > 2)
		{
			line.error = "unknown switch " + argument + "; switches are single letters, see morvane -h";
			return line;
		}
		else
		{
			line.switches.push_back(argument);
			if (InternalCoordinator::takesValue(argument[1]))
			{
				if (index + 1 == arguments.size())
				{
					line.error = "switch " + argument + " needs a value";
					return line;
				}
				line.switches.push_back(arguments[++index]);
			}
		}
	}
	for (++index; index < arguments.size(); ++index)
	{
		line.launchArgs.push_back(arguments[index]);
	}
	return line;
}

std::string CommandLine::getHelpPage()
{
	return "Usage: morvane [SWITCHES] [--] [ARGUMENTS]\n"
	       "       morvane SCRIPT [ARGUMENTS]\n"
	       "\n"
	       "Runs MSL scripts, offers a prompt, or serves. Without a job it reads a script from\n"
	       "standard input, or offers the prompt on a terminal.\n"
	       "\n"
	       "What to do:\n"
	       "  -f FILE   run a script file; '-f -' reads the script from standard input\n"
	       "  -F FILE   run a script file during the start, before anything else\n"
	       "  -i        offer the prompt, after the script if there is one\n"
	       "  -I        run standard input statement by statement, without a prompt\n"
	       "  -s        serve: stay alive until asked to end\n"
	       "  -v        print the version and exit (also --version)\n"
	       "  -h        print this page and exit (also --help)\n"
	       "  --print-config\n"
	       "            print all settings and where each comes from, and exit\n"
	       "  --list    print the coordinators of this user: name, process id, whether it is alive,\n"
	       "            and since when\n"
	       "  --stop NAME\n"
	       "            ask a coordinator to end and wait for it; '--stop --all' ends all of them.\n"
	       "            The exit status is 0 when they are gone, else 1\n"
	       "\n"
	       "How:\n"
	       "  -c FILE   read one more configuration file, over the default one; may be repeated\n"
	       "  -n NAME   the coordinator's name; short names get net.morvane.coordinator. put in front\n"
	       "  -N NAME   the coordinator's short name\n"
	       "  -p TEXT   the prompt\n"
	       "  -P TEXT   the prompt of lines that continue a statement\n"
	       "  -e N      console echo, 0 to 3; more is 0\n"
	       "  -r URL    the coordinator that runs the statements\n"
	       "  -o MS     time-out of remote operations, in milliseconds\n"
	       "  -w MS     the longest wait for others when ending, in milliseconds\n"
	       "  -t y|n    built-in checks at the start, or none\n"
	       "  -d        write session data in each pass\n"
	       "  -D TEXT   a text that is kept and means nothing to morvane itself\n"
	       "  -q TEXT   another one\n"
	       "  --        ends the switches: everything behind it belongs to the script\n"
	       "\n"
	       "Settings come from the built-in defaults, the configuration files and the switches, each\n"
	       "over those before it. The default file is net.morvane/SysConfig/config.ini below the\n"
	       "folder of the user's data.\n"
	       "\n"
	       "A script sees its arguments as the Array 'arguments'. A first line that begins with #! is\n"
	       "skipped, so '#!/usr/bin/env morvane' makes a script a command.\n"
	       "\n"
	       "Exit status:\n"
	       "  0         all went well, or quit()\n"
	       "  0 to 255  what the script gave to exit()\n"
	       "  1         the script ended in an Error\n"
	       "  2         the script could not be read or parsed\n"
	       "  3         the coordinator could not start\n"
	       "  128 + n   signal n cut the script off\n";
}
}
