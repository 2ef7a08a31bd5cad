#include "support/ProcessMemory.h"

#include <windows.h>

#include <psapi.h>

namespace Mrv::Test
{
std::size_t residentBytes()
{
	PROCESS_MEMORY_COUNTERS counters{};
	return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
}

std::size_t openHandles()
{
	DWORD count = 0;
	return GetProcessHandleCount(GetCurrentProcess(), &count) ? count : 0;
}
}
