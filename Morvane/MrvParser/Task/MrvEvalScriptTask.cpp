#include "MrvParser/Task/MrvEvalScriptTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Stream/MrvInputStream.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
EvalScriptTask::EvalScriptTask(std::shared_ptr<OMScope> scope, HandleReturnValue handleReturnValue)
    : Task(NO_TIMEOUT),
      fScope(std::move(scope)),
      fHandleReturnValue(handleReturnValue)
{
}

std::shared_ptr<EvalScriptTask> EvalScriptTask::factory(
    const std::shared_ptr<OMScope> &scope, const std::string &scriptFilePath, HandleReturnValue handleReturnValue)
{
	SANITY_CHECK(scope, return nullptr);
	auto task = std::make_shared<EvalScriptTask>(scope, handleReturnValue);
	task->fScriptFilePath = scriptFilePath;
	registerTask(task);
	return task;
}

std::shared_ptr<EvalScriptTask> EvalScriptTask::streamFactory(const std::shared_ptr<OMScope> &scope, std::shared_ptr<InputStream> stream,
    const std::string &sourceName, HandleReturnValue handleReturnValue, const std::string &address)
{
	SANITY_CHECK(scope, return nullptr);
	auto task = std::make_shared<EvalScriptTask>(scope, handleReturnValue);
	task->fSource = ScriptEvaluation::Source{
	    std::move(stream), std::make_unique<ParseContext>(sourceName, ParseContext::FirstLine::MAY_BE_DIRECTIVE), address};
	registerTask(task);
	return task;
}

std::shared_ptr<IOMNode> EvalScriptTask::call(
    const std::shared_ptr<OMScope> &scope, const std::string &scriptFilePath, HandleReturnValue handleReturnValue)
{
	const auto evalScript = factory(scope, scriptFilePath, handleReturnValue);
	SANITY_CHECK_AS(evalScript, "task", return nullptr);
	SANITY_CHECK(evalScript->runToCompletion(), return nullptr);
	return evalScript->hasResult() ? evalScript->getResult() : nullptr;
}

void EvalScriptTask::timeslice()
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
				if (fSource)
				{
					frame.call(VALUE_KNOWN,
					    [&] {
						    ScriptEvaluation::evaluateSource_yielding(
						        *this, fValue, fIsParsed, *fSource, fScope->getEnvironment(), fHandleReturnValue);
					    });
				}
				else
				{
					frame.call(VALUE_KNOWN,
					    [&] {
						    ScriptEvaluation::evalScript_yielding(
						        *this, fValue, fIsParsed, fScriptFilePath, fScope->getEnvironment(), fHandleReturnValue);
					    });
				}
				break;
			case VALUE_KNOWN:
				fSuccess = fIsParsed;
				setResult(fValue.toNode());
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
