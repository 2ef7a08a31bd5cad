#include "support/TestEnvironment.h"

#include <cstdlib>
#include <filesystem>

namespace Mrv::Test
{

namespace
{

std::wstring wide(const std::string &text)
{
	// A path converts from UTF-8 without asking for the code page.
	return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
}

} // namespace

bool setEnvironmentVariable(const std::string &name, const std::string &value)
{
	// Changes the run-time library's environment and the system's in one go.
	return ::_wputenv_s(wide(name).c_str(), wide(value).c_str()) == 0;
}

} // namespace Mrv::Test
