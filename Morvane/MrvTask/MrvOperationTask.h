#pragma once

#include "MrvTask/MrvTask.h"

#include <functional>
#include <memory>

namespace Mrv
{
// A task that wraps one resumable operation: what lets code that can't suspend, or another task, have the operation run to its end. The
// arguments are what the function has captured; they must stay the same from slice to slice.
class OperationTask : public Task
{
public:
	// `success` starts false and is the task's success in the end.
	using Operation = std::function<void(Task &task, bool &success)>;

	// Makes the task and registers it.
	static std::shared_ptr<OperationTask> factory(
	    Operation operation, int64_t timeoutMicroseconds = NO_TIMEOUT, std::shared_ptr<ITaskStream> inputStream = nullptr);

	OperationTask(Operation operation, int64_t timeoutMicroseconds, std::shared_ptr<ITaskStream> inputStream)
	    : Task(timeoutMicroseconds, std::move(inputStream)),
	      fOperation(std::move(operation))
	{
	}

protected:
	void timeslice() override { fOperation(*this, fSuccess); }

private:
	Operation fOperation;
};

// Runs a child to its end inside the slices of its parent, so that starting one costs no round of the scheduler. The child is registered as
// a child but not started; it ends with its parent's deadline at the latest. Yielding.
void driveChildTask_yielding(Task &parent, const std::shared_ptr<Task> &child);
}
