#include "MrvParser/Task/MrvEvalTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
EvalTask::EvalTask(std::shared_ptr<IOMNode> node, std::shared_ptr<OMScope> scope, HandleReturnValue handleReturnValue)
    : Task(NO_TIMEOUT),
      fNode(std::move(node)),
      fScope(std::move(scope)),
      fHandleReturnValue(handleReturnValue)
{
}

std::shared_ptr<EvalTask> EvalTask::factory(
    const std::shared_ptr<IOMNode> &node, const std::shared_ptr<OMScope> &scope, HandleReturnValue handleReturnValue)
{
	SANITY_CHECK(node, return nullptr);
	SANITY_CHECK(scope, return nullptr);
	auto task = std::make_shared<EvalTask>(node, scope, handleReturnValue);
	registerTask(task);
	return task;
}

std::shared_ptr<IOMNode> EvalTask::call(
    const std::shared_ptr<IOMNode> &node, const std::shared_ptr<OMScope> &scope, HandleReturnValue handleReturnValue)
{
	const auto eval = factory(node, scope, handleReturnValue);
	SANITY_CHECK_AS(eval, "task", return nullptr);
	SANITY_CHECK(eval->runToCompletion(), return nullptr);
	return eval->hasResult() ? eval->getResult() : nullptr;
}

void EvalTask::timeslice()
{
	struct LocalVariableState : OMFunctionState
	{
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*this, fSuccess);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(VALUE_KNOWN, [&] { fNode->eval_yielding(shared_from_this(), fRetValNode, fScope, fHandleReturnValue); });
				break;
			case VALUE_KNOWN:
				fSuccess = fRetValNode != nullptr;
				setResult(fRetValNode);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
