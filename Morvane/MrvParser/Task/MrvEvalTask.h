#pragma once

#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvTask/MrvTask.h"

namespace Mrv
{
class OMScope;

// Runs what a node holds. The result is the task's result.
class EvalTask final : public Task
{
public:
	static std::shared_ptr<EvalTask> factory(
	    const std::shared_ptr<IOMNode> &node, const std::shared_ptr<OMScope> &scope, HandleReturnValue handleReturnValue);
	// Runs it to its end; the value, or null.
	static std::shared_ptr<IOMNode> call(
	    const std::shared_ptr<IOMNode> &node, const std::shared_ptr<OMScope> &scope, HandleReturnValue handleReturnValue);

	EvalTask(std::shared_ptr<IOMNode> node, std::shared_ptr<OMScope> scope, HandleReturnValue handleReturnValue);

protected:
	void timeslice() override;

private:
	std::shared_ptr<IOMNode> fNode;
	std::shared_ptr<OMScope> fScope;
	HandleReturnValue fHandleReturnValue;
	std::shared_ptr<IOMNode> fRetValNode;
};
}
