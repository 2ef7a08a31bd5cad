// The command line: switches of one letter, some with a value, and launch arguments.
#include "MrvCoordinator/MrvConfigurationKeys.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <string_view>

namespace Mrv
{
namespace
{
constexpr std::string_view SWITCHES_WITH_VALUE = "DFNPcefnopqrtw";
constexpr int64_t MICROSECONDS_PER_MILLISECOND = 1000;

// What a switch does to a setting. A switch that does more, or something else, is handled beside the table.
struct SwitchEffect
{
	enum Kind : uint8_t
	{
		TEXT,
		PATH,
		NUMBER,
		MILLISECONDS,
		SET,
		CLEAR,
	};
	char letter;
	Kind kind;
	ConfigurationKey::Member member;
	std::string_view key;
};

#define MRV_EFFECT(letter, kind, key)                                                                                                      \
	SwitchEffect                                                                                                                           \
	{                                                                                                                                      \
		letter, SwitchEffect::kind, &CoordinatorSettings::key, #key                                                                        \
	}
const SwitchEffect EFFECTS[] = {
    MRV_EFFECT('d', SET, updateSessionData),
    MRV_EFFECT('e', NUMBER, consoleEcho),
    MRV_EFFECT('f', PATH, scriptFile),
    MRV_EFFECT('F', PATH, startupScriptFile),
    MRV_EFFECT('i', SET, isInteractive),
    MRV_EFFECT('I', CLEAR, isInteractive),
    MRV_EFFECT('I', SET, readStdIn),
    MRV_EFFECT('n', TEXT, coordinatorName),
    MRV_EFFECT('N', TEXT, coordinatorShortName),
    MRV_EFFECT('o', MILLISECONDS, remoteTimeoutMicroseconds),
    MRV_EFFECT('p', TEXT, prompt),
    MRV_EFFECT('P', TEXT, promptContinuation),
    MRV_EFFECT('r', TEXT, remoteCoordinator),
    MRV_EFFECT('s', SET, isServer),
    MRV_EFFECT('w', MILLISECONDS, delayQuitMicroseconds),
};
#undef MRV_EFFECT

// A number that fits, or the value as it was.
bool setNumber(const std::vector<std::string> &switchArgs, int64_t factor, int64_t &value)
{
	SANITY_CHECK_AS(switchArgs.size() == 1 && Utils::isNumeric(switchArgs[0]), "switchArgs.size() == 1 && Utils::isNumeric(switchArgs[0])",
	    return false);
	int64_t number = 0;
	if (!Utils::toInt64(switchArgs[0], number))
	{
		LOG_ERROR("a number out of range is passed over: " + switchArgs[0]);
		return true;
	}
	int64_t product = 0;
	value = __builtin_mul_overflow(number, factor, &product) ? INT64_MAX : product;
	return true;
}

bool setText(const std::vector<std::string> &switchArgs, std::string &value)
{
	SANITY_CHECK_AS(switchArgs.size() == 1, "switchArgs.size() == 1", return false);
	value = switchArgs[0];
	return true;
}

bool apply(const SwitchEffect &effect, const std::vector<std::string> &switchArgs, std::string &value)
{
	const bool isSet = setText(switchArgs, value);
	if (isSet && effect.kind == SwitchEffect::PATH)
	{
		value = normaliseSettingPath(value);
	}
	return isSet;
}

bool apply(const SwitchEffect &effect, const std::vector<std::string> &, bool &value)
{
	value = effect.kind == SwitchEffect::SET;
	return true;
}

bool apply(const SwitchEffect &effect, const std::vector<std::string> &switchArgs, int64_t &value)
{
	const bool isSet = setNumber(switchArgs, effect.kind == SwitchEffect::MILLISECONDS ? MICROSECONDS_PER_MILLISECOND : 1, value);
	if (isSet && effect.letter == 'e')
	{
		value = limitConsoleEcho(value);
	}
	return isSet;
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

bool InternalCoordinator::takeNames(const Switches &switches)
{
	for (const auto &[letter, values] : switches)
	{
		if (letter == 'n')
		{
			VERIFY_AS(processCmdLineArg('n', values), "processCmdLineArg('n', coordinatorNameIter->second)", return false);
			fIsNameGiven = true;
		}
		else if (letter == 'N')
		{
			VERIFY_AS(processCmdLineArg('N', values), "processCmdLineArg('N', coordinatorNameIter->second)", return false);
		}
	}
	normaliseNames();
	return true;
}

void InternalCoordinator::normaliseNames()
{
	fSettings.coordinatorName = Utils::normaliseCoordinatorName(fSettings.coordinatorName);
	fSettings.coordinatorShortName = Utils::normaliseCoordinatorName(fSettings.coordinatorShortName);
}

InternalCoordinator::Switches InternalCoordinator::collectSwitches(int argc, char **argv)
{
	Switches switches;
	std::vector<std::string> launchArgs;
	std::string commandLine = argc > 0 ? argv[0] : "";
	for (int index = 1; index < argc; ++index)
	{
		const std::string_view argument = argv[index];
		commandLine.append(" ").append(argument);
		if (argument.size() < 2 || argument[0] != '-' || argument[1] < 0)
		{
			launchArgs.emplace_back(argument);
			continue;
		}
		const char letter = argument[1];
		std::vector<std::string> values;
		const auto known = std::find_if(switches.begin(), switches.end(), [letter](const auto &given) { return given.first == letter; });
		if (known != switches.end())
		{
			values = std::move(known->second);
			switches.erase(known);
		}
		if (takesValue(letter) && index + 1 < argc)
		{
			if (letter == 'n' || letter == 'N')
			{
				values.clear(); // the last one holds
			}
			values.emplace_back(argv[++index]);
			commandLine.append(" ").append(values.back());
		}
		switches.emplace_back(letter, std::move(values));
	}
	LOG_TRACE("cmdLine: " + commandLine);
	if (!launchArgs.empty())
	{
		fLaunchArgs = std::move(launchArgs);
	}
	return switches;
}

bool InternalCoordinator::parseCommandLineArgs(int argc, char **argv)
{
	fSettingSources.clear();
	const Switches switches = collectSwitches(argc, argv);
	if (!takeNames(switches))
	{
		return false;
	}
	loadConfigFiles(switches);
	SANITY_CHECK(processConfigStack(), return false);
	applyLoggerSettings();
	LOG_TRACE("coordinator name: " + fSettings.coordinatorName);
	for (const auto &file : fConfigStack.getFiles())
	{
		LOG_TRACE("config file: " + file->getFilePath());
	}
	for (const auto &[letter, values] : switches)
	{
		VERIFY_AS(processCmdLineArg(letter, values), "processCmdLineArg(iter->first, iter->second)", return false);
	}
	normaliseNames();
	applyParserSettings();
	return true;
}

bool InternalCoordinator::processCmdLineArg(int switchChar, const std::vector<std::string> &switchArgs)
{
	for (const SwitchEffect &effect : EFFECTS)
	{
		if (effect.letter == switchChar)
		{
			const bool isApplied =
			    std::visit([&](const auto &member) { return apply(effect, switchArgs, fSettings.*member); }, effect.member);
			if (!isApplied)
			{
				return false;
			}
			fSettingSources[effect.key] = COMMAND_LINE;
		}
	}
	std::string text;
	switch (switchChar)
	{
		case 'c': // any number of files, which are loaded before all switches
			SANITY_CHECK_AS(!switchArgs.empty(), "switchArgs.size() == 1", return false);
			return true;
		case 'D':
			return setText(switchArgs, fSettings.settingD);
		case 'q':
			return setText(switchArgs, fSettings.settingQ);
		case 't':
			if (!setText(switchArgs, text))
			{
				return false;
			}
			if (text == "y" || text == "Y" || text == "n" || text == "N")
			{
				fSettings.runTests = text == "y" || text == "Y";
				fSettingSources["runTests"] = COMMAND_LINE;
				LOG_TRACE(fSettings.runTests ? "startup tests: on" : "startup tests: off");
			}
			return true;
		case 'v':
			Platform::console().write(Platform::StandardStream::OUTPUT, getVersion() + "\n");
			fIsTerminating = true;
			return true;
		default:
			return true;
	}
}
}
