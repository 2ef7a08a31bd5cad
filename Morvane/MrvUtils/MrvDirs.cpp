#include "MrvUtils/MrvDirs.h"

#include "MrvLogger/MrvChecks.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Mrv
{
namespace
{
bool isLetter(char character)
{
	return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isSeparator(char separator)
{
	SANITY_CHECK(separator == '\\' || separator == '/', return false);
	return true;
}

// The part of a path that can't be taken away: "/", "C:\" or, for a path that names a drive only, "C:". Empty for a relative path. The
// form with a drive counts with either separator, so that paths from the other system come apart as well.
std::string_view rootOf(std::string_view path, char separator)
{
	if (path.starts_with(separator))
	{
		return path.substr(0, 1);
	}
	if (path.size() >= 2 && isLetter(path[0]) && path[1] == ':' && (separator == '\\' || Platform::pathSeparator() == '\\'))
	{
		return path.substr(0, path.size() > 2 && path[2] == separator ? 3 : 2);
	}
	return {};
}

// Without separators at its end, except those of its root.
std::string_view withoutTrailingSeparators(std::string_view path, char separator)
{
	const std::size_t rootSize = rootOf(path, separator).size();
	while (path.size() > rootSize && path.back() == separator)
	{
		path.remove_suffix(1);
	}
	return path;
}

std::vector<std::string_view> segmentsOf(std::string_view path, char separator)
{
	std::vector<std::string_view> segments;
	while (!path.empty())
	{
		const std::size_t end = std::min(path.find(separator), path.size());
		if (end > 0)
		{
			segments.push_back(path.substr(0, end));
		}
		path.remove_prefix(std::min(end + 1, path.size()));
	}
	return segments;
}

// What stands between separators, those at the end aside: a path that begins with one begins with an empty piece.
std::vector<std::string_view> piecesOf(std::string_view path, char separator)
{
	path = path.substr(0, path.find_last_not_of(separator) + 1);
	std::vector<std::string_view> pieces;
	while (!path.empty())
	{
		const std::size_t end = std::min(path.find(separator), path.size());
		pieces.push_back(path.substr(0, end));
		path.remove_prefix(std::min(end + 1, path.size()));
	}
	return pieces;
}

std::string withTrailingSeparator(std::string path, char separator)
{
	if (!path.empty() && path.back() != separator)
	{
		path += separator;
	}
	return path;
}

// The path as the system's file functions want it. Where `\` is a separator they take `/` as well; elsewhere it is a character.
std::string nativePath(std::string path, char separator)
{
	if (separator == '\\' && Platform::pathSeparator() == '/')
	{
		std::replace(path.begin(), path.end(), '\\', '/');
	}
	return path;
}

// The path without a separator at its end, which the removal of links and some systems' file functions want.
std::string barePath(const std::string &path)
{
	std::string_view bare = withoutTrailingSeparators(path, Platform::pathSeparator());
	if (Platform::pathSeparator() == '\\')
	{
		// Both kinds may stand there in a row.
		while (bare.size() > 1 && (bare.back() == '/' || bare.back() == '\\') && bare[bare.size() - 2] != ':')
		{
			bare.remove_suffix(1);
		}
	}
	return std::string(bare);
}

bool endsInSystemSeparator(const std::string &path)
{
	return !path.empty() && path.back() == Platform::pathSeparator();
}

bool isRoot(const std::string &barePath)
{
	return barePath == rootOf(barePath, Platform::pathSeparator()) || barePath == rootOf(barePath, '/');
}

bool isRealDirectory(const std::string &path)
{
	return !Platform::isLink(path) && Platform::fileInfo(path).kind == Platform::FileKind::DIRECTORY;
}

// Removes what is in a folder and then the folder. The folders that are still to be removed are kept in a list instead of on the native
// stack, parents before what they hold: when a folder comes up for the second time, its contents have gone or can't go.
void removeTree(const std::string &dirPath)
{
	std::vector<std::pair<std::string, bool>> pending{{dirPath, false}};
	while (!pending.empty())
	{
		if (pending.back().second)
		{
			Platform::removeDirectory(pending.back().first);
			pending.pop_back();
			continue;
		}
		pending.back().second = true;
		const std::string parent = pending.back().first + Platform::pathSeparator();
		std::vector<std::string> names;
		Platform::listDirectory(parent, names);
		for (const std::string &name : names)
		{
			const std::string path = parent + name;
			if (isRealDirectory(path))
			{
				pending.emplace_back(path, false);
			}
			else
			{
				Platform::removeFile(path);
			}
		}
	}
}
}

bool Dirs::dirExists(const std::string &dirPath, TrailingPathCharHandling trailingPathCharHandling)
{
	EXPECTED_AS(trailingPathCharHandling == TrailingPathCharHandling::Ignore || endsInSystemSeparator(dirPath),
	    "trailingPathCharHandling == TrailingPathCharHandling::Ignore || *(dirPath.rbegin()) == '\\\\'");
	return Platform::fileInfo(dirPath).kind == Platform::FileKind::DIRECTORY;
}

bool Dirs::fileExists(const std::string &filePath, TrailingPathCharHandling trailingPathCharHandling)
{
	EXPECTED_AS(trailingPathCharHandling == TrailingPathCharHandling::Ignore || (!filePath.empty() && !endsInSystemSeparator(filePath)),
	    "trailingPathCharHandling == TrailingPathCharHandling::Ignore || *(filePath.rbegin()) != '\\\\'");
	return barePath(filePath) == filePath && Platform::fileInfo(filePath).kind == Platform::FileKind::FILE;
}

bool Dirs::exists(const std::string &path)
{
	return Platform::fileInfo(path).kind != Platform::FileKind::NONE;
}

std::vector<std::string> Dirs::scanDir(const std::string &path)
{
	std::vector<std::string> names;
	if (!Platform::listDirectory(path, names))
	{
		LOG_ERROR("invalid directory");
	}
	std::sort(names.begin(), names.end());
	return names;
}

bool Dirs::mkDir(const std::string &dirPath, DirRecurse dirRecurse, char separator)
{
	if (!isSeparator(separator))
	{
		return false;
	}
	const std::string path = nativePath(dirPath, separator);
	if (dirRecurse == DirRecurse::RECURSE)
	{
		const std::string_view bare = withoutTrailingSeparators(path, Platform::pathSeparator());
		for (std::size_t pos = 1; pos < bare.size(); ++pos)
		{
			const bool isSegmentEnd = (bare[pos] == Platform::pathSeparator() || bare[pos] == separator) && bare[pos - 1] != bare[pos];
			const std::string parent = isSegmentEnd ? path.substr(0, pos) : std::string();
			if (isSegmentEnd && !Dirs::dirExists(parent))
			{
				Platform::makeDirectory(parent);
			}
		}
	}
	if (!Dirs::dirExists(path))
	{
		Platform::makeDirectory(path);
	}
	SANITY_CHECK_AS(Dirs::dirExists(path), "Dirs::dirExists(dirPath)", return false);
	return true;
}

bool Dirs::rmDir(const std::string &dirPath, DirRecurse dirRecurse, char separator)
{
	SANITY_CHECK_AS(!dirPath.empty(), "! dirPath.empty()", return false);
	if (!isSeparator(separator))
	{
		return false;
	}
	const std::string path = barePath(nativePath(dirPath, separator));
	if (isRoot(path))
	{
		LOG_ERROR("a root folder is not removed: " + path);
		return false;
	}
	if (Platform::isLink(path))
	{
		Platform::removeFile(path);
	}
	else if (isRealDirectory(path))
	{
		if (dirRecurse == DirRecurse::RECURSE)
		{
			removeTree(path);
		}
		else
		{
			Platform::removeDirectory(path);
		}
	}
	return !Dirs::exists(path) && !Platform::isLink(path);
}

std::string Dirs::getCurrentDir()
{
	const std::optional<std::string> currentDir = Platform::currentDirectory();
	VERIFY_AS(currentDir, "_getcwd(currentDir, sizeof(currentDir))", return {});
	return withTrailingSeparator(*currentDir, Platform::pathSeparator());
}

std::string Dirs::fullPath(const std::string &path, char separator)
{
	if (!isSeparator(separator))
	{
		return {};
	}
	std::string result = path;
	// A system that takes both separators takes both as a root.
	const bool hasRoot = !rootOf(path, separator).empty() || !rootOf(path, Platform::pathSeparator()).empty() ||
	                     (Platform::pathSeparator() == '\\' && path.starts_with('/'));
	if (!hasRoot)
	{
		result = getCurrentDir();
		std::replace(result.begin(), result.end(), Platform::pathSeparator(), separator);
		result += path;
	}
	return Dirs::dirExists(nativePath(result, separator)) ? withTrailingSeparator(result, separator) : result;
}

std::string Dirs::getFileNameExtension(const std::string &path)
{
	SANITY_CHECK_AS(!path.empty(), "! path.empty()", return {});
	const std::size_t nameStart = path.find_last_of("/\\");
	const std::size_t point = path.find_last_of('.');
	const bool isInName = point != std::string::npos && (nameStart == std::string::npos || point > nameStart);
	return isInName ? path.substr(point + 1) : std::string();
}

std::string Dirs::getParentPath(const std::string &path, char separator)
{
	if (!isSeparator(separator))
	{
		return {};
	}
	const std::string_view bare = withoutTrailingSeparators(path, separator);
	const std::string_view root = rootOf(path, separator);
	const std::size_t lastSeparator = bare.find_last_of(separator);
	if (lastSeparator == std::string_view::npos || lastSeparator < root.size())
	{
		return std::string(root);
	}
	const std::string_view parent = withoutTrailingSeparators(bare.substr(0, lastSeparator), separator);
	return withTrailingSeparator(std::string(parent), separator);
}

std::string Dirs::getPathSegmentFromLeft(const std::string &path, std::size_t idx, char separator)
{
	if (!isSeparator(separator))
	{
		return {};
	}
	const std::vector<std::string_view> segments = piecesOf(path, separator);
	return idx < segments.size() ? std::string(segments[idx]) : std::string();
}

std::string Dirs::getPathSegmentFromRight(const std::string &path, std::size_t idx, char separator)
{
	if (!isSeparator(separator))
	{
		return {};
	}
	const std::vector<std::string_view> segments = piecesOf(path, separator);
	return idx < segments.size() ? std::string(segments[segments.size() - 1 - idx]) : std::string();
}

std::string Dirs::resolvePartialFilePath(const std::string &path, const std::string &baseFolderPath, char separator)
{
	if (!isSeparator(separator))
	{
		return {};
	}
	SANITY_CHECK_AS(Dirs::dirExists(nativePath(baseFolderPath, separator)), "Dirs::dirExists(baseFolderPath)", return {});
	return rootOf(path, separator).empty() ? withTrailingSeparator(baseFolderPath, separator) + path : path;
}

std::string Dirs::resolveRelativePath(const std::string &path, const std::string &rootPath, char separator)
{
	if (!isSeparator(separator))
	{
		return {};
	}
	SANITY_CHECK_AS(Dirs::dirExists(nativePath(rootPath, separator)), "Dirs::dirExists(rootPath)", return {});
	const std::string absolute = rootOf(path, separator).empty() ? withTrailingSeparator(rootPath, separator) + path : path;
	const std::string_view root = rootOf(absolute, separator);
	const std::vector<std::string_view> given = segmentsOf(std::string_view(absolute).substr(root.size()), separator);
	std::vector<std::string_view> kept;
	for (const std::string_view segment : given)
	{
		if (segment == "..")
		{
			if (!kept.empty())
			{
				kept.pop_back();
			}
		}
		else if (segment != ".")
		{
			kept.push_back(segment);
		}
	}
	std::string result(root);
	for (const std::string_view segment : kept)
	{
		result.append(segment) += separator;
	}
	const bool namesFolder = given.empty() || absolute.back() == separator || given.back() == "." || given.back() == "..";
	if (!namesFolder)
	{
		result.pop_back();
	}
	return result;
}
}
