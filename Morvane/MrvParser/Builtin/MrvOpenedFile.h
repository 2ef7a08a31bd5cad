#pragma once

#include "MrvObject/MrvHash.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Mrv
{
enum class FileMode : uint32_t
{
	NONE = 0,
	READ = 1,
	WRITE = 2,
	APPEND = 3,
};

// A file that a script has opened. Scripts know it by its id, which is never used again. It stays open until somebody closes it, also
// beyond the end of the script; the release of the coordinator closes what is left. Bytes pass as they are on every system.
class OpenedFile
{
public:
	// mode: 'r', 'w' or 'a' as its first character. Null, after a log line, when the file can't be opened. Only regular files are opened
	// for reading, and a pipe is opened not at all: both would hold up everybody until somebody writes.
	static std::shared_ptr<OpenedFile> open(const std::string &path, std::string_view mode);
	// Null, after a log line, for an id that names no open file.
	static std::shared_ptr<OpenedFile> getFile(int64_t fileId);
	static void closeAll();

	OpenedFile(std::FILE *file, int64_t fileId, FileMode mode) : fFileId(fileId), fStdFile(file), fMode(mode) {}
	OpenedFile(const OpenedFile &) = delete;
	OpenedFile &operator=(const OpenedFile &) = delete;
	~OpenedFile();

	int64_t getFileId() const { return fFileId; }
	FileMode getMode() const { return fMode; }

	// Appends at most `limit` bytes to `bytes`, none at the end of the file. False when reading failed.
	bool read(std::string &bytes, size_t limit);
	// What is written may be held back until the file is closed. False when writing failed.
	bool write(std::string_view bytes);
	// False when it is closed already, or when what was held back could not be written; the id is gone in either case.
	bool close();

private:
	using Table = std::unordered_map<uint64_t, std::shared_ptr<OpenedFile>, IntegerHash>;
	static Table &openedFiles();

	int64_t fFileId;
	std::FILE *fStdFile;
	FileMode fMode;
};
}
