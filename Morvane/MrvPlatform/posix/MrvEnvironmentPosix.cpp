#include "MrvPlatform/MrvEnvironment.h"

#include <cstdlib>

namespace Mrv::Platform
{
namespace
{
bool isPossibleName(const std::string &name)
{
	return !name.empty() && name.find('=') == std::string::npos && name.find('\0') == std::string::npos;
}

std::optional<std::string> nonEmptyVariable(const char *name)
{
	std::optional<std::string> value = environmentVariable(name);
	return value && !value->empty() ? value : std::nullopt;
}
}

const std::string &systemName()
{
	static const std::string sName = "linux";
	return sName;
}

std::optional<std::string> environmentVariable(const std::string &name)
{
	const char *const value = isPossibleName(name) ? ::getenv(name.c_str()) : nullptr;
	return value ? std::optional<std::string>(value) : std::nullopt;
}

bool setEnvironmentVariable(const std::string &name, const std::string &value)
{
	return isPossibleName(name) && value.find('\0') == std::string::npos && ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

bool unsetEnvironmentVariable(const std::string &name)
{
	return isPossibleName(name) && ::unsetenv(name.c_str()) == 0;
}

std::optional<std::string> wellKnownFolder(WellKnownFolder folder)
{
	switch (folder)
	{
		case WellKnownFolder::HOME:
			return nonEmptyVariable("HOME");
		case WellKnownFolder::USER_DATA:
		case WellKnownFolder::LOCAL_DATA:
		{
			if (std::optional<std::string> dataHome = nonEmptyVariable("XDG_DATA_HOME"))
			{
				return dataHome;
			}
			std::optional<std::string> home = nonEmptyVariable("HOME");
			return home ? std::optional<std::string>(*home + "/.local/share") : std::nullopt;
		}
		case WellKnownFolder::SYSTEM_DATA:
			return "/usr/local/share";
		case WellKnownFolder::TEMPORARY:
			return nonEmptyVariable("TMPDIR").value_or("/tmp");
	}
	return std::nullopt;
}
}
