#include "MrvPlatform/MrvFileSystem.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace Mrv::Platform
{
namespace
{
bool isPossiblePath(const std::string &path)
{
	return !path.empty() && path.find('\0') == std::string::npos;
}

FileKind kindOf(mode_t mode)
{
	if (S_ISREG(mode))
	{
		return FileKind::FILE;
	}
	if (S_ISDIR(mode))
	{
		return FileKind::DIRECTORY;
	}
	return S_ISFIFO(mode) || S_ISSOCK(mode) ? FileKind::PIPE : FileKind::OTHER;
}

const char *modeText(OpenMode mode)
{
	switch (mode)
	{
		case OpenMode::READ:
			return "rbe";
		case OpenMode::WRITE:
			return "wbe";
		case OpenMode::APPEND:
			return "abe";
		case OpenMode::UPDATE:
			return "r+be";
		case OpenMode::REPLACE:
			return "w+be";
	}
	return "rbe";
}
}

char pathSeparator()
{
	return '/';
}

FileInfo fileInfo(const std::string &path)
{
	struct stat status
	{
	};
	if (!isPossiblePath(path) || ::stat(path.c_str(), &status) != 0)
	{
		return {};
	}
	FileInfo info;
	info.kind = kindOf(status.st_mode);
	info.size = info.kind == FileKind::FILE ? static_cast<std::int64_t>(status.st_size) : 0;
	info.modifiedNanoseconds = static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
	return info;
}

bool isLink(const std::string &path)
{
	// With a separator at its end the path would mean what the link leads to.
	std::string bare = path;
	while (bare.size() > 1 && bare.back() == '/')
	{
		bare.pop_back();
	}
	struct stat status
	{
	};
	return isPossiblePath(bare) && ::lstat(bare.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool listDirectory(const std::string &path, std::vector<std::string> &names)
{
	names.clear();
	struct Close
	{
		void operator()(DIR *directory) const { ::closedir(directory); }
	};
	const std::unique_ptr<DIR, Close> directory(isPossiblePath(path) ? ::opendir(path.c_str()) : nullptr);
	if (!directory)
	{
		return false;
	}
	errno = 0;
	while (const dirent *entry = ::readdir(directory.get()))
	{
		if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
		{
			names.emplace_back(entry->d_name);
		}
		errno = 0;
	}
	if (errno != 0)
	{
		names.clear();
		return false;
	}
	return true;
}

bool makeDirectory(const std::string &path)
{
	return isPossiblePath(path) && ::mkdir(path.c_str(), S_IRWXU) == 0;
}

bool removeDirectory(const std::string &path)
{
	return isPossiblePath(path) && ::rmdir(path.c_str()) == 0;
}

bool removeFile(const std::string &path)
{
	return isPossiblePath(path) && ::unlink(path.c_str()) == 0;
}

bool renameReplacing(const std::string &from, const std::string &to)
{
	return isPossiblePath(from) && isPossiblePath(to) && ::rename(from.c_str(), to.c_str()) == 0;
}

std::optional<std::string> currentDirectory()
{
	struct Free
	{
		void operator()(char *text) const { std::free(text); }
	};
	const std::unique_ptr<char, Free> path(::getcwd(nullptr, 0));
	return path ? std::optional<std::string>(path.get()) : std::nullopt;
}

bool setCurrentDirectory(const std::string &path)
{
	return isPossiblePath(path) && ::chdir(path.c_str()) == 0;
}

std::FILE *openFile(const std::string &path, OpenMode mode)
{
	if (!isPossiblePath(path))
	{
		errno = EINVAL;
		return nullptr;
	}
	std::FILE *const file = std::fopen(path.c_str(), modeText(mode));
	struct stat status
	{
	};
	if (file && ::fstat(::fileno(file), &status) == 0 && S_ISDIR(status.st_mode))
	{
		std::fclose(file);
		errno = EISDIR;
		return nullptr;
	}
	return file;
}

bool seekFile(std::FILE *file, std::int64_t position)
{
	return ::fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0;
}
}
