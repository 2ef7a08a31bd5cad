#include "MrvCoordinator/MrvMainTaskTimesliceTask.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"

namespace Mrv
{
std::shared_ptr<Task> MainTaskTimesliceTask::factory()
{
	auto task = std::make_shared<MainTaskTimesliceTask>();
	registerTask(task);
	return task;
}

void MainTaskTimesliceTask::exit()
{
	InternalCoordinator::terminate();
}

bool MainTaskTimesliceTask::isIdle() const
{
	const auto coordinator = InternalCoordinator::instance();
	return Task::isIdle() && (!coordinator || coordinator->isIdle()) && getActiveTasks().empty();
}

void MainTaskTimesliceTask::timeslice()
{
	if (const auto coordinator = InternalCoordinator::instance())
	{
		coordinator->timeslice_yielding(shared_from_this(), fSuccess);
	}
	if (InternalCoordinator::isTerminating())
	{
		// Those that wait for something that may never come, such as data requests, end when they have nothing to do.
		for (const std::shared_ptr<Task> &task : getActiveTasks())
		{
			task->setTerminationRequested(true);
		}
	}
}
}
