#include "MrvPlatform/MrvArguments.h"

namespace Mrv::Platform
{
std::vector<std::string> processArguments(int argc, const char *const *argv)
{
	return {argv, argv + argc};
}
}
