#include "MrvPlatform/MrvProcess.h"

#include "MrvPlatform/windows/MrvWide.h"

namespace Mrv::Platform
{
ProcessId currentProcessId()
{
	return ::GetCurrentProcessId();
}

bool isProcessRunning(ProcessId processId)
{
	const HANDLE process = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
	if (!process || process == INVALID_HANDLE_VALUE)
	{
		return false;
	}
	DWORD exitCode = 0;
	const bool isRunning = ::GetExitCodeProcess(process, &exitCode) && exitCode == STILL_ACTIVE;
	::CloseHandle(process);
	return isRunning;
}
}
