#pragma once

#include "MrvUtils/MrvIni.h"

#include <cstdint>
#include <string>

namespace Mrv
{
// An INI text that belongs to a file. Nothing is read or written before it is asked for, except that changes which were never saved are
// saved at the end of the object's life.
class IniFile final : public Ini
{
public:
	// UTF-8. The file needn't exist; its folder must, when it is saved.
	explicit IniFile(std::string filePath) : fFilePath(std::move(filePath)) {}
	IniFile(const IniFile &) = delete;
	IniFile &operator=(const IniFile &) = delete;
	~IniFile() override;

	const std::string &getFilePath() const { return fFilePath; }
	// Whether there are changes that were not saved.
	bool isDirty() const { return fIsDirty; }

	// Takes the file's contents in the place of everything here; a file that is missing is an empty one. False, with a log line and nothing
	// changed, for a file that can't be read or is too long.
	bool parseFile();

	// Reads the file again if it has another time or size than when it was last read or saved, and tells whether all is well. A
	// change that leaves both as they are isn't seen. Refused, with a log line, when there are unsaved changes.
	bool readUpdate();

	// Writes the text beside the file and renames it into place. False, with a log line, on failure; the changes then stay unsaved.
	bool save();

	using Ini::setEntry;
	bool setEntry(const std::string &section, const std::string &key, const Values &values) override;

private:
	// What tells one state of the file from another.
	struct Stamp
	{
		bool exists = false;
		std::int64_t modifiedNanoseconds = 0;
		std::int64_t size = 0;

		bool operator==(const Stamp &) const = default;
	};
	Stamp readStamp() const;

	std::string fFilePath;
	bool fIsDirty = false;
	Stamp fStamp;
};
}
