#include "MrvPlatform/MrvSharedLibrary.h"

#include <dlfcn.h>

namespace Mrv::Platform
{
SharedLibrary::SharedLibrary(const std::string &path) : fHandle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
{
	if (!fHandle)
	{
		const char *reason = dlerror();
		fRefusal = reason ? reason : "it can't be loaded";
	}
}

SharedLibrary::~SharedLibrary()
{
	if (fHandle)
	{
		dlclose(fHandle);
	}
}

void *SharedLibrary::findSymbol(const char *name) const
{
	return fHandle ? dlsym(fHandle, name) : nullptr;
}

bool SharedLibrary::isInMemory(const std::string &path)
{
	void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
	if (handle)
	{
		dlclose(handle);
	}
	return handle != nullptr;
}
}
