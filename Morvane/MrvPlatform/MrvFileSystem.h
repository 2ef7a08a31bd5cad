#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

// Files and folders, named by UTF-8 paths. A path that holds a NUL, or that isn't UTF-8 where the system demands it, names
// nothing: the operation fails. Nothing here logs.
namespace Mrv::Platform
{
// What stands between the segments of a path on this system.
char pathSeparator();

enum class FileKind
{
	NONE, // nothing there, or not accessible
	FILE,
	DIRECTORY,
	PIPE, // a named pipe; on POSIX systems a fifo or a local socket
	OTHER,
};

struct FileInfo
{
	FileKind kind = FileKind::NONE;
	std::int64_t size = 0;                // bytes; of files only
	std::int64_t modifiedNanoseconds = 0; // since 1970 UTC, as exact as the file system keeps it
};

// What the path leads to, links followed. Separators at the path's end don't matter here.
FileInfo fileInfo(const std::string &path);

// Whether the path itself is a symbolic link or a junction, wherever it leads.
bool isLink(const std::string &path);

// The names in a folder, without "." and "..", in no particular order. False when it can't be read; `names` is then empty.
bool listDirectory(const std::string &path, std::vector<std::string> &names);

// Makes one folder for the owner alone (Windows: with the rights that its parent hands down). False when it exists already.
bool makeDirectory(const std::string &path);

// Removes an empty folder.
bool removeDirectory(const std::string &path);

// Removes a file or a link, never what the link leads to. Where a file that somebody has open can't be removed, this waits for up to 100 ms
// until it is closed.
bool removeFile(const std::string &path);

// Renames, in one step; a file that has the new name already is replaced. Where a file that somebody has open can't be renamed or
// replaced, this waits for up to 100 ms until it is closed.
bool renameReplacing(const std::string &from, const std::string &to);

// The current folder, without a separator at its end unless it is a root.
std::optional<std::string> currentDirectory();
bool setCurrentDirectory(const std::string &path);

enum class OpenMode
{
	READ,    // must exist
	WRITE,   // made, or emptied
	APPEND,  // made if missing; writes go to the end
	UPDATE,  // must exist; read and write
	REPLACE, // made, or emptied; read and write
};

// Opens a file in binary mode, not inherited by processes started later; the caller closes it with `fclose`. Null on failure,
// with the reason in `errno`. A folder can't be opened.
std::FILE *openFile(const std::string &path, OpenMode mode);

// Puts the position of an open file; false when that fails.
bool seekFile(std::FILE *file, std::int64_t position);
}
