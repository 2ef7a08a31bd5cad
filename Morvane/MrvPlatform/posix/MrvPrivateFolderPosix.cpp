#include "MrvPlatform/MrvPrivateFolder.h"

#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"

#include <sys/stat.h>
#include <unistd.h>

namespace Mrv::Platform
{
std::string privateFolderRefusal(const std::string &path)
{
	struct stat status
	{
	};
	if (path.empty() || path.find('\0') != std::string::npos || ::lstat(path.c_str(), &status) != 0)
	{
		return "the folder can't be looked at: " + path;
	}
	if (!S_ISDIR(status.st_mode))
	{
		return "this must be a folder, not a link or a file: " + path;
	}
	if (status.st_uid != ::geteuid())
	{
		return "the folder belongs to another user: " + path;
	}
	if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
	{
		return "the folder must have no rights for group and others (chmod 700): " + path;
	}
	return {};
}

bool isOwnFile(const std::string &path)
{
	struct stat status
	{
	};
	return !path.empty() && path.find('\0') == std::string::npos && ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
	       status.st_uid == ::geteuid();
}

std::string runtimeFolder(std::string &refusal)
{
	refusal.clear();
	std::string folder = environmentVariable("XDG_RUNTIME_DIR").value_or("");
	while (folder.size() > 1 && folder.back() == '/')
	{
		folder.pop_back();
	}
	// The variable may be left from a session that has ended, or from another user's.
	if (!folder.starts_with('/') || fileInfo(folder).kind != FileKind::DIRECTORY)
	{
		folder = wellKnownFolder(WellKnownFolder::TEMPORARY).value_or("/tmp") + "/morvane-" + std::to_string(::geteuid());
		makeDirectory(folder);
	}
	refusal = privateFolderRefusal(folder);
	return refusal.empty() ? folder : std::string();
}
}
