// The task itself: its place in the tree, its streams, its frames. The scheduler is in MrvTaskScheduler.cpp.
//
// Frames. `fFunctionStateDepth` counts the resumable functions that are entered at this moment; `fFunctionStates` holds the frames of
// those that were suspended, outermost first. While a suspended chain unwinds, each function saves at its own index, the innermost first,
// so that empty slots wait for their callers; when the slice ends, none is empty. A function that finishes truncates the vector to its own
// index: "the callee is suspended" is therefore size > depth, and nothing else.
#include "MrvTask/MrvTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvTask/MrvITaskStream.h"
#include "MrvTask/MrvNestingGuard.h"
#include "MrvTask/MrvTaskTables.h"

#include <algorithm>

namespace Mrv
{
bool Task::sAlwaysYield = false;

namespace
{
uint64_t sLastTaskId = 0;

// Steps between two looks at the clock. A step takes tens of nanoseconds, a look about thirty.
constexpr int32_t STEPS_BETWEEN_CLOCK_READINGS = 64;
}

Task::Task(int64_t timeoutMicroseconds, std::shared_ptr<ITaskStream> inputStream)
    : fTimeoutMicroseconds(timeoutMicroseconds),
      fInputStream(std::move(inputStream)),
      fTaskId(++sLastTaskId)
{
}

Task::~Task()
{
	dropFrames();
}

void Task::setAlwaysYield(bool alwaysYield)
{
	sAlwaysYield = alwaysYield;
}

// --- Yielding

bool Task::mustYieldSlow()
{
	fStepsToClock = 0;
	if (fIsTimedOut || fMustYield)
	{
		return true;
	}
	const int64_t now = Platform::steadyNanoseconds();
	if (fDeadline != kNoTimePoint && now >= fDeadline)
	{
		fIsTimedOut = true;
		return true;
	}
	if (fTimesliceEnd != kNoTimePoint && now >= fTimesliceEnd)
	{
		fMustYield = true;
		fWasCutOff = true;
		return true;
	}
	if (sAlwaysYield)
	{
		return true;
	}
	fStepsToClock = STEPS_BETWEEN_CLOCK_READINGS;
	return false;
}

void Task::requestYield()
{
	fMustYield = true;
	fStepsToClock = 0;
}

void Task::requestYieldFor(const Task &child)
{
	requestYield();
	fWasCutOff = fWasCutOff || child.fWasCutOff;
}

void Task::giveWay()
{
	requestYield();
	fWasCutOff = true;
}

void Task::sleepYield()
{
	requestYield();
	fMustSleep = true;
}

void Task::exit()
{
	setPersistent(false);
	setExitRequested(true);
}

bool Task::setExitRequested(bool isRequested)
{
	fIsExitRequested = isRequested;
	return true;
}

bool Task::isIdle() const
{
	return fIsTaskCompleted || (fIsStarted && fFunctionStates.empty() && fFunctionStateDepth == 0 && fChildTasks.empty());
}

std::shared_ptr<IOMNode> Task::getResult() const
{
	if (fResult)
	{
		return fResult;
	}
	IInternalCoordinator *coordinator = IInternalCoordinator::current();
	return coordinator ? coordinator->makeBoolNode(fSuccess) : nullptr;
}

// --- Frames

bool Task::reserveFrame(size_t depth)
{
	try
	{
		fFunctionStates.reserve(std::max<size_t>(16, (depth + 1) * 2));
		return true;
	}
	catch (const std::exception &)
	{
		return false;
	}
}

void Task::failByFrame()
{
	LOG_ERROR("a resumable function could not be entered: its frame is of another type, or memory is short");
	truncateFrames(fFunctionStateDepth);
	fSuccess = false;
	setExitRequested(true);
	requestYield();
}

void Task::leaveUnfinished()
{
	if (!fIsTimedOut && fDeadline != kNoTimePoint && Platform::steadyNanoseconds() >= fDeadline)
	{
		fIsTimedOut = true;
		fStepsToClock = 0;
	}
	const uintptr_t here = NestingGuard::stackPointer();
	fStackBytesUsed = std::max(fStackBytesUsed, fSliceStackBase > here ? fSliceStackBase - here : 0);
}

void Task::truncateFrames(size_t size) noexcept
{
	while (fFunctionStates.size() > size)
	{
		const SavedFrame frame = fFunctionStates.back();
		fFunctionStates.pop_back();
		if (frame.state)
		{
			frame.type->destroy(frame.state);
		}
	}
}

void Task::dropFrames() noexcept
{
	truncateFrames(0);
}

// --- The tree

void Task::registerChildTask(const std::shared_ptr<Task> &childTask)
{
	SANITY_CHECK(childTask, return );
	fChildTasks[childTask->getTaskId()] = childTask;
	childTask->setParentTask(shared_from_this());
}

void Task::handleChildCompletion(const std::shared_ptr<Task> &childTask)
{
	SANITY_CHECK(childTask, return );
	const auto iter = fChildTasks.find(childTask->getTaskId());
	SANITY_CHECK(iter != fChildTasks.end(), return );
	fChildTasks.erase(iter);
	childTask->setParentTask(nullptr);
}

void Task::endChildTasks()
{
	while (!fChildTasks.empty())
	{
		// A copy: the child takes itself out of the table. One whose parent is another by now is taken out here.
		const auto [childId, child] = *fChildTasks.begin();
		SANITY_CHECK_AS(child, "childTask", break);
		child->dropFrames();
		child->fIsTaskCompleted = true;
		child->handleCompletion();
		fChildTasks.erase(childId);
	}
}

void Task::handleCompletion()
{
	const std::shared_ptr<Task> self = shared_from_this();
	endChildTasks();
	if (const auto parent = getParentTask())
	{
		parent->handleChildCompletion(self);
	}
	setTaskName({});
	deregisterTask(fTaskId);
}

std::shared_ptr<Task> Task::getAncestorTask(AncestorKind kind)
{
	const auto index = static_cast<size_t>(kind);
	if (index >= fAncestorTasks.size())
	{
		return nullptr;
	}
	if (!fIsAncestorLookedUp[index])
	{
		fIsAncestorLookedUp[index] = true;
		for (auto task = shared_from_this(); task; task = task->getParentTask())
		{
			if (task->getAncestorKind() == kind)
			{
				fAncestorTasks[index] = task;
				break;
			}
		}
	}
	return fAncestorTasks[index].lock();
}

// --- Streams and interaction

std::shared_ptr<ITaskStream> Task::getInputStream()
{
	if (fInputStream)
	{
		return fInputStream;
	}
	if (const auto parent = getParentTask())
	{
		if (auto inputStream = parent->getInputStream())
		{
			return inputStream;
		}
	}
	if (IInternalCoordinator *coordinator = IInternalCoordinator::current())
	{
		fInputStream = coordinator->makeInputStream();
	}
	return fInputStream;
}

bool Task::pushInteractionLevel(AsyncIOType level)
{
	fInteractionLevelStack.push_back(fInteractionLevel);
	fInteractionLevel = level;
	return true;
}

AsyncIOType Task::popInteractionLevel()
{
	SANITY_CHECK_AS(!fInteractionLevelStack.empty(), "! fInteractionLevelStack.empty()", return AsyncIOType::NONE);
	const AsyncIOType level = fInteractionLevel;
	fInteractionLevel = fInteractionLevelStack.back();
	fInteractionLevelStack.pop_back();
	return level;
}

bool Task::usesAsyncIO() const
{
	switch (fInteractionLevel)
	{
		case AsyncIOType::SYNC:
			return false;
		case AsyncIOType::ASYNC:
			return true;
		case AsyncIOType::INHERIT:
		{
			if (fInputStream && fInputStream->isPrompted())
			{
				return true;
			}
			const auto parent = getParentTask();
			return parent && parent->usesAsyncIO();
		}
		case AsyncIOType::NONE:
			break;
	}
	LOG_ERROR("unexpected fInteractionLevel");
	return false;
}

bool Task::updateParsingNestLevel(int step)
{
	SANITY_CHECK(step == 1 || step == -1, return false);
	SANITY_CHECK(step == 1 || fParsingNestLevel > 0, return false);
	fParsingNestLevel += step;
	return true;
}
}
