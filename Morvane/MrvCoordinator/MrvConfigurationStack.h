#pragma once

#include "MrvUtils/MrvIniFile.h"
#include "MrvUtils/MrvNamedList.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Mrv
{
// The configuration files of a process, each over those before it.
//
// What a key is for a coordinator is looked up in each file in turn, in the plain section (`config`), then in the sections whose names are
// patterns that match it or its own one (`config.*`), sorted by name, then in its own (`config.` and the coordinator's name). The last
// one that has a value decides. So a later file's plain section goes over an earlier file's own one.
class ConfigurationStack
{
public:
	// A value and the place that it comes from, as "FILE:LINE".
	struct Found
	{
		std::string value;
		std::string source;
	};
	// An entry of a section that maps names to something.
	struct MapEntry
	{
		explicit MapEntry(std::string entryName) : name(std::move(entryName)) {}

		std::string name;
		std::vector<std::string> values;
		std::string source;
	};
	using Map = NamedList<MapEntry>;

	// Puts a file on top. False, with nothing changed, for a path where there is no file, and, after a log line, for one that can't be
	// read. Placeholders of files: APPPATH, APPDIR and the well-known folders, besides the file's own.
	bool load(const std::string &path);
	void clear() { fFiles.clear(); }
	const std::vector<std::shared_ptr<IniFile>> &getFiles() const { return fFiles; }

	// The values of a key, their placeholders expanded, the one that counts most last. `coordinatorName` makes the own section.
	std::vector<Found> findAll(const std::string &key, const std::string &section, const std::string &coordinatorName) const;

	// The keys in sections that count for a coordinator and that `isKnown` doesn't know, each as "FILE:LINE: KEY".
	std::vector<std::string> findUnknownKeys(
	    const std::string &section, const std::string &coordinatorName, bool (*isKnown)(const std::string &key)) const;

	// The entries of a section of all files; of equal names the last one.
	Map readMap(const std::string &section) const;

	// The same for the command lines of coordinators, whose names get the prefix. Several values are one argument each. A single one is the
	// program alone when it names a file; otherwise it is split at blanks outside quotes, and placeholders are expanded in each piece, so
	// that a path with blanks stays in one piece.
	Map readCommandMap(const std::string &section) const;

private:
	std::vector<std::shared_ptr<IniFile>> fFiles;
};
}
