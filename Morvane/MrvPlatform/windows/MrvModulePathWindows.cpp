#include "MrvPlatform/MrvModulePath.h"

#include "MrvPlatform/windows/MrvWide.h"

namespace Mrv::Platform
{
std::optional<std::string> modulePath()
{
	static const char sInThisModule = 0;
	HMODULE module = nullptr;
	if (!::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
	        reinterpret_cast<LPCWSTR>(&sInThisModule), &module))
	{
		return std::nullopt;
	}
	// The longest path that the system knows; a shorter buffer would get a path cut off.
	std::wstring path(32768, L'\0');
	const DWORD size = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
	if (size == 0 || size >= path.size())
	{
		return std::nullopt;
	}
	path.resize(size);
	return Windows::toUtf8(path);
}
}
