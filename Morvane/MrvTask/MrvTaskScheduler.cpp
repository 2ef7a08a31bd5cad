// The scheduler: which task runs, for how long, and when the process may sleep.
//
// A task runs in one of two ways. Scheduled, `runActiveTasks` gives it slices; what it asks for of sleep is noted, for the event loop that
// called. To completion (`runToCompletion`, behind every blocking `call`), it is the caller's turn that lasts: the other tasks are served
// after each round, unless this happens inside `runActiveTasks` already; then the task drives its own children and nothing else.
#include "MrvTask/MrvTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvTask/MrvNestingGuard.h"
#include "MrvTask/MrvTaskTables.h"
#include "MrvUtils/MrvRestorer.h"

#include <algorithm>
#include <exception>

namespace Mrv
{
namespace
{
constexpr int64_t NANOSECONDS_PER_MICROSECOND = 1000;
// Where every step suspends, a slice is this many entries: enough not to be slow, few enough for tasks to take turns.
constexpr int ALWAYS_YIELD_ROUNDS = 64;

// now + microseconds, "never" where that is beyond the range.
int64_t timePointAfter(int64_t now, int64_t microseconds)
{
	int64_t duration = 0;
	int64_t timePoint = 0;
	if (__builtin_mul_overflow(microseconds, NANOSECONDS_PER_MICROSECOND, &duration) || __builtin_add_overflow(now, duration, &timePoint))
	{
		return Task::kNoTimePoint;
	}
	return timePoint;
}
}

TaskTables &TaskTables::get()
{
	static auto &sTables = Platform::makeLasting<TaskTables>();
	return sTables;
}

// --- The tables

bool Task::startTask(const std::shared_ptr<Task> &task)
{
	SANITY_CHECK(task, return false);
	TaskTables::get().activeTasks.push_back(task);
	return true;
}

void Task::registerTask(const std::shared_ptr<Task> &task)
{
	SANITY_CHECK(task, return );
	const bool isNew = TaskTables::get().tasksById.emplace(task->getTaskId(), task).second;
	SANITY_CHECK_AS(isNew, "iter == fTasksById.end()", return );
}

void Task::deregisterTask(uint64_t taskId)
{
	auto &tasksById = TaskTables::get().tasksById;
	const auto iter = tasksById.find(taskId);
	SANITY_CHECK_AS(iter != tasksById.end(), "iter != fTasksById.end()", return );
	const std::shared_ptr<Task> last = iter->second;
	tasksById.erase(iter);
}

std::shared_ptr<Task> Task::getTask(uint64_t taskId)
{
	const auto &tasksById = TaskTables::get().tasksById;
	const auto iter = tasksById.find(taskId);
	return iter == tasksById.end() ? nullptr : iter->second;
}

const std::vector<std::shared_ptr<Task>> &Task::getActiveTasks()
{
	return TaskTables::get().activeTasks;
}

bool Task::wasCutOffInLastPass()
{
	return TaskTables::get().wasCutOff;
}

bool Task::wasSleepRequestedInLastPass()
{
	return TaskTables::get().wasSleepRequested;
}

bool Task::isRunningTaskPastDeadline()
{
	const Task *task = TaskTables::get().runningTask;
	return task && task->fDeadline != kNoTimePoint && Platform::steadyNanoseconds() >= task->fDeadline;
}

void Task::setTaskName(const std::string &taskName)
{
	if (!taskName.empty() && taskName == fTaskName)
	{
		return;
	}
	auto &taskIdsByName = TaskTables::get().taskIdsByName;
	if (!fTaskName.empty())
	{
		const auto iter = taskIdsByName.find(fTaskName);
		if (iter != taskIdsByName.end() && iter->second == fTaskId)
		{
			taskIdsByName.erase(iter);
		}
		fTaskName.clear();
	}
	if (!taskName.empty())
	{
		taskIdsByName[taskName] = fTaskId;
		fTaskName = taskName;
	}
}

uint64_t Task::getTaskIdByName(const std::string &taskName)
{
	const auto &taskIdsByName = TaskTables::get().taskIdsByName;
	const auto iter = taskIdsByName.find(taskName);
	return iter == taskIdsByName.end() ? 0 : iter->second;
}

void Task::exitAllTasks(const Task *except)
{
	const auto tasks = TaskTables::get().activeTasks;
	for (const auto &task : tasks)
	{
		if (task.get() != except && !task->fIsTaskCompleted)
		{
			task->exit();
			task->dropFrames();
			task->fIsTaskCompleted = true;
			task->handleCompletion();
		}
	}
	std::erase_if(TaskTables::get().activeTasks, [](const auto &task) { return task->fIsTaskCompleted; });
}

void Task::releaseAll()
{
	TaskTables &tables = TaskTables::get();
	const auto activeTasks = std::move(tables.activeTasks);
	const auto tasksById = std::move(tables.tasksById);
	tables.activeTasks.clear();
	tables.tasksById.clear();
	tables.taskIdsByName.clear();
}

// --- One task's slice

void Task::fixDeadline(int64_t now)
{
	int64_t timeout = fTimeoutMicroseconds;
	if (timeout != NO_TIMEOUT && timeout < 0)
	{
		timeout = IInternalCoordinator::current()->getDefaultTimeoutMicroseconds();
	}
	fDeadline = std::min(timeout < 0 ? kNoTimePoint : timePointAfter(now, timeout), fLatestDeadline);
}

void Task::limitDeadline(int64_t timePoint)
{
	fLatestDeadline = std::min(fLatestDeadline, timePoint);
	if (fIsStarted)
	{
		fDeadline = std::min(fDeadline, fLatestDeadline);
	}
}

int64_t Task::getRemainingMicroseconds() const
{
	if (fTimesliceEnd == kNoTimePoint)
	{
		return -1;
	}
	return std::max<int64_t>(1, (fTimesliceEnd - Platform::steadyNanoseconds()) / NANOSECONDS_PER_MICROSECOND);
}

bool Task::runTimeslice(int64_t timesliceMicroseconds)
{
	SANITY_CHECK_AS(!fIsTaskCompleted, "! fIsTaskCompleted", return false);
	SANITY_CHECK(!fIsRunningSlice, return false);
	const IInternalCoordinator *coordinator = nullptr;
	ASSIGN_AS(coordinator, IInternalCoordinator::current(),
	    "internalCoordinator = std::dynamic_pointer_cast<Mrv::InternalCoordinator>(Mrv::InternalCoordinator::factory());", return false);
	if (fStackBytesUsed > 0 && !NestingGuard::mayReenter(fStackBytesUsed))
	{
		// The caller stands too deep on the native stack for the suspended chain: the task waits for a better moment.
		if (!fIsStackShortNoted)
		{
			LOG_WARNING("task left suspended: the native stack is too short here");
			fIsStackShortNoted = true;
		}
		return true;
	}
	fIsStackShortNoted = false;
	const std::shared_ptr<Task> self = shared_from_this();
	const Restorer<Task *> running(TaskTables::get().runningTask, this);
	const Restorer<bool> runningSlice(fIsRunningSlice, true);
	const Restorer<uintptr_t> stackBase(fSliceStackBase, NestingGuard::stackPointer());
	fStackBytesUsed = 0;

	const int64_t now = Platform::steadyNanoseconds();
	if (!fIsStarted)
	{
		fixDeadline(now);
	}
	fTimesliceEnd = timesliceMicroseconds < 0 ? kNoTimePoint : timePointAfter(now, timesliceMicroseconds);
	fMustYield = false;
	fMustSleep = false;
	fWasCutOff = false;
	fStepsToClock = 0;
	runRounds(timesliceMicroseconds);
	if (fIsTaskCompleted)
	{
		dropFrames();
		handleCompletion();
	}
	return true;
}

void Task::runOwnWork()
{
	try
	{
		timeslice();
	}
	catch (const std::exception &exception)
	{
		LOG_ERROR(std::string("task failed by an exception: ") + exception.what());
		fFunctionStateDepth = 0;
		dropFrames();
		fSuccess = false;
		setExitRequested(true);
	}
	fIsStarted = true;
}

void Task::runRounds(int64_t timesliceMicroseconds)
{
	const bool isToCompletion = timesliceMicroseconds == RUN_TO_COMPLETION;
	int roundsLeft = ALWAYS_YIELD_ROUNDS;
	do
	{
		if (fIsStarted && fFunctionStates.empty())
		{
			requestYield(); // nothing to resume: the task waits for its children
		}
		else
		{
			runOwnWork();
		}
		bool mayAllSleep = true;
		if (isToCompletion)
		{
			serveOthers(mayAllSleep);
		}
		if (fDeadline != kNoTimePoint && Platform::steadyNanoseconds() >= fDeadline)
		{
			fIsTimedOut = true;
		}
		if (isToCompletion && mayAllSleep && !fIsExitRequested && !fIsTimedOut)
		{
			sleepIfWanted();
		}
		// The base rule, also for classes that are idle by a rule of their own: the main task is in the list of active tasks
		// itself and could never end otherwise.
		const bool idle = Task::isIdle();
		if (fIsTimedOut || fIsExitRequested)
		{
			fIsTaskCompleted = true;
		}
		if (idle && fChildTasks.empty() && (!fIsPersistent || fIsTerminationRequested))
		{
			fIsTaskCompleted = true;
		}
		const bool isRoundLimitReached = sAlwaysYield && --roundsLeft == 0;
		fWasCutOff = fWasCutOff || isRoundLimitReached;
		fMustYield = fIsTaskCompleted || idle || ((fMustYield || isRoundLimitReached) && !isToCompletion);
		fStepsToClock = 0;
	} while (!fMustYield);
	if (fIsTerminationRequested)
	{
		for (const auto &child : fChildTasks)
		{
			child.second->fIsTerminationRequested = true;
		}
	}
}

// After a round of a run to completion: everybody else gets a turn. Inside the scheduler that is this task's own children.
void Task::serveOthers(bool &mayAllSleep)
{
	int64_t budget = IInternalCoordinator::current()->getInternalCoordinatorTimesliceMicroseconds();
	if (!TaskTables::get().isRunningActiveTasks)
	{
		runActiveTasks(budget);
		return;
	}
	std::vector<std::shared_ptr<Task>> children;
	for (const auto &child : fChildTasks)
	{
		children.push_back(child.second);
	}
	for (const auto &child : children)
	{
		if (child->fIsTaskCompleted || child->fIsRunningSlice)
		{
			continue;
		}
		child->runTimeslice(budget / static_cast<int64_t>(children.size()));
		mayAllSleep = mayAllSleep && child->fMustSleep && !child->fWasCutOff;
		fMustSleep = fMustSleep || child->fMustSleep;
	}
}

void Task::sleepIfWanted()
{
	const int64_t microseconds = IInternalCoordinator::current()->getEventLoopSleepMicroseconds();
	if (fMustSleep && microseconds > 0)
	{
		Platform::sleepUntil(timePointAfter(Platform::steadyNanoseconds(), microseconds));
	}
	fMustSleep = false;
}

// --- All active tasks

bool Task::runActiveTasks(int64_t &availableMicroseconds)
{
	TaskTables &tables = TaskTables::get();
	if (tables.activeTasks.empty())
	{
		return false;
	}
	SANITY_CHECK(availableMicroseconds >= 0, return false);
	if (tables.isRunningActiveTasks)
	{
		return false;
	}
	const Restorer<bool> guard(tables.isRunningActiveTasks, true);
	tables.wasCutOff = false;
	tables.wasSleepRequested = false;
	const int64_t share = availableMicroseconds / static_cast<int64_t>(tables.activeTasks.size());
	int64_t carry = 0;
	for (size_t index = tables.activeTasks.size(); index-- > 0;)
	{
		if (index >= tables.activeTasks.size())
		{
			continue;
		}
		const std::shared_ptr<Task> task = tables.activeTasks[index];
		if (task->fIsTaskCompleted || task->fIsRunningSlice)
		{
			continue; // a parent has ended it, or it is what waits for us
		}
		const int64_t begin = Platform::steadyNanoseconds();
		task->runTimeslice(carry + share);
		const int64_t elapsed = (Platform::steadyNanoseconds() - begin) / NANOSECONDS_PER_MICROSECOND;
		carry = std::max<int64_t>(0, carry + share - elapsed);
		tables.wasCutOff = tables.wasCutOff || (task->fWasCutOff && !task->fIsTaskCompleted);
		tables.wasSleepRequested = tables.wasSleepRequested || task->fMustSleep;
	}
	availableMicroseconds = carry;
	std::erase_if(tables.activeTasks, [](const auto &task) { return task->fIsTaskCompleted; });
	return false;
}
}
