#pragma once

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvTask/MrvTask.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <memory>
#include <string>
#include <utility>

namespace Mrv
{
// What the small tasks share: each stores the arguments of one yielding operation, runs it in its slices, and offers two ways in. `factory`
// makes and registers the task, for the scheduler or as a child; `call` of the concrete class makes it and runs it to its end, for code
// that can't yield. Neither throws; an argument that is missing logs a line and gives null.
//
// Derived has `static constexpr const char *LOCAL_NAME` (the name in the log line of a run that failed) and `bool hasArguments() const`.
template <class Derived>
class WrapperTask : public Task
{
public:
	template <class... Arguments>
	static std::shared_ptr<Derived> factory(Arguments &&...arguments)
	{
		auto task = std::make_shared<Derived>(std::forward<Arguments>(arguments)...);
		if (!task->hasArguments())
		{
			return nullptr;
		}
		registerTask(task);
		return task;
	}

protected:
	explicit WrapperTask(int64_t timeoutMicroseconds = NO_TIMEOUT) : Task(timeoutMicroseconds) {}

	// Makes the task and runs it to its end, while the other active tasks are served. Null, and a log line, when it could not run.
	template <class... Arguments>
	static std::shared_ptr<Derived> makeAndRun(Arguments &&...arguments)
	{
		const auto task = factory(std::forward<Arguments>(arguments)...);
		if (!task)
		{
			LOG_ERROR("SANITY_CHECK failed: 'task' evaluates to false");
			return nullptr;
		}
		if (!task->runToCompletion())
		{
			LOG_ERROR(std::string("SANITY_CHECK failed: '") + Derived::LOCAL_NAME + "->runToCompletion()' evaluates to false");
			return nullptr;
		}
		return task;
	}
	// The two usual forms of `call`.
	template <class... Arguments>
	static bool callForSuccess(std::shared_ptr<IOMNode> &omNode, Arguments &&...arguments)
	{
		const auto task = makeAndRun(std::forward<Arguments>(arguments)...);
		omNode = task ? task->fRetValNode : nullptr;
		return task && task->isSuccess();
	}
	template <class... Arguments>
	static std::shared_ptr<IOMNode> callForNode(Arguments &&...arguments)
	{
		const auto task = makeAndRun(std::forward<Arguments>(arguments)...);
		return task ? task->fRetValNode : nullptr;
	}

	// A slice of an operation whose only answer is a node (fRetValNode): that there is one is the task's success.
	template <class Operation>
	void runForNode(Operation &&operation)
	{
		struct LocalVariableState : OMFunctionState
		{
		};
		enum At : int32_t
		{
			START = 0,
			NODE_KNOWN = 1000000,
			DONE = -1
		};

		YieldingFrame<LocalVariableState> frame(*this, fSuccess);
		while (frame.running())
		{
			switch (frame.template at<At>())
			{
				case START:
					frame.call(NODE_KNOWN, operation);
					break;
				case NODE_KNOWN:
					fSuccess = fRetValNode != nullptr;
					setResult(fRetValNode);
					frame.finish();
					break;
				case DONE:
					break;
			}
		}
	}

	// What the operation gave; null when there is nothing.
	std::shared_ptr<IOMNode> fRetValNode;
};
}
