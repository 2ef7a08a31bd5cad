#pragma once

#include "MrvPlatform/MrvFileSystem.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv
{
class Ini;

// Whether a path's last character is looked at: in the checked mode a folder's path must end in the system's separator and a file's
// path must not; otherwise a log line says so, and the work goes on.
enum class TrailingPathCharHandling
{
	Ignore,
	Check,
};

enum class DirRecurse
{
	NO_RECURSE,
	RECURSE,
};

// Files, folders, paths and the well-known folders. Paths are UTF-8. Folder paths that this class gives end in the separator.
//
// The separator is the system's unless an operation is told: `\` or `/`. Any other is refused with a log line and an empty result.
// Where the system's separator is `/`, an operation that works on files turns the `\` it is told into `/` first.
class Dirs
{
public:
	// --- What is there ---

	static bool dirExists(const std::string &dirPath, TrailingPathCharHandling trailingPathCharHandling = TrailingPathCharHandling::Ignore);

	// Whether a regular file is there; false for a path that ends in a separator.
	static bool fileExists(
	    const std::string &filePath, TrailingPathCharHandling trailingPathCharHandling = TrailingPathCharHandling::Ignore);

	// Whether anything is there.
	static bool exists(const std::string &path);

	// The names in a folder, sorted, without "." and ".."; empty, with a log line, when it can't be read.
	static std::vector<std::string> scanDir(const std::string &path);

	// --- Changes ---

	// Makes a folder for the owner alone; RECURSE makes its parents first. True if it exists at the end.
	static bool mkDir(const std::string &dirPath, DirRecurse dirRecurse, char separator = Platform::pathSeparator());

	// Removes a folder; RECURSE removes its contents first. Links are removed and never followed. True if nothing is there at the end. The
	// root of a file system is refused.
	static bool rmDir(const std::string &dirPath, DirRecurse dirRecurse, char separator = Platform::pathSeparator());

	// --- Whole files ---

	// The bytes of a regular file of at most `maxSize` bytes. False, with `text` unchanged, when that can't be read.
	static bool readFile(const std::string &filePath, std::string &text, std::size_t maxSize);

	// Writes a file beside the path and renames it into place, so that nobody ever sees half of it. False, with what was there unchanged,
	// when that fails. A link is replaced, not followed. Another folder for the file in the making, on the same disk and ending in the
	// separator, is for folders in which others take every file for something.
	static bool replaceFile(const std::string &filePath, std::string_view text, const std::string &temporaryFolder = {});

	// An INI file in memory; empty, with a log line, when the file is missing or empty or can't be read.
	static std::shared_ptr<Ini> readIni(const std::string &iniFilePath);

	// Writes the text of an INI, as `replaceFile` does. False, with a log line, on failure; the path must not be a folder.
	static bool writeIni(const std::string &iniFilePath, const Ini &ini);

	// --- Paths ---

	// An absolute path, from the current folder, ending in the separator when it leads to a folder. Its `.` and `..` stay.
	static std::string fullPath(const std::string &path, char separator = Platform::pathSeparator());

	// The current folder; empty, with a log line, on failure.
	static std::string getCurrentDir();

	// What follows the last `.` of the last segment, empty when there is none. The path must not be empty.
	static std::string getFileNameExtension(const std::string &path);

	// The path without its last segment, ending in the separator; a separator at the path's end doesn't matter. The parent of a root is
	// the root; that of a single relative segment is empty.
	static std::string getParentPath(const std::string &path, char separator = Platform::pathSeparator());

	// One segment, counted from 0; empty when there is none. Separators at the end don't count; one at the beginning has an empty segment
	// in front of it.
	static std::string getPathSegmentFromLeft(const std::string &path, std::size_t idx, char separator = Platform::pathSeparator());
	static std::string getPathSegmentFromRight(const std::string &path, std::size_t idx, char separator = Platform::pathSeparator());

	// `path` below a folder, which must exist; an absolute path stays as it is. Nothing else is resolved.
	static std::string resolvePartialFilePath(
	    const std::string &path, const std::string &baseFolderPath, char separator = Platform::pathSeparator());

	// The same with `.` and `..` taken out. Nothing leads above the root.
	static std::string resolveRelativePath(
	    const std::string &path, const std::string &rootPath, char separator = Platform::pathSeparator());

	// --- Well-known folders and files: worked out at the first call that succeeds; on failure a log line and an empty text ---

	// The file that this code was loaded from, its folder and its name.
	static const std::string &getAppPath();
	static const std::string &getAppDirPath();
	static const std::string &getAppName();
	static const std::string &getHomePath();
	static const std::string &getDesktopPath();
	static const std::string &getDocumentsPath();

	// Where a user's data lies; made when it is missing, as on a fresh machine.
	static const std::string &getUserDataPath();
	static const std::string &getSystemDataPath();
	static const std::string &getTmpPath();

	// Below the user's data; made when it is missing.
	static const std::string &getLogDirPath();

	// The folders of configuration and of documents that belong to an application folder: beside the build in a development tree, the
	// application folder itself elsewhere. Nothing is said about whether they exist.
	static std::string getConfigDirPath(const std::string &appDirPath, char separator = Platform::pathSeparator());
	static std::string getDocumentationDirPath(const std::string &appDirPath, char separator = Platform::pathSeparator());

	// Forgets what was worked out, so that a changed environment counts. For tests.
	static void forgetWellKnownPaths();

private:
	static std::string fAppDirPath;
	static std::string fAppName;
	static std::string fAppPath;
	static std::string fDesktopPath;
	static std::string fDocumentsPath;
	static std::string fHomePath;
	static std::string fLogDirPath;
	static std::string fSystemDataPath;
	static std::string fTmpPath;
	static std::string fUserDataPath;
};
}
