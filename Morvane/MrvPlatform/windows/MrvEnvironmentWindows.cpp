#include "MrvPlatform/MrvEnvironment.h"

#include "MrvPlatform/windows/MrvWide.h"

namespace Mrv::Platform
{
namespace
{
std::optional<std::wstring> toWideName(const std::string &name)
{
	return name.empty() || name.find('=') != std::string::npos ? std::nullopt : Windows::toWide(name);
}

std::optional<std::string> nonEmptyVariable(const char *name)
{
	std::optional<std::string> value = environmentVariable(name);
	return value && !value->empty() ? value : std::nullopt;
}
}

const std::string &systemName()
{
	static const std::string sName = "windows";
	return sName;
}

std::optional<std::string> environmentVariable(const std::string &name)
{
	const std::optional<std::wstring> wideName = toWideName(name);
	if (!wideName)
	{
		return std::nullopt;
	}
	std::wstring value(256, L'\0');
	for (;;)
	{
		::SetLastError(ERROR_SUCCESS);
		const DWORD size = ::GetEnvironmentVariableW(wideName->c_str(), value.data(), static_cast<DWORD>(value.size()));
		if (size == 0 && ::GetLastError() != ERROR_SUCCESS)
		{
			return std::nullopt;
		}
		if (size < value.size())
		{
			value.resize(size);
			return Windows::toUtf8(value);
		}
		value.resize(size);
	}
}

bool setEnvironmentVariable(const std::string &name, const std::string &value)
{
	const std::optional<std::wstring> wideName = toWideName(name);
	const std::optional<std::wstring> wideValue = Windows::toWide(value);
	return wideName && wideValue && ::SetEnvironmentVariableW(wideName->c_str(), wideValue->c_str());
}

bool unsetEnvironmentVariable(const std::string &name)
{
	const std::optional<std::wstring> wideName = toWideName(name);
	return wideName && (::SetEnvironmentVariableW(wideName->c_str(), nullptr) || ::GetLastError() == ERROR_ENVVAR_NOT_FOUND);
}

std::optional<std::string> wellKnownFolder(WellKnownFolder folder)
{
	switch (folder)
	{
		case WellKnownFolder::HOME:
			return nonEmptyVariable("USERPROFILE");
		case WellKnownFolder::USER_DATA:
			return nonEmptyVariable("APPDATA");
		case WellKnownFolder::LOCAL_DATA:
		{
			std::optional<std::string> localData = nonEmptyVariable("LOCALAPPDATA");
			return localData ? localData : nonEmptyVariable("APPDATA");
		}
		case WellKnownFolder::SYSTEM_DATA:
			return nonEmptyVariable("PROGRAMDATA");
		case WellKnownFolder::TEMPORARY:
			return nonEmptyVariable("TEMP");
	}
	return std::nullopt;
}
}
