#include "MrvService/MrvCallNodeAsFunctionForDataReplyTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"

#include <utility>

namespace Mrv
{
CallNodeAsFunctionForDataReplyTask::CallNodeAsFunctionForDataReplyTask(
    std::shared_ptr<IOMNode> functionNode, std::shared_ptr<OMScope> scope, const ArgumentList &arguments, RemoteReply reply)
    : CallNodeAsFunctionTask(std::move(functionNode), std::move(scope), arguments, nullptr, DEFAULT_TIMEOUT),
      fReply(std::move(reply))
{
}

std::shared_ptr<CallNodeAsFunctionForDataReplyTask> CallNodeAsFunctionForDataReplyTask::factory(
    const std::shared_ptr<IOMNode> &functionNode, const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments, RemoteReply reply)
{
	SANITY_CHECK(functionNode, return nullptr);
	SANITY_CHECK(scope, return nullptr);
	auto task = std::make_shared<CallNodeAsFunctionForDataReplyTask>(functionNode, scope, arguments, std::move(reply));
	registerTask(task);
	return task;
}

void CallNodeAsFunctionForDataReplyTask::handleCompletion()
{
	const std::shared_ptr<Task> self = shared_from_this();
	Task::handleCompletion();
	fReply.sendResultOf(*this, OpCode::DATA_REPLY);
}
}
