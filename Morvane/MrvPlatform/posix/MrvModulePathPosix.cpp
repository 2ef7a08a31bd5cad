#include "MrvPlatform/MrvModulePath.h"

#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <memory>
#include <unistd.h>

namespace Mrv::Platform
{
namespace
{
std::optional<std::string> programPath()
{
	std::string path(PATH_MAX, '\0');
	const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
	if (size <= 0)
	{
		return std::nullopt;
	}
	path.resize(static_cast<std::size_t>(size));
	return path;
}

// The loader knows the program itself under an empty name, so that a library can be told from it: for the program the name that
// `dladdr` gives is whatever the caller of `exec` wrote.
bool isProgram(const void *address)
{
	Dl_info info{};
	void *extra = nullptr;
	if (::dladdr1(address, &info, &extra, RTLD_DL_LINKMAP) == 0 || !extra)
	{
		return true;
	}
	const char *const name = static_cast<const link_map *>(extra)->l_name;
	return !name || *name == '\0';
}

struct Free
{
	void operator()(char *text) const { std::free(text); }
};
}

std::optional<std::string> modulePath()
{
	static const char sInThisModule = 0;
	Dl_info info{};
	if (isProgram(&sInThisModule) || ::dladdr(&sInThisModule, &info) == 0 || !info.dli_fname)
	{
		return programPath();
	}
	const std::unique_ptr<char, Free> path(::realpath(info.dli_fname, nullptr));
	return path ? std::optional<std::string>(path.get()) : std::nullopt;
}
}
