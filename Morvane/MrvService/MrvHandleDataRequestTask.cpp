#include "MrvService/MrvHandleDataRequestTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvTask/MrvIInternalCoordinator.h"

#include <utility>

namespace Mrv
{
HandleDataRequestTask::HandleDataRequestTask(std::shared_ptr<IOMNode> functionNode, std::shared_ptr<OMScope> scope)
    : Task(NO_TIMEOUT),
      fFunctionNode(std::move(functionNode)),
      fScope(std::move(scope))
{
	++sCount;
	setPersistent(true);
}

std::shared_ptr<HandleDataRequestTask> HandleDataRequestTask::start(
    const std::string &callBackID, const std::shared_ptr<IOMNode> &functionNode, const std::shared_ptr<OMScope> &scope)
{
	const std::shared_ptr<HandleDataRequestTask> predecessor = find(callBackID);
	auto task = std::make_shared<HandleDataRequestTask>(functionNode, scope);
	registerTask(task);
	if (predecessor)
	{
		predecessor->unregister();
	}
	task->setTaskName(callBackID);
	startTask(task);
	return task;
}

std::shared_ptr<HandleDataRequestTask> HandleDataRequestTask::find(const std::string &callBackID)
{
	return sharedCastTo<HandleDataRequestTask>(getTask(getTaskIdByName(callBackID)));
}

void HandleDataRequestTask::unregister()
{
	setTaskName({});
	setPersistent(false);
}

void HandleDataRequestTask::timeslice()
{
	const IInternalCoordinator *internalCoordinator = IInternalCoordinator::current();
	EXPECTED(internalCoordinator);
	fSuccess = true;
}
}
