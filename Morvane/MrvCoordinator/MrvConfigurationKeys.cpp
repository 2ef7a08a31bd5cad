#include "MrvCoordinator/MrvConfigurationKeys.h"

#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr int64_t MAX_CONSOLE_ECHO = 3;

using enum ConfigurationKey::Kind;

#define MRV_KEY(kind, name)                                                                                                                \
	ConfigurationKey                                                                                                                       \
	{                                                                                                                                      \
#name, kind, &CoordinatorSettings::name                                                                                            \
	}
const ConfigurationKey KEYS[] = {
    MRV_KEY(NAME, coordinatorName),
    MRV_KEY(NAME, coordinatorShortName),
    MRV_KEY(TEXT, defaultEngine),
    MRV_KEY(MICROSECONDS, delayQuitMicroseconds),
    MRV_KEY(MICROSECONDS, eventLoopMicroseconds),
    MRV_KEY(MICROSECONDS, quitReflectorEventLoopForTestsMicroseconds),
    MRV_KEY(MICROSECONDS, eventLoopSleepMicroseconds),
    MRV_KEY(MICROSECONDS, interCoordinatorTestTimeMicroseconds),
    MRV_KEY(MICROSECONDS, interCoordinatorPipeWaitTimeMicroseconds),
    MRV_KEY(TEXT, ipcMessageLogFile),
    MRV_KEY(BOOL, isInteractive),
    MRV_KEY(BOOL, readStdIn),
    MRV_KEY(BOOL, runTests),
    MRV_KEY(BOOL, isServer),
    MRV_KEY(BOOL, updateSessionData),
    MRV_KEY(BOOL, logEntryExit),
    MRV_KEY(TEXT, logFile),
    MRV_KEY(NUMBER, logLevel),
    MRV_KEY(BOOL, logIPC),
    MRV_KEY(BOOL, logScriptError),
    MRV_KEY(BOOL, logTiming),
    MRV_KEY(MICROSECONDS, maxWaitPipeReappearMicroseconds),
    MRV_KEY(TEXT, remoteCoordinator),
    MRV_KEY(MICROSECONDS, remoteTimeoutMicroseconds),
    MRV_KEY(MICROSECONDS, scanActiveSiblingsIntervalMicroseconds),
    MRV_KEY(MICROSECONDS, scanConfigSiblingsIntervalMicroseconds),
    MRV_KEY(MICROSECONDS, scanNamedPipeSiblingsIntervalMicroseconds),
    MRV_KEY(TEXT, scriptErrorLogFile),
    MRV_KEY(TEXT, prompt),
    MRV_KEY(TEXT, promptContinuation),
    MRV_KEY(PATH, scriptFile),
    MRV_KEY(PATH, startupScriptFile),
    MRV_KEY(MICROSECONDS, sleepWaitForPipeMicroseconds),
    MRV_KEY(MICROSECONDS, defaultTimeoutMicroseconds),
    MRV_KEY(MICROSECONDS, testTimeoutMicroseconds),
    MRV_KEY(MICROSECONDS, internalCoordinatorTimesliceMicroseconds),
    MRV_KEY(NUMBER, consoleEcho),
    MRV_KEY(TEXT, timingLogFile),
};
#undef MRV_KEY

bool isWord(const std::string &text, std::string_view word)
{
	return std::equal(text.begin(), text.end(), word.begin(), word.end(),
	    [](char character, char lower)
	    { return character == lower || (character >= 'A' && character <= 'Z' && character + ('a' - 'A') == lower); });
}

bool setValue(CoordinatorSettings &settings, const ConfigurationKey &key, std::string CoordinatorSettings::*member, const std::string &text)
{
	settings.*member = key.kind == NAME ? Utils::normaliseCoordinatorName(text) : key.kind == PATH ? normaliseSettingPath(text) : text;
	return true;
}

bool setValue(CoordinatorSettings &settings, const ConfigurationKey &, bool CoordinatorSettings::*member, const std::string &text)
{
	const bool isTrue = isWord(text, "true");
	if (isTrue || isWord(text, "false"))
	{
		settings.*member = isTrue;
		return true;
	}
	return false;
}

bool setValue(CoordinatorSettings &settings, const ConfigurationKey &, int64_t CoordinatorSettings::*member, const std::string &text)
{
	int64_t number = 0;
	if (!Utils::isNumeric(text) || !Utils::toInt64(text, number))
	{
		return false;
	}
	settings.*member = member == &CoordinatorSettings::consoleEcho ? limitConsoleEcho(number) : number;
	return true;
}

std::string toText(const std::string &value)
{
	return value;
}

std::string toText(bool value)
{
	return Utils::boolToString(value);
}

std::string toText(int64_t value)
{
	return std::to_string(value);
}
}

std::string ConfigurationKey::getText(const CoordinatorSettings &settings) const
{
	return std::visit([&settings](const auto &ofType) { return toText(settings.*ofType); }, member);
}

bool ConfigurationKey::setText(CoordinatorSettings &settings, const std::string &text) const
{
	return std::visit([&](const auto &ofType) { return setValue(settings, *this, ofType, text); }, member);
}

std::span<const ConfigurationKey> getConfigurationKeys()
{
	return KEYS;
}

const ConfigurationKey *findConfigurationKey(std::string_view name)
{
	const auto *const found =
	    std::find_if(std::begin(KEYS), std::end(KEYS), [name](const ConfigurationKey &key) { return key.name == name; });
	return found == std::end(KEYS) ? nullptr : found;
}

int64_t limitConsoleEcho(int64_t consoleEcho)
{
	return consoleEcho > MAX_CONSOLE_ECHO ? 0 : consoleEcho;
}

std::string normaliseSettingPath(const std::string &path)
{
	return path.empty() || path == "-" ? path : Dirs::fullPath(path);
}
}
