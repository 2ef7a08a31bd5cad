#include "MrvCoordinator/MrvRemoteRequestTask.h"

#include "MrvAddress/MrvIAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Task/MrvCallNodeAsFunctionTask.h"
#include "MrvPlatform/MrvCast.h"

#include <utility>

namespace Mrv
{
namespace
{
constexpr int64_t MICROSECONDS_PER_MILLISECOND = 1000;

int64_t timeLimitOf(int64_t timeoutMicroseconds)
{
	return timeoutMicroseconds < 0 ? InternalCoordinator::getSettings().remoteTimeoutMicroseconds : timeoutMicroseconds;
}
}

RemoteRequestTask::RemoteRequestTask(
    std::shared_ptr<const IObject> targetAddressObj, OpCode opCode, int64_t timeoutMicroseconds, Callback callback)
    : Task(timeLimitOf(timeoutMicroseconds)),
      fTargetAddressObj(std::move(targetAddressObj)),
      fOpCode(opCode),
      fTimeLimitMicroseconds(timeLimitOf(timeoutMicroseconds)),
      fCallback(std::move(callback))
{
	if (const auto *address = castTo<const IAddress>(fTargetAddressObj.get()))
	{
		fTargetURL = address->getURL();
	}
}

void RemoteRequestTask::restart(const RemoteExchange &exchange)
{
	fExchange = exchange;
	fStage = Stage::WAITING;
}

bool RemoteRequestTask::takeAnswer(const std::shared_ptr<OMStored> &answer)
{
	if (!answer)
	{
		return false;
	}
	setResult(answer);
	fStage = Stage::ANSWERED;
	startCallback(answer);
	return true;
}

// Beside the task that asked, which doesn't end before it.
void RemoteRequestTask::startCallback(const std::shared_ptr<OMStored> &answer)
{
	if (!fCallback.functionNode || fCallback.functionNode->getType() != OMType::Function)
	{
		return;
	}
	const auto arguments = std::make_shared<std::vector<std::shared_ptr<IOMNode>>>(1, answer);
	const auto callNodeAsFunctionTask = CallNodeAsFunctionTask::factory(fCallback.functionNode, fCallback.scope, arguments);
	if (const auto parent = getParentTask())
	{
		parent->registerChildTask(callNodeAsFunctionTask);
	}
	startTask(callNodeAsFunctionTask);
}

void RemoteRequestTask::fail(const std::string &reason)
{
	fErrorNote = reason;
	fStage = Stage::FAILED;
}

void RemoteRequestTask::handleCompletion()
{
	const std::shared_ptr<Task> self = shared_from_this();
	if (const auto coordinator = InternalCoordinator::instance())
	{
		coordinator->removePendingTask(*this);
	}
	if (isTimedOut() && fStage == Stage::WAITING)
	{
		fail("no answer from " + fTargetURL + " within " + std::to_string(fTimeLimitMicroseconds / MICROSECONDS_PER_MILLISECOND) + " ms");
	}
	Task::handleCompletion();
}
}
