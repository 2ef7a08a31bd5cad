#include "support/KillProcess.h"

#include <windows.h>

namespace Mrv::Test
{
void killProcess(unsigned processId)
{
	const HANDLE process = ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, processId);
	if (process)
	{
		::TerminateProcess(process, 9);
		::WaitForSingleObject(process, 10'000);
		::CloseHandle(process);
	}
}
}
