#include "support/ProcessMemory.h"

#include <fstream>
#include <unistd.h>

namespace Mrv::Test
{
std::size_t residentBytes()
{
	std::size_t all = 0;
	std::size_t resident = 0;
	std::ifstream("/proc/self/statm") >> all >> resident;
	return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}
}
