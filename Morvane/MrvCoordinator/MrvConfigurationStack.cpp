#include "MrvCoordinator/MrvConfigurationStack.h"

#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Mrv
{
namespace
{
// What is known of this process. Asked for one by one: a folder that is missing is an error only for who names it.
bool findPlaceholder(const std::string &name, std::string &value)
{
	constexpr std::array<std::pair<std::string_view, const std::string &(*) ()>, 11> PLACEHOLDERS{{
	    {"APPPATH", Dirs::getAppPath},
	    {"APP_PATH", Dirs::getAppPath},
	    {"APPDIR", Dirs::getAppDirPath},
	    {"APP_DIR", Dirs::getAppDirPath},
	    {"DESKTOP_DIR", Dirs::getDesktopPath},
	    {"DOCUMENTS_DIR", Dirs::getDocumentsPath},
	    {"HOME_DIR", Dirs::getHomePath},
	    {"LOG_DIR", Dirs::getLogDirPath},
	    {"SYSTEMDATA_DIR", Dirs::getSystemDataPath},
	    {"TMP_DIR", Dirs::getTmpPath},
	    {"USERDATA_DIR", Dirs::getUserDataPath},
	}};
	for (const auto &[known, getter] : PLACEHOLDERS)
	{
		if (known == name)
		{
			value = getter();
			return !value.empty();
		}
	}
	return false;
}

// The sections of a file that count, from the general to the specific.
std::vector<std::string> sectionsThatCount(const Ini &ini, const std::string &section, const std::string &coordinatorName)
{
	const std::string own = section + "." + coordinatorName;
	std::vector<std::string> sections = ini.getSections();
	std::erase_if(
	    sections, [&](const std::string &name) { return !Utils::isWildCardMatch(own, name) && !Utils::isWildCardMatch(section, name); });
	const auto rank = [&](const std::string &name) { return name == section ? 0 : name == own ? 2 : 1; };
	std::sort(sections.begin(), sections.end(),
	    [&](const std::string &left, const std::string &right) { return std::pair(rank(left), left) < std::pair(rank(right), right); });
	return sections;
}

std::string sourceOf(const IniFile &file, const std::string &section, const std::string &key)
{
	return file.getFilePath() + ":" + std::to_string(file.getEntryLine(section, key));
}

// The pieces between blanks outside of quotes; the quotes are taken off. A backslash is nothing special: paths have them.
std::vector<std::string> splitCommand(const std::string &command)
{
	std::vector<std::string> pieces;
	bool isInPiece = false;
	bool isInQuotes = false;
	for (const char character : command)
	{
		const bool isBlank = (character == ' ' || character == '\t') && !isInQuotes;
		if (!isBlank && !isInPiece)
		{
			pieces.emplace_back();
		}
		isInPiece = !isBlank;
		if (character == '"')
		{
			isInQuotes = !isInQuotes;
		}
		else if (!isBlank)
		{
			pieces.back() += character;
		}
	}
	return pieces;
}

std::vector<std::string> readCommand(const Ini &ini, const std::string &section, const std::string &key)
{
	std::vector<std::string> values = ini.getResolvedEntries(section, key);
	if (ini.getEntryCount(section, key) != 1 || (values.size() == 1 && Dirs::fileExists(values[0])))
	{
		return values;
	}
	values.clear();
	for (const std::string &piece : splitCommand(ini.getEntry(section, key)))
	{
		const std::vector<std::string> resolved = ini.getResolvedValues(piece);
		values.insert(values.end(), resolved.begin(), resolved.end());
	}
	return values;
}
}

bool ConfigurationStack::load(const std::string &path)
{
	if (!Dirs::fileExists(path))
	{
		return false;
	}
	auto file = std::make_shared<IniFile>(path);
	file->setPlaceholderSource(findPlaceholder);
	if (!file->parseFile())
	{
		return false;
	}
	fFiles.push_back(std::move(file));
	return true;
}

std::vector<ConfigurationStack::Found> ConfigurationStack::findAll(
    const std::string &key, const std::string &section, const std::string &coordinatorName) const
{
	std::vector<Found> found;
	for (const auto &file : fFiles)
	{
		for (const std::string &counting : sectionsThatCount(*file, section, coordinatorName))
		{
			const std::vector<std::string> values = file->getResolvedEntries(counting, key);
			if (!values.empty())
			{
				found.push_back({values[0], sourceOf(*file, counting, key)});
			}
		}
	}
	return found;
}

std::vector<std::string> ConfigurationStack::findUnknownKeys(
    const std::string &section, const std::string &coordinatorName, bool (*isKnown)(const std::string &key)) const
{
	std::vector<std::string> unknown;
	for (const auto &file : fFiles)
	{
		for (const std::string &counting : sectionsThatCount(*file, section, coordinatorName))
		{
			for (const std::string &key : file->getEntryNames(counting))
			{
				if (!isKnown(key))
				{
					unknown.push_back(sourceOf(*file, counting, key) + ": " + key);
				}
			}
		}
	}
	return unknown;
}

ConfigurationStack::Map ConfigurationStack::readMap(const std::string &section) const
{
	Map map;
	for (const auto &file : fFiles)
	{
		for (const std::string &key : file->getEntryNames(section))
		{
			MapEntry &entry = map.findOrAdd(key);
			entry.values = file->getResolvedEntries(section, key);
			entry.source = sourceOf(*file, section, key);
		}
	}
	return map;
}

ConfigurationStack::Map ConfigurationStack::readCommandMap(const std::string &section) const
{
	Map map;
	for (const auto &file : fFiles)
	{
		for (const std::string &key : file->getEntryNames(section))
		{
			MapEntry &entry = map.findOrAdd(Utils::normaliseCoordinatorName(key));
			entry.values = readCommand(*file, section, key);
			entry.source = sourceOf(*file, section, key);
		}
	}
	return map;
}
}
