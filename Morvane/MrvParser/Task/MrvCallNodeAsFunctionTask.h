#pragma once

#include "MrvParser/Node/MrvValueList.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
class OMScope;

// Calls a function node, for instance a call-back. Runs in the scheduler, mostly as a child; what the function gives is the task's result.
// The task keeps the scope that the call is made in.
class CallNodeAsFunctionTask : public WrapperTask<CallNodeAsFunctionTask>
{
public:
	static constexpr const char *LOCAL_NAME = "callNodeAsFunction";

	// arguments: null for none. thisNode: what `this` is; null for the node of the scope.
	CallNodeAsFunctionTask(std::shared_ptr<IOMNode> functionNode, std::shared_ptr<OMScope> scope, const ArgumentList &arguments,
	    const std::shared_ptr<IOMNode> &thisNode = nullptr, int64_t timeoutMicroseconds = NO_TIMEOUT);
	bool hasArguments() const { return true; }

protected:
	void timeslice() override;

private:
	std::shared_ptr<IOMNode> fWrapped_this;
	std::shared_ptr<OMScope> fScope;
	Value fThisValue;
	ValueList fArguments;
};
}
