#pragma once

#include "MrvTask/MrvTask.h"

namespace Mrv
{
// The task that lives as long as the coordinator runs, and does its passes.
class MainTaskTimesliceTask final : public Task
{
public:
	static std::shared_ptr<Task> factory();
	MainTaskTimesliceTask() : Task(NO_TIMEOUT) {}

	// Asks the coordinator to end; the task goes on until that is idle.
	void exit() override;
	// True once the coordinator is idle and no task is active, this one included: that is, when it has completed and is gone from the list.
	bool isIdle() const override;

protected:
	void timeslice() override;
};
}
