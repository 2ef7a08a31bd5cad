#include "MrvCoordinator/MrvPendingTasks.h"

#include "MrvObject/MrvGUIDClass.h"
#include "MrvUtils/MrvLimits.h"

namespace Mrv
{
GUIDClass *PendingTasks::getClientSession()
{
	if (!fClientSession)
	{
		fClientSession = GUIDClass::randomFactory();
	}
	return fClientSession;
}

void PendingTasks::enter(const std::shared_ptr<RemoteRequestTask> &task)
{
	RemoteExchange exchange;
	exchange.clientNumber = ++fLastNumber;
	exchange.clientSession = getClientSession();
	if (task->namesServiceSession())
	{
		const auto session = fServiceSessions.find(task->getTargetURL());
		exchange.serviceSession = session == fServiceSessions.end() ? nullptr : session->second;
	}
	task->restart(exchange);
	fTasks[fLastNumber] = task;
}

std::shared_ptr<RemoteRequestTask> PendingTasks::find(const std::optional<OMInt> &clientNumber) const
{
	const auto task = clientNumber ? fTasks.find(*clientNumber) : fTasks.end();
	return task == fTasks.end() ? nullptr : task->second.lock();
}

void PendingTasks::remove(const RemoteRequestTask &task)
{
	if (const std::optional<OMInt> &number = task.getExchange().clientNumber)
	{
		fTasks.erase(*number);
	}
}

void PendingTasks::learnServiceSession(const std::string &targetURL, GUIDClass *serviceSession)
{
	if (!serviceSession)
	{
		return;
	}
	if (fServiceSessions.size() >= Limits::LEARNT_SESSIONS && !fServiceSessions.contains(targetURL))
	{
		fServiceSessions.clear();
	}
	fServiceSessions[targetURL] = serviceSession;
}

void PendingTasks::clear()
{
	fTasks.clear();
	fServiceSessions.clear();
	fClientSession = nullptr;
}
}
