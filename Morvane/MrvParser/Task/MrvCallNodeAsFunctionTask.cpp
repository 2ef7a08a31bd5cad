#include "MrvParser/Task/MrvCallNodeAsFunctionTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"

namespace Mrv
{
CallNodeAsFunctionTask::CallNodeAsFunctionTask(std::shared_ptr<IOMNode> functionNode, std::shared_ptr<OMScope> scope,
    const ArgumentList &arguments, const std::shared_ptr<IOMNode> &thisNode, int64_t timeoutMicroseconds)
    : WrapperTask(timeoutMicroseconds),
      fWrapped_this(std::move(functionNode)),
      fScope(std::move(scope)),
      fThisValue(thisNode ? Value::nodeItself(thisNode) : Value::lazy())
{
	if (arguments)
	{
		for (const auto &argument : *arguments)
		{
			fArguments.push_back(Value::fromNode(argument));
		}
	}
}

void CallNodeAsFunctionTask::timeslice()
{
	struct LocalVariableState : OMFunctionState
	{
		Value function;
		Value value;
	};
	enum At : int32_t
	{
		START = 0,
		CALLED = 1,
		VALUE_KNOWN = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*this, fSuccess);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				SANITY_CHECK(fWrapped_this, frame.finish(); break);
				SANITY_CHECK_AS(fScope, "scope", frame.finish(); break);
				frame->function = fWrapped_this->getPlainValue();
				frame.goTo(CALLED);
				[[fallthrough]];
			case CALLED:
				frame.call(VALUE_KNOWN,
				    [&] {
					    Evaluation::callFunction_yielding(
					        *this, frame->value, frame->function, fThisValue, fArguments, fScope->getEnvironment());
				    });
				break;
			case VALUE_KNOWN:
				fSuccess = !frame->value.isError();
				frame->value.settle();
				fRetValNode = frame->value.toNode();
				setResult(fRetValNode);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
