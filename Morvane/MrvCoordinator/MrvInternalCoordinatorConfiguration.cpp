// Settings from the environment and from configuration files, and where each of them comes from.
//
// The order is: built-in defaults, what the program has set, the files from the first to the last, the command line. The names come first
// of all keys, since the sections of a file that count depend on them; a name that the program or the command line gives isn't looked up.
#include "MrvCoordinator/MrvConfigurationKeys.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvCoordinator/MrvSiblingCoordinator.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
namespace
{
const std::string SECTION = "config";
constexpr std::size_t SOURCE_COLUMN = 56;

// A value of a file as it may stand in another one: in quotes, letters outside of ASCII as they are.
std::string quoted(const std::string &value)
{
	std::string text = "\"";
	for (const char character : value)
	{
		const bool isLetterOfMore = (character & '\x80') != 0;
		text += isLetterOfMore ? std::string(1, character) : Utils::encodeString({&character, 1});
	}
	return text + '"';
}

// What concerns one machine must not follow the user to others.
std::string getMachineBase()
{
	std::string base = Platform::wellKnownFolder(Platform::WellKnownFolder::LOCAL_DATA).value_or("");
	if (!base.empty() && base.back() != Platform::pathSeparator())
	{
		base += Platform::pathSeparator();
	}
	return base;
}

bool makeUserFolder(const std::string &base, const std::string &name, std::string &path)
{
	if (base.empty())
	{
		return true; // which has been reported
	}
	const std::string separator(1, Platform::pathSeparator());
	std::string folder = base;
	folder.append("net.morvane").append(separator).append(name).append(separator);
	const bool isMade = Dirs::mkDir(folder, DirRecurse::RECURSE);
	if (isMade)
	{
		path = folder;
	}
	return isMade;
}
}

// --- Folders

const std::string &InternalCoordinator::getSysConfigFolderPath()
{
	if (fSysConfigFolderPath.empty())
	{
		SANITY_CHECK_AS(makeUserFolder(Dirs::getUserDataPath(), "SysConfig" + fSettings.configurationNodeSuffix, fSysConfigFolderPath),
		    "Dirs::mkDir(fSysConfigFolderPath, DirRecurse::RECURSE)", return fSysConfigFolderPath);
	}
	return fSysConfigFolderPath;
}

const std::string &InternalCoordinator::getPipeFolderPath()
{
	if (fPipeFolderPath.empty())
	{
		SANITY_CHECK_AS(makeUserFolder(getMachineBase(), "NamedPipes", fPipeFolderPath),
		    "Dirs::mkDir(fPipeFolderPath, DirRecurse::RECURSE)", return fPipeFolderPath);
	}
	return fPipeFolderPath;
}

const std::string &InternalCoordinator::getSessionDataFolderPath()
{
	if (fSessionDataFolderPath.empty())
	{
		SANITY_CHECK_AS(makeUserFolder(getMachineBase(), "SessionData", fSessionDataFolderPath),
		    "Dirs::mkDir(fSessionDataFolderPath, DirRecurse::RECURSE)", return fSessionDataFolderPath);
	}
	return fSessionDataFolderPath;
}

// --- From the beginning to the end

void InternalCoordinator::readConfigurationNode()
{
	fSettings.configurationNodeSuffix.clear();
	const std::string node = Platform::environmentVariable("MORVANE_CONFIG_NODE_NAME").value_or("");
	std::string lower = node;
	std::transform(
	    lower.begin(), lower.end(), lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
	if (!node.empty() && lower != "localhost" && lower != "127.0.0.1" && lower != "::1")
	{
		fSettings.configurationNodeSuffix = "." + node;
	}
}

bool InternalCoordinator::configure(int argc, char **argv)
{
	readConfigurationNode();
	return parseCommandLineArgs(argc, argv);
}

void InternalCoordinator::loadConfigFiles(const Switches &switches)
{
	fConfigStack.clear();
	const std::string &folder = getSysConfigFolderPath();
	fConfigFilePath = folder.empty() ? std::string() : folder + "config.ini";
	if (!folder.empty())
	{
		fConfigStack.load(fConfigFilePath);
	}
	for (const auto &[letter, values] : switches)
	{
		for (const std::string &value : letter == 'c' ? values : std::vector<std::string>())
		{
			const std::string path = Dirs::fullPath(value);
			if (!fConfigStack.load(path) && !Dirs::fileExists(path))
			{
				LOG_WARNING("there is no configuration file " + path);
			}
		}
	}
}

bool InternalCoordinator::processConfigStack()
{
	fURLMap = fConfigStack.readMap("urlMap");
	fCoordinatorMap = fConfigStack.readCommandMap("coordinatorMap");
	fHostMap = fConfigStack.readMap("hosts");
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		readKey(key);
	}
	return true;
}

