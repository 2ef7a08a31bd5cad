#include "support/ProcessMemory.h"

#include <filesystem>
#include <fstream>
#include <iterator>
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

std::size_t openHandles()
{
	const std::filesystem::directory_iterator open("/proc/self/fd");
	return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}
}
