#pragma once

#include "MrvTask/MrvTask.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mrv
{
// The scheduler's tables. They outlive every static object, so that tasks that end late find them.
struct TaskTables
{
	std::vector<std::shared_ptr<Task>> activeTasks; // in order of start
	std::unordered_map<uint64_t, std::shared_ptr<Task>> tasksById;
	std::unordered_map<std::string, uint64_t> taskIdsByName;
	Task *runningTask = nullptr; // whose slice runs, innermost
	bool isRunningActiveTasks = false;
	bool wasCutOff = false;
	bool wasSleepRequested = false;

	static TaskTables &get();
};
}
