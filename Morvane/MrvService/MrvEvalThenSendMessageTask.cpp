#include "MrvService/MrvEvalThenSendMessageTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <utility>

namespace Mrv
{
EvalThenSendMessageTask::EvalThenSendMessageTask(
    std::shared_ptr<IOMNode> scriptNode, std::shared_ptr<OMScope> scope, RemoteReply reply, std::string scriptFilePath)
    : Task(DEFAULT_TIMEOUT),
      fScriptNode(std::move(scriptNode)),
      fScope(std::move(scope)),
      fReply(std::move(reply)),
      fScriptFilePath(std::move(scriptFilePath))
{
}

std::shared_ptr<EvalThenSendMessageTask> EvalThenSendMessageTask::factory(
    const std::shared_ptr<IOMNode> &scriptNode, const std::shared_ptr<OMScope> &scope, RemoteReply reply, const std::string &scriptFilePath)
{
	SANITY_CHECK(scriptNode, return nullptr);
	SANITY_CHECK(scope, return nullptr);
	auto task = std::make_shared<EvalThenSendMessageTask>(scriptNode, scope, std::move(reply), scriptFilePath);
	registerTask(task);
	return task;
}

void EvalThenSendMessageTask::timeslice()
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

	// For this slice only: others use the scope of the session as well.
	const ScriptPathEntry entry = fScriptFilePath.empty() ? ScriptPathEntry() : ScriptPathEntry(fScope, fScriptFilePath);
	YieldingFrame<LocalVariableState> frame(*this, fSuccess);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(
				    VALUE_KNOWN, [&] { fScriptNode->eval_yielding(shared_from_this(), fRetValNode, fScope, HandleReturnValue::UNWRAP); });
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

void EvalThenSendMessageTask::handleCompletion()
{
	const std::shared_ptr<Task> self = shared_from_this();
	Task::handleCompletion();
	fReply.sendResultOf(*this, OpCode::EVAL_RESULT);
}
}
