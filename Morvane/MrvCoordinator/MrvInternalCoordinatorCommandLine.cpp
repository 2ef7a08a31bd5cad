// The command line: switches of one letter, some with a value, and launch arguments.
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <array>
#include <string_view>

namespace Mrv
{
namespace
{
constexpr std::string_view SWITCHES_WITH_VALUE = "DFNPcefnopqrtw";
constexpr int64_t MICROSECONDS_PER_MILLISECOND = 1000;
constexpr int64_t MAX_CONSOLE_ECHO = 3;

std::string normalisedPath(const std::string &path)
{
	return path == "-" ? path : Dirs::fullPath(path);
}

// A number that fits, or the value as it was.
bool setNumber(const std::vector<std::string> &switchArgs, int64_t factor, int64_t &value)
{
	SANITY_CHECK_AS(switchArgs.size() == 1 && Utils::isNumeric(switchArgs[0]), "switchArgs.size() == 1 && Utils::isNumeric(switchArgs[0])",
	    return false);
	int64_t number = 0;
	if (Utils::toInt64(switchArgs[0], number))
	{
		int64_t product = 0;
		value = __builtin_mul_overflow(number, factor, &product) ? INT64_MAX : product;
	}
	return true;
}

bool setText(const std::vector<std::string> &switchArgs, std::string &value)
{
	SANITY_CHECK_AS(switchArgs.size() == 1, "switchArgs.size() == 1", return false);
	value = switchArgs[0];
	return true;
}
}

bool InternalCoordinator::takesValue(char switchChar)
{
	return SWITCHES_WITH_VALUE.find(switchChar) != std::string_view::npos;
}

std::string InternalCoordinator::getVersion()
{
	return MORVANE_VERSION;
}

bool InternalCoordinator::parseCommandLineArgs(int argc, char **argv)
{
	std::string commandLine;
	std::array<std::vector<std::string>, 128> switches;
	std::vector<std::string> launchArgs;
	for (int index = 0; index < argc; ++index)
	{
		commandLine += (index > 0 ? " " : "") + std::string(argv[index]);
		const std::string_view argument = argv[index];
		if (index == 0)
		{
			continue; // the program itself
		}
		if (argument.size() < 2 || argument[0] != '-' || argument[1] < 0)
		{
			launchArgs.emplace_back(argument);
			continue;
		}
		std::vector<std::string> &values = switches[static_cast<unsigned char>(argument[1])];
		if (!takesValue(argument[1]))
		{
			values.emplace_back();
		}
		else
		{
			SANITY_CHECK_AS(index + 1 < argc, "switchArgs.size() == 1", return false);
			++index;
			commandLine += ' ' + std::string(argv[index]);
			values.emplace_back(argv[index]);
		}
	}
	LOG_TRACE("cmdLine: " + commandLine);
	if (!launchArgs.empty())
	{
		fLaunchArgs = std::move(launchArgs);
	}
	for (const char letter : {'n', 'N'})
	{
		std::vector<std::string> &names = switches[static_cast<unsigned char>(letter)];
		if (names.size() > 1)
		{
			names.erase(names.begin(), names.end() - 1); // the last one holds
		}
	}
	for (size_t letter = 0; letter < switches.size(); ++letter)
	{
		if (!switches[letter].empty())
		{
			VERIFY_AS(processCmdLineArg(static_cast<int>(letter), switches[letter]), "processCmdLineArg(iter->first, iter->second)",
			    return false);
		}
	}
	fSettings.coordinatorName = Utils::normaliseCoordinatorName(fSettings.coordinatorName);
	fSettings.coordinatorShortName = Utils::normaliseCoordinatorName(fSettings.coordinatorShortName);
	LOG_TRACE("coordinator name: " + fSettings.coordinatorName);
	IOStreamPrompted::setPromptTexts(fSettings.prompt, fSettings.promptContinuation);
	return true;
}

bool InternalCoordinator::processCmdLineArg(int switchChar, const std::vector<std::string> &switchArgs)
{
	std::string text;
	switch (switchChar)
	{
		case 'd':
			fSettings.updateSessionData = true;
			return true;
		case 'D':
			return setText(switchArgs, fSettings.settingD);
		case 'e':
		{
			const bool isOk = setNumber(switchArgs, 1, fSettings.consoleEcho);
			fSettings.consoleEcho = fSettings.consoleEcho > MAX_CONSOLE_ECHO ? 0 : fSettings.consoleEcho;
			return isOk;
		}
		case 'f':
		case 'F':
			if (!setText(switchArgs, text))
			{
				return false;
			}
			(switchChar == 'f' ? fSettings.scriptFile : fSettings.startupScriptFile) = normalisedPath(text);
			return true;
		case 'i':
			fSettings.isInteractive = true;
			return true;
		case 'I':
			fSettings.isInteractive = false;
			fSettings.readStdIn = true;
			return true;
		case 'n':
			return setText(switchArgs, fSettings.coordinatorName);
		case 'N':
			return setText(switchArgs, fSettings.coordinatorShortName);
		case 'o':
			return setNumber(switchArgs, MICROSECONDS_PER_MILLISECOND, fSettings.remoteTimeoutMicroseconds);
		case 'p':
			return setText(switchArgs, fSettings.prompt);
		case 'P':
			return setText(switchArgs, fSettings.promptContinuation);
		case 'q':
			return setText(switchArgs, fSettings.settingQ);
		case 'r':
			return setText(switchArgs, fSettings.remoteCoordinator);
		case 's':
			fSettings.isServer = true;
			return true;
		case 't':
			if (!setText(switchArgs, text))
			{
				return false;
			}
			if (text == "y" || text == "Y" || text == "n" || text == "N")
			{
				fSettings.runTests = text == "y" || text == "Y";
				LOG_TRACE(fSettings.runTests ? "startup tests: on" : "startup tests: off");
			}
			return true;
		case 'v':
			Platform::console().write(Platform::StandardStream::OUTPUT, getVersion() + "\n");
			fIsTerminating = true;
			return true;
		case 'w':
			return setNumber(switchArgs, MICROSECONDS_PER_MILLISECOND, fSettings.delayQuitMicroseconds);
		default:
			return true;
	}
}
}
