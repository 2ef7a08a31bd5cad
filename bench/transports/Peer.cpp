#include "Transports.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv::Bench
{
int startPeer(const std::function<void()> &serve)
{
	const pid_t process = ::fork();
	if (process == 0)
	{
		::prctl(PR_SET_PDEATHSIG, SIGKILL);
		serve();
		::_exit(1);
	}
	return process;
}

void endPeer(int processId)
{
	::kill(processId, SIGKILL);
	::waitpid(processId, nullptr, 0);
}
}
