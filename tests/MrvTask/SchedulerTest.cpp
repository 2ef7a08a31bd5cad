#include "MrvTask/MrvTask.h"

#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvTask/MrvNestingGuard.h"
#include "MrvTask/TaskFixture.h"

namespace Mrv::Test
{
namespace
{
class SchedulerTest : public TaskFixture
{
protected:
	// Notes what its slice has, and uses some of it.
	Operation spender(const std::string &name, int64_t microseconds)
	{
		return [this, name, microseconds](Task &task, bool &success)
		{
			chain_yielding(task, success, 1, fJournal,
			    [&]
			    {
				    fJournal.push_back(name + " has " + std::to_string(task.getRemainingMicroseconds()));
				    HandClock::advance(microseconds);
				    task.requestYield();
				    return false;
			    });
		};
	}
	static std::shared_ptr<ITaskStream> makePrompted()
	{
		return std::make_shared<IOStreamPrompted>(std::make_shared<InputStreamString>(std::string()), nullptr);
	}
	// Suspends as often as asked, asking for sleep.
	Operation sleeper(int count)
	{
		return [this, left = count](Task &task, bool &success) mutable
		{
			chain_yielding(task, success, 1, fJournal,
			    [&]
			    {
				    if (--left >= 0)
				    {
					    task.sleepYield();
				    }
				    return left < 0;
			    });
		};
	}
};
}

// --- Budgets and passes

TEST_F(SchedulerTest, WhatATaskLeavesGoesToTheNext)
{
	start("first", spender("first", 30));
	start("last", spender("last", 10));
	EXPECT_EQ(pass(100), 60);
	EXPECT_EQ(journal(), (Journal{"last has 50", "first has 90"}));
}

TEST_F(SchedulerTest, AnOverrunIsNotChargedToTheNext)
{
	start("first", spender("first", 70));
	start("middle", spender("middle", 20));
	start("last", spender("last", 500));
	EXPECT_EQ(pass(99), 0);
	EXPECT_EQ(journal(), (Journal{"last has 33", "middle has 33", "first has 46"}));
}

TEST_F(SchedulerTest, BudgetsThatAreNone)
{
	EXPECT_EQ(pass(100), 100) << "no task, budget untouched";
	start("task", spender("task", 1));
	EXPECT_EQ(pass(0), 0);
	EXPECT_EQ(pass(0), 0);
	EXPECT_EQ(journal(), (Journal{"task has 1"})) << "each slice does a step at least";
	EXPECT_EQ(pass(-1), -1);
	EXPECT_LOG("SANITY_CHECK failed: 'availableMicroseconds >= 0' evaluates to false");
	EXPECT_EQ(journal(), Journal());
}

TEST_F(SchedulerTest, ATaskStartedInAPassRunsInTheNext)
{
	start("a", rounds("a", 2));
	start("b",
	    [&, hasStarted = false](Task &task, bool &success) mutable
	    {
		    chain_yielding(task, success, 1, fJournal,
		        [&]
		        {
			        fJournal.push_back("b");
			        if (!std::exchange(hasStarted, true))
			        {
				        start("d", rounds("d", 1));
				        task.requestYield();
				        return false;
			        }
			        return true;
		        });
	    });
	start("c", rounds("c", 1));
	pass(100);
	EXPECT_EQ(journal(), (Journal{"c", "undo 1", "completed c", "b", "a"}));
	pass(100);
	EXPECT_EQ(journal(), (Journal{"d", "undo 1", "completed d", "b", "undo 1", "completed b", "a", "undo 1", "completed a"}));
	EXPECT_TRUE(Task::getActiveTasks().empty());
}

TEST_F(SchedulerTest, ManyTasksShareFairly)
{
	// 20 tasks with work without end: each gets its share in each pass, whatever its place.
	std::vector<int> steps(20);
	for (int &count : steps)
	{
		start("task",
		    [this, &count](Task &task, bool &success)
		    {
			    chain_yielding(task, success, 1, fJournal,
			        [&]
			        {
				        ++count;
				        HandClock::advance(1);
				        task.readClockSoon();
				        return false;
			        });
		    });
	}
	for (int i = 0; i < 10; ++i)
	{
		pass(1000);
		EXPECT_TRUE(Task::wasCutOffInLastPass());
	}
	for (const int count : steps)
	{
		EXPECT_EQ(count, 500);
	}
}

// --- Deadlines

TEST_F(SchedulerTest, DeadlinesComeFromTheTaskOrFromTheDefault)
{
	const auto deadlineOf = [&](int64_t timeout)
	{
		const auto task = make("task", rounds("round", 5), timeout);
		task->runTimeslice(-1);
		const int64_t deadline = task->getDeadline();
		return deadline == Task::kNoTimePoint ? -1 : (deadline - HandClock::sNow) / 1000;
	};
	fCoordinator.defaultTimeoutMicroseconds = 700;
	EXPECT_EQ(deadlineOf(Task::NO_TIMEOUT), -1);
	EXPECT_EQ(deadlineOf(Task::DEFAULT_TIMEOUT), 700);
	EXPECT_EQ(deadlineOf(-5), 700);
	EXPECT_EQ(deadlineOf(0), 0);
	EXPECT_EQ(deadlineOf(12), 12);
	EXPECT_EQ(deadlineOf(INT64_MAX), -1) << "beyond the range of time is never";
	fCoordinator.defaultTimeoutMicroseconds = -1;
	EXPECT_EQ(deadlineOf(Task::DEFAULT_TIMEOUT), -1);
}

TEST_F(SchedulerTest, ADeadlineEndsATaskThatComputesWithoutEnd)
{
	int steps = 0;
	const auto task = make("task",
	    chain(2,
	        [&]
	        {
		        ++steps;
		        HandClock::advance(1);
		        return false;
	        }),
	    1000);
	task->runToCompletion();
	EXPECT_TRUE(task->isTimedOut());
	EXPECT_FALSE(task->isSuccess());
	EXPECT_LE(steps, 1100);
	EXPECT_EQ(journal(), (Journal{"undo 1", "undo 2", "completed task"}));
}

TEST_F(SchedulerTest, ATimedOutTaskMayStillBeASuccess)
{
	const auto task = make(
	    "task",
	    [](Task &, bool &success)
	    {
		    success = true;
		    HandClock::advance(10);
	    },
	    5);
	task->runToCompletion();
	EXPECT_TRUE(task->isTimedOut());
	EXPECT_TRUE(task->isSuccess());
}

// --- The tree

TEST_F(SchedulerTest, AParentStaysUntilItsChildrenHaveEnded)
{
	const auto child = make("child", rounds("child", 3));
	const auto parent = start("parent",
	    [&](Task &task, bool &success)
	    {
		    task.registerChildTask(child);
		    Task::startTask(child);
		    success = true;
	    });
	pass(100);
	EXPECT_FALSE(parent->isTaskCompleted());
	EXPECT_FALSE(parent->isIdle());
	EXPECT_EQ(child->getParentTask(), parent);
	pass(100);
	pass(100);
	pass(100);
	EXPECT_EQ(journal(), (Journal{"child", "child", "child", "undo 1", "completed child", "completed parent"}));
	EXPECT_EQ(child->getParentTask(), nullptr);
	EXPECT_EQ(Task::getTask(parent->getTaskId()), nullptr);
	EXPECT_TRUE(Task::getActiveTasks().empty());
}

TEST_F(SchedulerTest, AParentThatEndsFirstTakesItsChildrenWithIt)
{
	for (const bool byDeadline : {true, false})
	{
		SCOPED_TRACE(byDeadline);
		const auto child = start("child", rounds("child", 100));
		const auto grandchild = start("grandchild", rounds("grandchild", 100));
		const auto parent = start("parent", rounds("parent", 100), 1000);
		parent->registerChildTask(child);
		child->registerChildTask(grandchild);
		pass(300);
		journal();
		if (byDeadline)
		{
			HandClock::advance(2000);
		}
		else
		{
			parent->exit();
		}
		pass(300);
		const Journal expected{"parent", "undo 1", "completed parent", "undo 1", "completed child", "undo 1", "completed grandchild"};
		EXPECT_EQ(journal(), expected) << "ended by the parent, and not run again in the same pass";
		EXPECT_TRUE(child->isTaskCompleted());
		EXPECT_TRUE(Task::getActiveTasks().empty());
		EXPECT_EQ(Task::getTask(grandchild->getTaskId()), nullptr);
	}
}

TEST_F(SchedulerTest, AChildThatFoundAnotherParentDoesNotHoldUpTheEndOfTheFirst)
{
	const auto child = make("child", rounds("child", 1));
	const auto first = make("first", rounds("first", 1));
	const auto second = make("second", rounds("second", 1));
	first->registerChildTask(child);
	second->registerChildTask(child);
	first->exit();
	EXPECT_TRUE(first->runTimeslice(-1));
	EXPECT_TRUE(child->isTaskCompleted());
	EXPECT_EQ(first->getChildCount(), 0U);
	EXPECT_EQ(second->getChildCount(), 0U);
}

TEST_F(SchedulerTest, APersistentTaskIdlesUntilItIsExited)
{
	const auto task = start("task", [](Task &, bool &success) { success = true; });
	task->setPersistent(true);
	pass(100);
	pass(100);
	EXPECT_TRUE(task->isIdle());
	EXPECT_FALSE(task->isTaskCompleted());
	EXPECT_TRUE(task->runToCompletion()) << "ends, with the task as it is";
	EXPECT_FALSE(task->isTaskCompleted());
	task->exit();
	pass(100);
	EXPECT_TRUE(task->isTaskCompleted());

	const auto other = start("other", [](Task &, bool &) {});
	other->setPersistent(true);
	pass(100);
	other->setTerminationRequested(true);
	pass(100);
	EXPECT_TRUE(other->isTaskCompleted());
}

TEST_F(SchedulerTest, TheWishToEndReachesTheChildren)
{
	const auto child = start("child", [](Task &, bool &) {});
	child->setPersistent(true);
	const auto parent = start("parent", [](Task &, bool &) {});
	parent->registerChildTask(child);
	parent->setTerminationRequested(true);
	pass(100);
	pass(100);
	EXPECT_EQ(journal(), (Journal{"completed child", "completed parent"}));
}

TEST_F(SchedulerTest, NamesBelongToTheLastThatTookThem)
{
	const auto first = start("first", rounds("first", 1));
	const auto second = start("second", rounds("second", 2));
	first->setTaskName("name");
	first->setTaskName("name");
	EXPECT_EQ(Task::getTaskIdByName("name"), first->getTaskId());
	second->setTaskName("name");
	pass(100);
	EXPECT_TRUE(first->isTaskCompleted());
	EXPECT_EQ(Task::getTaskIdByName("name"), second->getTaskId()) << "the end of the first doesn't take it";
	second->setTaskName("other");
	EXPECT_EQ(Task::getTaskIdByName("name"), 0U);
	second->setTaskName("");
	EXPECT_EQ(Task::getTaskIdByName("other"), 0U);
	EXPECT_EQ(second->getTaskName(), "");
}

namespace
{
class AncestorTask : public JournalTask
{
public:
	using JournalTask::JournalTask;
	AncestorKind getAncestorKind() const override { return AncestorKind::EVAL_THEN_SEND_MESSAGE; }
};
}

TEST_F(SchedulerTest, TheNearestAncestorOfAKindIsLookedForOnce)
{
	const Operation nothing = [](Task &, bool &) {};
	const auto ancestor = std::make_shared<AncestorTask>(fJournal, "ancestor", nothing, Task::NO_TIMEOUT);
	const auto parent = make("parent", nothing);
	const auto child = make("child", nothing);
	parent->setParentTask(ancestor);
	child->setParentTask(parent);
	EXPECT_EQ(child->getAncestorTask(AncestorKind::EVAL_THEN_SEND_MESSAGE), ancestor);
	EXPECT_EQ(ancestor->getAncestorTask(AncestorKind::EVAL_THEN_SEND_MESSAGE), ancestor);
	EXPECT_EQ(child->getAncestorTask(AncestorKind::HANDLE_DATA_REQUEST), nullptr);
	EXPECT_EQ(child->getAncestorTask(AncestorKind::NONE), nullptr);
	parent->setParentTask(nullptr);
	EXPECT_EQ(child->getAncestorTask(AncestorKind::EVAL_THEN_SEND_MESSAGE), ancestor);
}

// --- Runs to completion

TEST_F(SchedulerTest, ARunToCompletionServesTheOthersAndIgnoresWishesToYield)
{
	start("other", rounds("other", 2));
	const auto task = make("task", rounds("task", 4));
	EXPECT_TRUE(task->runToCompletion());
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(
	    journal(), (Journal{"task", "other", "task", "other", "undo 1", "completed other", "task", "task", "undo 1", "completed task"}));
}

TEST_F(SchedulerTest, ANestedRunToCompletionDrivesItsOwnChildrenAndNobodyElse)
{
	start("other", rounds("other", 1));
	start("outer",
	    [&](Task &, bool &success)
	    {
		    const auto child = start("child", rounds("child", 3));
		    const auto called = make("called", [&](Task &task, bool &) { task.registerChildTask(child); });
		    EXPECT_TRUE(called->runToCompletion());
		    EXPECT_TRUE(called->isTaskCompleted());
		    success = true;
	    });
	pass(100);
	EXPECT_EQ(journal(), (Journal{"child", "child", "child", "undo 1", "completed child", "completed called", "completed outer", "other",
	                         "undo 1", "completed other"}));
}

TEST_F(SchedulerTest, NestedPassesDoNothing)
{
	start("task", [&](Task &, bool &) { EXPECT_EQ(pass(77), 77); });
	pass(100);
	EXPECT_EQ(journal(), (Journal{"completed task"}));
}

TEST_F(SchedulerTest, ATaskDoesNotRunInsideItself)
{
	const auto task = start("task",
	    [&](Task &running, bool &success)
	    {
		    EXPECT_FALSE(running.runToCompletion());
		    success = true;
	    });
	pass(100);
	EXPECT_LOG("SANITY_CHECK failed: '!fIsRunningSlice' evaluates to false");
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(journal(), (Journal{"completed task"}));
}

TEST_F(SchedulerTest, WithoutACoordinatorNothingRuns)
{
	const auto task = make("task", [](Task &, bool &) { FAIL(); });
	IInternalCoordinator::setProvider(nullptr);
	EXPECT_FALSE(task->runTimeslice(100));
	EXPECT_LOG("ASSIGN failed: 'internalCoordinator = std::dynamic_pointer_cast<Mrv::InternalCoordinator>("
	           "Mrv::InternalCoordinator::factory());'");
}

// --- Sleep

TEST_F(SchedulerTest, WishesForSleepAreNotedInAPassAndFulfilledInARun)
{
	fCoordinator.eventLoopSleepMicroseconds = 250;
	start("sleeper", sleeper(10));
	pass(100);
	EXPECT_TRUE(HandClock::sSleeps.empty());
	EXPECT_TRUE(Task::wasSleepRequestedInLastPass());
	EXPECT_FALSE(Task::wasCutOffInLastPass());

	make("called", sleeper(2))->runToCompletion();
	EXPECT_EQ(HandClock::sSleeps, (std::vector<int64_t>{250, 250}));
	HandClock::sSleeps.clear();
	fCoordinator.eventLoopSleepMicroseconds = 0;
	make("called", sleeper(2))->runToCompletion();
	EXPECT_TRUE(HandClock::sSleeps.empty());
}

TEST_F(SchedulerTest, ANestedRunSleepsOnlyWhenAllItsChildrenWishTo)
{
	fCoordinator.eventLoopSleepMicroseconds = 250;
	const auto runNested = [&](Operation first, Operation second)
	{
		HandClock::sSleeps.clear();
		start("outer",
		    [&](Task &, bool &)
		    {
			    const auto called = make("called", [](Task &, bool &) {});
			    called->registerChildTask(make("first", std::move(first)));
			    called->registerChildTask(make("second", std::move(second)));
			    called->runToCompletion();
		    });
		pass(100);
		return HandClock::sSleeps.size();
	};
	EXPECT_EQ(runNested(sleeper(5), sleeper(5)), 5U);
	EXPECT_EQ(runNested(sleeper(5), rounds("round", 6)), 0U) << "the other one gives way without a wish for sleep";
}

// --- Small things

TEST_F(SchedulerTest, ResultsAndMisuse)
{
	const auto task = make("task", [](Task &, bool &success) { success = true; });
	EXPECT_FALSE(task->getResult()->getBool());
	task->runToCompletion();
	EXPECT_TRUE(task->getResult()->getBool()) << "without a value: the success";
	task->setResult(OMStored::factory("value"));
	EXPECT_EQ(task->getResult()->getString(), "value");

	EXPECT_FALSE(task->runTimeslice(100));
	EXPECT_LOG("SANITY_CHECK failed: '! fIsTaskCompleted' evaluates to false");
	EXPECT_FALSE(Task::startTask(nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'task' evaluates to false");
	Task::registerTask(nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'task' evaluates to false");
	const auto twice = make("twice", [](Task &, bool &) {});
	Task::registerTask(twice);
	EXPECT_LOG("SANITY_CHECK failed: 'iter == fTasksById.end()' evaluates to false");
	Task::deregisterTask(task->getTaskId());
	EXPECT_LOG("SANITY_CHECK failed: 'iter != fTasksById.end()' evaluates to false");
	twice->registerChildTask(nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'childTask' evaluates to false");
	twice->handleChildCompletion(task);
	EXPECT_LOG("SANITY_CHECK failed: 'iter != fChildTasks.end()' evaluates to false");
	EXPECT_FALSE(task->updateParsingNestLevel(-1));
	EXPECT_LOG("SANITY_CHECK failed: 'step == 1 || fParsingNestLevel > 0' evaluates to false");
	EXPECT_FALSE(task->updateParsingNestLevel(2));
	EXPECT_LOG("SANITY_CHECK failed: 'step == 1 || step == -1' evaluates to false");
	EXPECT_EQ(task->getParsingNestLevel(), 0);
	EXPECT_EQ(task->popInteractionLevel(), AsyncIOType::NONE);
	EXPECT_LOG("SANITY_CHECK failed: '! fInteractionLevelStack.empty()' evaluates to false");
}

TEST_F(SchedulerTest, StreamsAndInteractionComeFromTheParent)
{
	const Operation nothing = [](Task &, bool &) {};
	const auto parent = make("parent", nothing);
	const auto child = make("child", nothing);
	child->setParentTask(parent);
	EXPECT_FALSE(child->usesAsyncIO());
	const auto stream = makePrompted();
	parent->setInputStream(stream);
	EXPECT_EQ(child->getInputStream(), stream);
	EXPECT_TRUE(child->usesAsyncIO());
	child->pushInteractionLevel(AsyncIOType::SYNC);
	EXPECT_FALSE(child->usesAsyncIO());
	child->pushInteractionLevel(AsyncIOType::ASYNC);
	EXPECT_TRUE(child->usesAsyncIO());
	EXPECT_EQ(child->popInteractionLevel(), AsyncIOType::ASYNC);
	EXPECT_FALSE(child->usesAsyncIO());
	EXPECT_EQ(child->popInteractionLevel(), AsyncIOType::SYNC);

	fCoordinator.inputStream = makePrompted();
	EXPECT_EQ(make("alone", nothing)->getInputStream(), fCoordinator.inputStream);
}

TEST_F(SchedulerTest, AParentDrivesAChildInItsOwnSlices)
{
	const auto child = make("child", rounds("child", 3));
	const auto parent = start("parent",
	    [&](Task &task, bool &success)
	    {
		    driveChildTask_yielding(task, child);
		    success = child->isSuccess();
	    });
	pass(100);
	EXPECT_EQ(journal(), (Journal{"child"}));
	EXPECT_EQ(parent->getChildCount(), 1U);
	pass(100);
	pass(100);
	EXPECT_EQ(journal(), (Journal{"child", "child", "undo 1", "completed child", "completed parent"}));
	EXPECT_TRUE(parent->isSuccess());

	// The child has no more time than its parent.
	const auto late = make("late", rounds("late", 1000));
	const auto hurried = start(
	    "hurried", [&](Task &task, bool &) { driveChildTask_yielding(task, late); }, 500);
	pass(100);
	EXPECT_EQ(late->getDeadline(), hurried->getDeadline());
	HandClock::advance(501);
	pass(100);
	EXPECT_TRUE(late->isTaskCompleted());
	EXPECT_TRUE(hurried->isTaskCompleted());
}

TEST_F(SchedulerTest, TheNestingGuardCounts)
{
	const NestingGuard most(NestingGuard::MAX_UNITS - 1);
	{
		const NestingGuard last;
		EXPECT_FALSE(last.isExceeded());
		const NestingGuard beyond(1);
		EXPECT_TRUE(beyond.isExceeded());
	}
	EXPECT_FALSE(NestingGuard().isExceeded());
	NestingGuard::report("test");
	EXPECT_LOG("nesting limit reached: test");
}
}