void InternalCoordinator::readKey(const ConfigurationKey &key)
{
	if (key.getText(fSettings) != key.getText(CoordinatorSettings()))
	{
		fSettingSources.try_emplace(key.name, "program"); // if it isn't a name of the command line
	}
	const auto source = fSettingSources.find(key.name);
	const bool isSwitch = source != fSettingSources.end() && source->second == COMMAND_LINE;
	const bool isOwnName = key.member == ConfigurationKey::Member(&CoordinatorSettings::coordinatorName);
	if (isSwitch || (isOwnName && fIsNameGiven))
	{
		return;
	}
	const auto found = fConfigStack.findAll(std::string(key.name), SECTION, fSettings.coordinatorName);
	for (const ConfigurationStack::Found &entry : found)
	{
		if (key.setText(fSettings, entry.value))
		{
			fSettingSources[key.name] = entry.source;
		}
		else
		{
			LOG_WARNING(entry.source + ": not a value for " + std::string(key.name) + ": " + entry.value);
		}
	}
}

void InternalCoordinator::applyLoggerSettings()
{
	const auto logger = getCurrentLogger();
	if (!logger)
	{
		return;
	}
	logger->setLogLevel(static_cast<int32_t>(std::min<int64_t>(fSettings.logLevel, INT32_MAX)));
	logger->setIsLogEntryExit(fSettings.logEntryExit);
	logger->setIsLogIPC(fSettings.logIPC);
	logger->setIsLogScriptError(fSettings.logScriptError);
	logger->setIsLogTiming(fSettings.logTiming);
	// Without a path in the settings the one that a host has set stays.
	if (!fSettings.logFile.empty())
	{
		logger->setLogFilePath(fSettings.logFile);
	}
	else if (Platform::environmentVariable(LAUNCHED_VARIABLE))
	{
		fLaunchLogPath = SiblingCoordinator::getLaunchLogPath(fSettings.coordinatorName);
		limitLaunchLog();
		if (!fLaunchLogPath.empty())
		{
			logger->setLogFilePath(fLaunchLogPath);
		}
	}
	Platform::unsetEnvironmentVariable(LAUNCHED_VARIABLE); // it is about this process alone
	if (!fSettings.timingLogFile.empty())
	{
		logger->setTimingLogFilePath(fSettings.timingLogFile);
	}
}

void InternalCoordinator::applyParserSettings()
{
	Parser::setDebugOutput(fSettings.logScriptError);
	Parser::setDebugLogFile(fSettings.scriptErrorLogFile);
	IOStreamPrompted::setPromptTexts(fSettings.prompt, fSettings.promptContinuation);
}

void InternalCoordinator::forgetConfiguration()
{
	fSettings = CoordinatorSettings();
	fSettingSources.clear();
	fIsNameGiven = false;
	fConfigStack.clear();
	fConfigFilePath.clear();
	fURLMap = {};
	fCoordinatorMap = {};
	fHostMap = {};
	fSysConfigFolderPath.clear();
	fPipeFolderPath.clear();
	fSessionDataFolderPath.clear();
	applyParserSettings();
}

// --- Look-up

std::string InternalCoordinator::getConfigValue(const std::string &key, const std::string &section, const std::string &defaultValue)
{
	const auto found = fConfigStack.findAll(key, section, fSettings.coordinatorName);
	return found.empty() ? defaultValue : found.back().value;
}

int64_t InternalCoordinator::getConfigValue(const std::string &key, const std::string &section, int64_t defaultValue)
{
	int64_t value = defaultValue;
	for (const ConfigurationStack::Found &entry : fConfigStack.findAll(key, section, fSettings.coordinatorName))
	{
		int64_t number = 0;
		if (Utils::isNumeric(entry.value) && Utils::toInt64(entry.value, number))
		{
			value = number;
		}
	}
	return value;
}

std::string InternalCoordinator::mapURL(const std::string &text)
{
	const auto *const entry = fURLMap.find(text);
	return entry && !entry->values.empty() ? entry->values[0] : text;
}

// --- Description

std::string InternalCoordinator::describeMap(const std::string &section, const ConfigurationStack::Map &map)
{
	std::string text = map.size() == 0 ? "" : "\n[" + section + "]\n";
	for (const ConfigurationStack::MapEntry &entry : map)
	{
		text += "# " + entry.source + "\n" + entry.name + " = ";
		for (const std::string &value : entry.values)
		{
			text += (&value == entry.values.data() ? "" : ", ") + quoted(value);
		}
		text += '\n';
	}
	return text;
}

std::string InternalCoordinator::describeConfiguration()
{
	std::string text;
	const auto &files = fConfigStack.getFiles();
	if (files.empty() || files[0]->getFilePath() != fConfigFilePath)
	{
		text += "# configuration file: " + fConfigFilePath + " (there is none)\n";
	}
	for (const auto &file : files)
	{
		text += "# configuration file: " + file->getFilePath() + "\n";
	}
	for (const std::string &unknown : fConfigStack.findUnknownKeys(
	         SECTION, fSettings.coordinatorName, [](const std::string &key) { return findConfigurationKey(key) != nullptr; }))
	{
		text += "# unknown key: " + unknown + "\n";
	}
	text += "\n[" + SECTION + "]\n";
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		const auto source = fSettingSources.find(key.name);
		std::string line = std::string(key.name) + " = " + quoted(key.getText(fSettings));
		line.resize(std::max(line.size() + 1, SOURCE_COLUMN), ' ');
		text += line + "# " + (source == fSettingSources.end() ? "default" : source->second) + "\n";
	}
	return text + describeMap("urlMap", fURLMap) + describeMap("coordinatorMap", fCoordinatorMap) + describeMap("hosts", fHostMap);
}
}
