#include "MrvPlatform/MrvArguments.h"

#include "MrvPlatform/windows/MrvWide.h"

#include <shellapi.h>

namespace Mrv::Platform
{
std::vector<std::string> processArguments(int argc, const char *const *argv)
{
	int count = 0;
	LPWSTR *const wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
	if (!wide)
	{
		return {argv, argv + argc};
	}
	std::vector<std::string> arguments;
	for (int i = 0; i < count; ++i)
	{
		arguments.push_back(Windows::toUtf8(wide[i]));
	}
	::LocalFree(wide);
	return arguments;
}
}
