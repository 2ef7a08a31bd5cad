#include "MrvPlatform/MrvPrivateFolder.h"

#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"

namespace Mrv::Platform
{
std::string privateFolderRefusal(const std::string &path)
{
	return fileInfo(path).kind == FileKind::DIRECTORY ? std::string() : "this must be a folder: " + path;
}

bool isOwnFile(const std::string &path)
{
	return fileInfo(path).kind == FileKind::FILE && !isLink(path);
}

std::string runtimeFolder(std::string &refusal)
{
	// The user's own already.
	std::string folder = wellKnownFolder(WellKnownFolder::TEMPORARY).value_or("");
	refusal = privateFolderRefusal(folder);
	return refusal.empty() ? folder : std::string();
}
}
