// The well-known folders. Each getter fills its string on the first call that succeeds, and leaves it empty otherwise.
#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvModulePath.h"
#include "MrvUtils/MrvDirs.h"

#include <array>
#include <string_view>

namespace Mrv
{
std::string Dirs::fAppDirPath;
std::string Dirs::fAppName;
std::string Dirs::fAppPath;
std::string Dirs::fDesktopPath;
std::string Dirs::fDocumentsPath;
std::string Dirs::fHomePath;
std::string Dirs::fLogDirPath;
std::string Dirs::fSystemDataPath;
std::string Dirs::fTmpPath;
std::string Dirs::fUserDataPath;

namespace
{
std::string asFolder(std::string path)
{
	if (!path.empty() && path.back() != Platform::pathSeparator())
	{
		path += Platform::pathSeparator();
	}
	return path;
}

std::string folderFromSystem(Platform::WellKnownFolder folder)
{
	return asFolder(Platform::wellKnownFolder(folder).value_or(""));
}

// A folder below another one; empty when that one is unknown.
std::string below(const std::string &parent, std::string_view name)
{
	return parent.empty() ? std::string() : asFolder(parent + std::string(name));
}

// The path is a folder's, or else it is emptied.
bool keepIfDirectory(std::string &path)
{
	if (!Dirs::dirExists(path))
	{
		path.clear();
	}
	return !path.empty();
}

// Under the root of a development tree `subfolder`; the application folder itself when it lies in no such tree.
std::string folderInDevelopmentTree(const std::string &appDirPath, const std::string &subfolder, char separator)
{
	constexpr std::array kTails{"\\VisualStudio\\Morvane\\x64\\Debug\\", "\\VisualStudio\\Morvane\\x64\\Release\\", "\\CurrentRelease\\"};
	for (std::string tail : kTails)
	{
		for (char &character : tail)
		{
			character = character == '\\' ? separator : character;
		}
		if (appDirPath.ends_with(tail))
		{
			return appDirPath.substr(0, appDirPath.size() - tail.size() + 1) + subfolder + separator;
		}
	}
	return appDirPath;
}
}

const std::string &Dirs::getAppPath()
{
	if (fAppPath.empty())
	{
		const std::optional<std::string> path = Platform::modulePath();
		SANITY_CHECK_AS(path, "getModuleFileNameError != 0", return fAppPath);
		fAppPath = *path;
		SANITY_CHECK_AS(!fAppPath.empty(), "! fAppPath.empty()", return fAppPath);
	}
	return fAppPath;
}

const std::string &Dirs::getAppDirPath()
{
	if (fAppDirPath.empty())
	{
		fAppDirPath = getParentPath(getAppPath());
		SANITY_CHECK_AS(keepIfDirectory(fAppDirPath), "Dirs::dirExists(fAppDirPath)", return fAppDirPath);
	}
	return fAppDirPath;
}

const std::string &Dirs::getAppName()
{
	if (fAppName.empty())
	{
		const std::string &appPath = getAppPath();
		SANITY_CHECK(Dirs::fileExists(appPath), return fAppName);
		fAppName = getPathSegmentFromRight(appPath, 0);
	}
	return fAppName;
}

const std::string &Dirs::getHomePath()
{
	if (fHomePath.empty())
	{
		fHomePath = folderFromSystem(Platform::WellKnownFolder::HOME);
		SANITY_CHECK_AS(keepIfDirectory(fHomePath), "dirExists(fHomePath)", return fHomePath);
	}
	return fHomePath;
}

const std::string &Dirs::getDesktopPath()
{
	if (fDesktopPath.empty())
	{
		fDesktopPath = below(getHomePath(), "Desktop");
		SANITY_CHECK_AS(keepIfDirectory(fDesktopPath), "dirExists(fDesktopPath)", return fDesktopPath);
	}
	return fDesktopPath;
}

const std::string &Dirs::getDocumentsPath()
{
	if (fDocumentsPath.empty())
	{
		fDocumentsPath = below(getHomePath(), "Documents");
		SANITY_CHECK_AS(keepIfDirectory(fDocumentsPath), "dirExists(fDocumentsPath)", return fDocumentsPath);
	}
	return fDocumentsPath;
}

const std::string &Dirs::getUserDataPath()
{
	if (fUserDataPath.empty())
	{
		fUserDataPath = folderFromSystem(Platform::WellKnownFolder::USER_DATA);
		if (!fUserDataPath.empty() && !exists(fUserDataPath))
		{
			mkDir(fUserDataPath, DirRecurse::RECURSE);
		}
		SANITY_CHECK_AS(keepIfDirectory(fUserDataPath), "dirExists(fUserDataPath)", return fUserDataPath);
	}
	return fUserDataPath;
}

const std::string &Dirs::getSystemDataPath()
{
	if (fSystemDataPath.empty())
	{
		fSystemDataPath = folderFromSystem(Platform::WellKnownFolder::SYSTEM_DATA);
		SANITY_CHECK_AS(keepIfDirectory(fSystemDataPath), "dirExists(fSystemDataPath)", return fSystemDataPath);
	}
	return fSystemDataPath;
}

const std::string &Dirs::getTmpPath()
{
	if (fTmpPath.empty())
	{
		fTmpPath = folderFromSystem(Platform::WellKnownFolder::TEMPORARY);
		SANITY_CHECK_AS(keepIfDirectory(fTmpPath), "dirExists(fTmpPath)", return fTmpPath);
	}
	return fTmpPath;
}

const std::string &Dirs::getLogDirPath()
{
	if (fLogDirPath.empty())
	{
		fLogDirPath = below(below(getUserDataPath(), "net.morvane"), "Logs");
		if (!fLogDirPath.empty())
		{
			Dirs::mkDir(fLogDirPath, DirRecurse::RECURSE);
		}
		SANITY_CHECK_AS(keepIfDirectory(fLogDirPath), "Dirs::dirExists(fLogDirPath)", return fLogDirPath);
	}
	return fLogDirPath;
}

std::string Dirs::getConfigDirPath(const std::string &appDirPath, char separator)
{
	return folderInDevelopmentTree(appDirPath, "Morvane", separator);
}

std::string Dirs::getDocumentationDirPath(const std::string &appDirPath, char separator)
{
	return folderInDevelopmentTree(appDirPath, "MorvaneDocs", separator);
}

void Dirs::forgetWellKnownPaths()
{
	for (std::string *const path : {&fAppDirPath, &fAppName, &fAppPath, &fDesktopPath, &fDocumentsPath, &fHomePath, &fLogDirPath,
	         &fSystemDataPath, &fTmpPath, &fUserDataPath})
	{
		path->clear();
	}
}
}
