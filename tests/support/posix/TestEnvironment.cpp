#include "support/TestEnvironment.h"

#include <cstdlib>

namespace Mrv::Test
{

bool setEnvironmentVariable(const std::string &name, const std::string &value)
{
	return ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

} // namespace Mrv::Test
