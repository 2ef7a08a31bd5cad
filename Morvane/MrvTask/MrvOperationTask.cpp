#include "MrvTask/MrvOperationTask.h"

#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
std::shared_ptr<OperationTask> OperationTask::factory(
    Operation operation, int64_t timeoutMicroseconds, std::shared_ptr<ITaskStream> inputStream)
{
	auto task = std::make_shared<OperationTask>(std::move(operation), timeoutMicroseconds, std::move(inputStream));
	registerTask(task);
	return task;
}

void driveChildTask_yielding(Task &parent, const std::shared_ptr<Task> &child)
{
	struct LocalVariableState : OMFunctionState
	{
	};
	enum At : int32_t
	{
		START = 0,
		DRIVING = 1,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(parent);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				parent.registerChildTask(child);
				frame.goTo(DRIVING);
				break;
			case DRIVING:
				if (!child->isTaskCompleted())
				{
					child->limitDeadline(parent.getDeadline());
					child->runTimeslice(parent.getRemainingMicroseconds());
				}
				if (child->isTaskCompleted())
				{
					parent.readClockSoon();
					frame.finish();
				}
				else if (child->isSleepRequested())
				{
					parent.sleepYield();
				}
				else
				{
					parent.requestYieldFor(*child);
				}
				break;
			case DONE:
				break;
		}
	}
}
}
