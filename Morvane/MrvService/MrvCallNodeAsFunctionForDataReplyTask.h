#pragma once

#include "MrvParser/Task/MrvCallNodeAsFunctionTask.h"
#include "MrvService/MrvRemoteReply.h"

#include <memory>

namespace Mrv
{
// Calls the function that was registered for a data request, and answers when it has ended and all that it has started as children: with
// what it gave, or, at the default time-out, without.
class CallNodeAsFunctionForDataReplyTask final : public CallNodeAsFunctionTask
{
public:
	static std::shared_ptr<CallNodeAsFunctionForDataReplyTask> factory(const std::shared_ptr<IOMNode> &functionNode,
	    const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments, RemoteReply reply);
	// Use the factory.
	CallNodeAsFunctionForDataReplyTask(
	    std::shared_ptr<IOMNode> functionNode, std::shared_ptr<OMScope> scope, const ArgumentList &arguments, RemoteReply reply);

	void handleCompletion() override;
	AncestorKind getAncestorKind() const override { return AncestorKind::CALL_NODE_AS_FUNCTION_FOR_DATA_REPLY; }

private:
	RemoteReply fReply;
};
}
