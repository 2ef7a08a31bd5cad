#include "MrvPlatform/MrvSharedLibrary.h"

#include "MrvPlatform/windows/MrvWide.h"

namespace Mrv::Platform
{
SharedLibrary::SharedLibrary(const std::string &path)
{
	const std::optional<std::wstring> widePath = Windows::toWidePath(path);
	fHandle = widePath ? LoadLibraryExW(widePath->c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH) : nullptr;
	if (!fHandle)
	{
		const DWORD error = widePath ? GetLastError() : ERROR_INVALID_NAME;
		fRefusal = error == ERROR_BAD_EXE_FORMAT ? "it is no library for this architecture" : "error " + std::to_string(error);
	}
}

SharedLibrary::~SharedLibrary()
{
	if (fHandle)
	{
		FreeLibrary(static_cast<HMODULE>(fHandle));
	}
}

void *SharedLibrary::findSymbol(const char *name) const
{
	return fHandle ? reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(fHandle), name)) : nullptr;
}

bool SharedLibrary::isInMemory(const std::string &path)
{
	const std::optional<std::wstring> widePath = Windows::toWidePath(path);
	return widePath && GetModuleHandleW(widePath->c_str()) != nullptr;
}
}
