#include "support/TestHome.h"

#include "MrvPlatform/MrvEnvironment.h"

#include <random>
#include <string>
#include <system_error>
#include <utility>

namespace Mrv::Test
{
namespace
{
std::string utf8(const std::filesystem::path &path)
{
	const std::u8string text = path.u8string();
	return {text.begin(), text.end()};
}
}

bool useHome(const std::filesystem::path &home)
{
	const std::filesystem::path userData = home / "AppData" / "Roaming";
	const std::filesystem::path systemData = home / "ProgramData";
	const std::filesystem::path temporary = home / "tmp";
	for (const std::filesystem::path &folder : {userData, systemData, temporary, home / "Desktop", home / "Documents"})
	{
		std::error_code error;
		std::filesystem::create_directories(folder, error);
		if (error)
		{
			return false;
		}
	}

	const std::pair<const char *, std::filesystem::path> variables[] = {
	    {"HOME", home},
	    {"XDG_DATA_HOME", userData},
	    {"TMPDIR", temporary},
	    {"XDG_RUNTIME_DIR", {}},
	    {"USERPROFILE", home},
	    {"APPDATA", userData},
	    {"LOCALAPPDATA", userData},
	    {"PROGRAMDATA", systemData},
	    {"TEMP", temporary},
	    {"TMP", temporary},
	    // The caller's configuration must not reach the tests.
	    {"MORVANE_CONFIG_NODE_NAME", {}},
	};
	for (const auto &[name, value] : variables)
	{
		if (!Platform::setEnvironmentVariable(name, utf8(value)))
		{
			return false;
		}
	}
	return true;
}

TestHome::TestHome() : fIsReady(false)
{
	std::error_code error;
	const std::filesystem::path base = std::filesystem::temp_directory_path(error);
	if (error)
	{
		return;
	}
	fTop = base / ("morvane-tests-" + std::to_string(std::random_device{}()));
	fHome = fTop / u8"Jürgen" / u8"日本";
	fIsReady = useHome(fHome);
}

TestHome::~TestHome()
{
	if (!fTop.empty())
	{
		std::error_code ignored;
		std::filesystem::remove_all(fTop, ignored);
	}
}
}
