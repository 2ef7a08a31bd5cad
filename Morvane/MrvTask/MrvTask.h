#pragma once

#include "MrvTask/MrvFrameArena.h"
#include "MrvTask/MrvOMFunctionState.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mrv
{
class IOMNode;
class ITaskStream;

// How the reads and writes of a task treat a person who waits.
enum class AsyncIOType : uint32_t
{
	NONE = 0, // what popping an empty stack gives
	INHERIT = 1,
	ASYNC = 2,
	SYNC = 3,
};

// The task classes that others search for among a task's ancestors.
enum class AncestorKind : uint8_t
{
	CALL_NODE_AS_FUNCTION_FOR_DATA_REPLY,
	EVAL_THEN_SEND_MESSAGE,
	HANDLE_DATA_REQUEST,
	NONE,
};

// The unit of cooperative work: an id, a place in a tree of tasks, a deadline, and the saved frames of the resumable
// functions that it is in the middle of. Always held by `shared_ptr`; the scheduler's tables keep a registered task alive until it
// has completed and its parent has been told.
//
// Times are nanoseconds of the steady clock inside, microseconds in interfaces.
class Task : public std::enable_shared_from_this<Task>
{
public:
	// "Never": later than every time point.
	static constexpr int64_t kNoTimePoint = INT64_MAX;
	// Time-outs and time slices: no limit by the default setting, none at all (a slice with this value is a run to completion).
	static constexpr int64_t DEFAULT_TIMEOUT = -1;
	static constexpr int64_t NO_TIMEOUT = -2;
	static constexpr int64_t RUN_TO_COMPLETION = -2;

	// timeoutMicroseconds: the task's whole life, counted from its first slice; DEFAULT_TIMEOUT, NO_TIMEOUT. The stream may be empty.
	explicit Task(int64_t timeoutMicroseconds, std::shared_ptr<ITaskStream> inputStream = nullptr);
	Task(const Task &) = delete;
	Task &operator=(const Task &) = delete;
	virtual ~Task();

	// --- The scheduler

	// Appends to the active tasks. An empty argument is refused.
	static bool startTask(const std::shared_ptr<Task> &task);
	// Keeps the task alive until it is deregistered. Every factory of a concrete task calls it.
	static void registerTask(const std::shared_ptr<Task> &task);
	static void deregisterTask(uint64_t taskId);
	static std::shared_ptr<Task> getTask(uint64_t taskId);
	// Divides a budget over the active tasks, last started first; what a task leaves goes to the next. The budget ends as what
	// was left over. Always false.
	static bool runActiveTasks(int64_t &availableMicroseconds);
	static const std::vector<std::shared_ptr<Task>> &getActiveTasks();
	// In the last `runActiveTasks` a task was cut off by the end of its slice, so there is more to do at once.
	static bool wasCutOffInLastPass();
	// In the last `runActiveTasks` a task asked for sleep.
	static bool wasSleepRequestedInLastPass();
	// Exits every task but this one (so that undo runs) and empties the tables.
	static void exitAllTasks(const Task *except = nullptr);
	// Releases the scheduler's tables.
	static void releaseAll();

	// Testing: every `mustYield` answers true, so that every function suspends after every step.
	static void setAlwaysYield(bool alwaysYield);
	static bool isAlwaysYield() { return sAlwaysYield; }

	// --- Running

	// Runs the task for a while; a negative budget is none, RUN_TO_COMPLETION serves the other active tasks meanwhile. False when the
	// task has completed before, when it is running already, or when there is no coordinator.
	virtual bool runTimeslice(int64_t timesliceMicroseconds);
	virtual bool runToCompletion() { return runTimeslice(RUN_TO_COMPLETION); }

	// Asks whether the running function must stop now. To be asked after every step. The clock is read on some calls only,
	// often enough for a slice to overrun by a few microseconds at most.
	bool mustYield() { return --fStepsToClock < 0 && mustYieldSlow(); }
	// The step that has just ended may have been long: the next `mustYield` reads the clock.
	void readClockSoon() { fStepsToClock = 0; }
	void requestYield();
	// The same for a task whose child was cut off by the end of its slice: as this one was too, nobody is to sleep before they go on.
	void requestYieldFor(const Task &child);
	// Gives way for one round, with more to do: nobody is to sleep before it goes on.
	void giveWay();
	// Gives way, and asks that the process sleep if nobody has work.
	virtual void sleepYield();
	// The deadline, for work that can't suspend; kNoTimePoint if there is none.
	int64_t getDeadline() const { return fDeadline; }
	// Whether the deadline of the task that runs now has passed, for work that can't suspend.
	static bool isRunningTaskPastDeadline();
	// Ends the task's life at this time point at the latest, as soon as its first slice has begun.
	void limitDeadline(int64_t timePoint);
	// What is left of the present slice, at least 1; negative when it has no end.
	int64_t getRemainingMicroseconds() const;
	bool isTimedOut() const { return fIsTimedOut; }
	bool isSleepRequested() const { return fMustSleep; }

	virtual void exit();
	virtual bool isExitRequested() const { return fIsExitRequested; }
	bool setExitRequested(bool isRequested);
	void setPersistent(bool isPersistent) { fIsPersistent = isPersistent; }
	void setTerminationRequested(bool isRequested) { fIsTerminationRequested = isRequested; }
	virtual bool isTaskCompleted() const { return fIsTaskCompleted; }
	virtual bool isIdle() const;
	bool isStarted() const { return fIsStarted; }

	virtual bool isSuccess() const { return fSuccess; }
	// The value of the task; without one a Bool node of its success.
	virtual std::shared_ptr<IOMNode> getResult() const;
	bool hasResult() const { return fResult != nullptr; }
	void setResult(const std::shared_ptr<IOMNode> &result) { fResult = result; }

	// --- The tree

	// The child keeps this task from completing. The child is to be started besides.
	virtual void registerChildTask(const std::shared_ptr<Task> &childTask);
	virtual void handleChildCompletion(const std::shared_ptr<Task> &childTask);
	// Ends all children at once, so that what they must undo is undone.
	void endChildTasks();
	// Runs once, when the task has ended: ends the remaining children, tells the parent, leaves the tables. A class that overrides it does
	// its own work and then calls this one; it holds `shared_from_this()` first.
	virtual void handleCompletion();
	void setParentTask(const std::shared_ptr<Task> &parentTask) { fParentTask = parentTask; }
	std::shared_ptr<Task> getParentTask() const { return fParentTask.lock(); }
	size_t getChildCount() const { return fChildTasks.size(); }
	virtual AncestorKind getAncestorKind() const { return AncestorKind::NONE; }
	// The nearest task of that class among this task and its ancestors; looked for once.
	std::shared_ptr<Task> getAncestorTask(AncestorKind kind);

	uint64_t getTaskId() const { return fTaskId; }
	const std::string &getTaskName() const { return fTaskName; }
	// Names are unique among tasks: the last one that takes a name has it. Empty takes the name away.
	void setTaskName(const std::string &taskName);
	static uint64_t getTaskIdByName(const std::string &taskName);

	// --- Streams and interaction

	// The task's stream, else its parent's, else one that the coordinator makes.
	virtual std::shared_ptr<ITaskStream> getInputStream();
	void setInputStream(std::shared_ptr<ITaskStream> inputStream) { fInputStream = std::move(inputStream); }
	bool pushInteractionLevel(AsyncIOType level);
	AsyncIOType popInteractionLevel();
	virtual bool usesAsyncIO() const;
	int getParsingNestLevel() const { return fParsingNestLevel; }
	// step: 1 or -1; the level never falls below 0.
	bool updateParsingNestLevel(int step);

	// --- Frames (used by YieldingFrame)

	bool isSuspended() const { return fFunctionStateDepth < fFunctionStates.size(); }
	size_t getFunctionStateDepth() const { return fFunctionStateDepth; }
	size_t getSavedFrameCount() const { return fFunctionStates.size(); }

	// The error text and place that the running script reports when it ends in an Error.
	std::string fErrorNote;

protected:
	// The concrete task's work: as a rule one call of its `_yielding` function with `fSuccess`.
	virtual void timeslice() = 0;

	bool fSuccess = false;
	std::shared_ptr<IOMNode> fResult;

private:
	template <class State>
	friend class YieldingFrame;

	struct SavedFrame
	{
		void *state = nullptr; // in the arena; null while the function runs
		const SavedFrameType *type = nullptr;
	};

	bool mustYieldSlow();
	void fixDeadline(int64_t now);
	void runRounds(int64_t timesliceMicroseconds);
	void runOwnWork();
	void serveOthers(bool &mayAllSleep);
	void sleepIfWanted();
	void dropFrames() noexcept;
	void truncateFrames(size_t size) noexcept;
	bool reserveFrame(size_t depth);
	void failByFrame();
	void leaveUnfinished();

	static bool sAlwaysYield;

	// What is looked at on every step stands first.
	int32_t fStepsToClock = 0;
	bool fIsTimedOut = false;
	bool fMustYield = false;
	bool fMustSleep = false;
	size_t fFunctionStateDepth = 0;
	std::vector<SavedFrame> fFunctionStates;
	FrameArena fArena;

	bool fIsExitRequested = false;
	bool fIsPersistent = false;
	bool fIsTaskCompleted = false;
	bool fIsStarted = false;
	bool fIsTerminationRequested = false;
	bool fIsRunningSlice = false;
	bool fWasCutOff = false;
	int64_t fTimesliceEnd = kNoTimePoint;
	int64_t fDeadline = kNoTimePoint;
	int64_t fLatestDeadline = kNoTimePoint;
	int64_t fTimeoutMicroseconds;
	size_t fStackBytesUsed = 0; // of the native stack, by the chain that was suspended last
	uintptr_t fSliceStackBase = 0;
	bool fIsStackShortNoted = false;

	std::unordered_map<uint64_t, std::shared_ptr<Task>> fChildTasks;
	std::weak_ptr<Task> fParentTask;
	std::array<std::weak_ptr<Task>, 3> fAncestorTasks;
	std::array<bool, 3> fIsAncestorLookedUp{};
	std::shared_ptr<ITaskStream> fInputStream;
	AsyncIOType fInteractionLevel = AsyncIOType::INHERIT;
	std::vector<AsyncIOType> fInteractionLevelStack;
	int fParsingNestLevel = 0;
	std::string fTaskName;
	uint64_t fTaskId;
};
}
