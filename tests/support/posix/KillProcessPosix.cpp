#include "support/KillProcess.h"

#include "MrvPlatform/MrvProcess.h"

#include <csignal>
#include <unistd.h>

namespace Mrv::Test
{
void killProcess(unsigned processId)
{
	::kill(static_cast<pid_t>(processId), SIGKILL);
	while (Platform::isProcessRunning(processId))
	{
		::usleep(1000);
	}
}
}
