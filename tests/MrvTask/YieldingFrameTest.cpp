#include "MrvTask/MrvYieldingFrame.h"

#include "MrvTask/MrvNestingGuard.h"
#include "MrvTask/TaskFixture.h"

#include <random>

namespace Mrv::Test
{
namespace
{
class YieldingFrameTest : public TaskFixture
{
};

// A random program: numbers to take in, calls, and places where it gives way.
struct Tree
{
	enum class Op : uint8_t
	{
		TAKE,
		CALL,
		GIVE_WAY,
		SLEEP,
	};
	struct Step
	{
		Op op;
		uint64_t number;
	};
	std::vector<Step> steps;
	std::vector<Tree> callees;
};

Tree makeTree(std::mt19937_64 &random, int depth)
{
	Tree tree;
	const size_t count = 1 + random() % 6;
	for (size_t i = 0; i < count; ++i)
	{
		const auto op = static_cast<Tree::Op>(random() % 4);
		if (op == Tree::Op::CALL && depth > 0)
		{
			tree.steps.push_back({op, tree.callees.size()});
			tree.callees.push_back(makeTree(random, depth - 1));
		}
		else
		{
			tree.steps.push_back({op == Tree::Op::CALL ? Tree::Op::TAKE : op, random() % 1000});
		}
	}
	return tree;
}

void runTree_yielding(Task &task, uint64_t &result, const Tree &tree)
{
	struct LocalVariableState : OMFunctionState
	{
		size_t next = 0;
		uint64_t sum = 17;
		std::vector<uint64_t> taken; // on the heap, and moved with the frame
		uint64_t calleeResult = 0;
	};
	enum At : int32_t
	{
		START = 0,
		STEPPING = 1,
		CALLEE_DONE = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.goTo(STEPPING);
				break;
			case STEPPING:
			{
				if (frame->next == tree.steps.size())
				{
					result = frame->sum;
					for (const uint64_t number : frame->taken)
					{
						result = result * 31 + number;
					}
					frame.finish();
					break;
				}
				const Tree::Step step = tree.steps[frame->next];
				if (step.op == Tree::Op::CALL)
				{
					frame.call(CALLEE_DONE, [&] { runTree_yielding(task, frame->calleeResult, tree.callees[step.number]); });
					break;
				}
				++frame->next;
				if (step.op == Tree::Op::TAKE)
				{
					frame->taken.push_back(step.number);
				}
				else if (step.op == Tree::Op::GIVE_WAY)
				{
					frame.giveWay();
				}
				else
				{
					task.sleepYield();
				}
				break;
			}
			case CALLEE_DONE:
				frame->sum = frame->sum * 7 + frame->calleeResult;
				++frame->next;
				frame.goTo(STEPPING);
				break;
			case DONE:
				break;
		}
	}
}

// A different frame under the same name of step: what a caller must never do.
void other_yielding(Task &task, bool &success)
{
	struct LocalVariableState : OMFunctionState
	{
		std::string text;
	};
	enum At : int32_t
	{
		START = 0,
		DONE = -1
	};
	YieldingFrame<LocalVariableState> frame(task, success);
	while (frame.running())
	{
		frame.goTo(frame.at<At>() == START ? DONE : START);
	}
}
}

TEST_F(YieldingFrameTest, RandomProgramsGiveTheSameHoweverTheyAreCutUp)
{
	std::mt19937_64 random(4711);
	for (int round = 0; round < 60; ++round)
	{
		SCOPED_TRACE(round);
		const Tree tree = makeTree(random, 5);
		uint64_t expected = 0;
		make("plain", [&](Task &task, bool &) { runTree_yielding(task, expected, tree); })->runToCompletion();
		EXPECT_NE(expected, 0U);

		uint64_t result = 0;
		Task::setAlwaysYield(true);
		make("always", [&](Task &task, bool &) { runTree_yielding(task, result, tree); })->runToCompletion();
		Task::setAlwaysYield(false);
		EXPECT_EQ(result, expected);

		// In slices that the clock cuts off somewhere.
		result = 0;
		HandClock::sAdvancePerReading = static_cast<int64_t>(random() % 700);
		const auto task = make("slices", [&](Task &sliced, bool &) { runTree_yielding(sliced, result, tree); });
		while (!task->isTaskCompleted())
		{
			task->runTimeslice(1);
			EXPECT_EQ(task->getFunctionStateDepth(), 0U);
		}
		HandClock::sAdvancePerReading = 0;
		EXPECT_EQ(result, expected);
	}
}

TEST_F(YieldingFrameTest, AChainIsSavedOutermostFirstAndEndsWithItsDeadline)
{
	const auto task = make("task", chain(3, [&] { return false; }), 1000);
	Task::setAlwaysYield(true);
	for (int slice = 0; slice < 5; ++slice)
	{
		EXPECT_TRUE(task->runTimeslice(-1));
		EXPECT_EQ(task->getFunctionStateDepth(), 0U);
	}
	EXPECT_EQ(task->getSavedFrameCount(), 3U);
	EXPECT_TRUE(task->isSuspended());
	EXPECT_FALSE(task->isTaskCompleted());
	EXPECT_EQ(journal(), Journal());

	HandClock::advance(1000);
	EXPECT_TRUE(task->runTimeslice(-1));
	EXPECT_EQ(task->getSavedFrameCount(), 0U);
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_TRUE(task->isTimedOut());
	EXPECT_FALSE(task->isSuccess());
	EXPECT_EQ(journal(), (Journal{"undo 1", "undo 2", "undo 3", "completed task"}));
}

TEST_F(YieldingFrameTest, ADeadlineBetweenTwoLevelsLeavesNoFrameBehind)
{
	// The clock goes on at each look, so that the deadline falls between any two levels of the unwinding chain.
	for (int64_t timeout = 1; timeout < 60; ++timeout)
	{
		SCOPED_TRACE(timeout);
		HandClock::sAdvancePerReading = 1000;
		const auto task = make(
		    "task",
		    [&](Task &running, bool &success)
		    {
			    chain_yielding(running, success, 4, fJournal,
			        [&]
			        {
				        running.requestYield();
				        return false;
			        });
		    },
		    timeout);
		for (int slice = 0; slice < 200 && !task->isTaskCompleted(); ++slice)
		{
			task->runTimeslice(-1);
			EXPECT_EQ(task->getFunctionStateDepth(), 0U);
			EXPECT_TRUE(task->getSavedFrameCount() == 4 || task->isTaskCompleted());
		}
		HandClock::sAdvancePerReading = 0;
		EXPECT_TRUE(task->isTaskCompleted());
		EXPECT_EQ(task->getSavedFrameCount(), 0U);
		Journal undone = journal();
		std::erase_if(undone, [](const std::string &line) { return line.find("undo") == std::string::npos; });
		EXPECT_TRUE(std::is_sorted(undone.begin(), undone.end())) << "innermost first";
	}
}

TEST_F(YieldingFrameTest, UndoRunsWhenATaskIsExited)
{
	const auto task = start("task", rounds("round", 100));
	pass(100);
	task->exit();
	pass(100);
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_EQ(journal(), (Journal{"round", "round", "undo 1", "completed task"}));

	const auto other = start("other", rounds("round", 100));
	const auto kept = start("kept", rounds("kept", 100));
	pass(100);
	journal();
	Task::exitAllTasks(kept.get());
	EXPECT_EQ(journal(), (Journal{"undo 1", "completed other"}));
	EXPECT_EQ(Task::getActiveTasks().size(), 1U);
	EXPECT_FALSE(kept->isTaskCompleted());
}

TEST_F(YieldingFrameTest, ACallerThatGivesUpDropsItsSuspendedCallee)
{
	struct LocalVariableState : OMFunctionState
	{
		Undo undo;
	};
	enum At : int32_t
	{
		START = 0,
		GIVEN_UP = 1,
		DONE = -1
	};
	bool givesUp = false;
	const auto task = make("task",
	    [&](Task &running, bool &success)
	    {
		    YieldingFrame<LocalVariableState> frame(running, success);
		    while (frame.running())
		    {
			    switch (frame.at<At>())
			    {
				    case START:
					    if (givesUp)
					    {
						    frame.goTo(GIVEN_UP);
						    EXPECT_EQ(running.getSavedFrameCount(), 1U);
						    break;
					    }
					    frame.call(DONE,
					        [&]
					        {
						        chain_yielding(running, success, 2, fJournal,
						            [&]
						            {
							            running.requestYield();
							            return false;
						            });
					        });
					    break;
				    case GIVEN_UP:
					    success = true;
					    frame.finish();
					    break;
				    case DONE:
					    break;
			    }
		    }
	    });
	task->runTimeslice(-1);
	EXPECT_EQ(task->getSavedFrameCount(), 3U);
	givesUp = true;
	task->runTimeslice(-1);
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(journal(), (Journal{"undo 1", "undo 2", "completed task"}));
}

TEST_F(YieldingFrameTest, AFrameOfAnotherTypeFailsTheTask)
{
	int entries = 0;
	const auto task = make("task",
	    [&](Task &running, bool &success)
	    {
		    if (++entries == 1)
		    {
			    chain_yielding(running, success, 2, fJournal,
			        [&]
			        {
				        running.requestYield();
				        return false;
			        });
		    }
		    else
		    {
			    other_yielding(running, success);
		    }
	    });
	task->runTimeslice(-1);
	task->runTimeslice(-1);
	EXPECT_LOG("its frame is of another type");
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_FALSE(task->isSuccess());
	EXPECT_EQ(task->getSavedFrameCount(), 0U);
	EXPECT_EQ(journal(), (Journal{"undo 1", "undo 2", "completed task"}));
}

TEST_F(YieldingFrameTest, AnExceptionFailsItsTaskAndNothingElse)
{
	const auto other = start("other", rounds("round", 2));
	bool throws = false;
	const auto task = start("task",
	    [&](Task &running, bool &success)
	    {
		    success = true;
		    chain_yielding(running, success, 3, fJournal,
		        [&]
		        {
			        running.requestYield();
			        return throws ? throw std::runtime_error("broken") : false;
		        });
	    });
	pass(100);
	throws = true;
	pass(100);
	EXPECT_LOG("task failed by an exception: broken");
	EXPECT_TRUE(task->isTaskCompleted());
	EXPECT_FALSE(task->isSuccess());
	EXPECT_TRUE(other->isTaskCompleted());
	EXPECT_EQ(journal(), (Journal{"round", "undo 1", "undo 2", "undo 3", "completed task", "round", "undo 1", "completed other"}));
	// The next pass is not refused as a nested one.
	start("next", rounds("next", 1));
	pass(100);
	EXPECT_EQ(journal(), (Journal{"next", "undo 1", "completed next"}));
}

namespace
{
// Keeps the compiler from leaving an array out.
void useRoom(char *room)
{
	asm volatile("" : : "r"(room) : "memory");
}

// Uses up the native stack until that much is left, then calls.
__attribute__((noinline)) void callWithStackLeft(uintptr_t bytes, const std::function<void()> &function)
{
	char room[4096];
	useRoom(room);
	if (NestingGuard::mayReenter(bytes))
	{
		callWithStackLeft(bytes, function);
	}
	else
	{
		function();
	}
	useRoom(room);
}

// A suspended chain with a big native frame.
__attribute__((noinline)) void hungry_yielding(Task &task, bool &success, Journal &journal, const std::function<bool()> &step)
{
	char room[256 * 1024];
	useRoom(room);
	chain_yielding(task, success, 2, journal, step);
	useRoom(room);
}
}

TEST_F(YieldingFrameTest, ASuspendedChainWaitsForEnoughNativeStack)
{
	bool mayEnd = false;
	const auto task = make("task",
	    [&](Task &running, bool &success)
	    {
		    hungry_yielding(running, success, fJournal,
		        [&]
		        {
			        running.requestYield();
			        return mayEnd;
		        });
	    });
	task->runTimeslice(-1);
	ASSERT_EQ(task->getSavedFrameCount(), 2U);
	mayEnd = true;
	setTestLogLevel(2);
	callWithStackLeft(200 * 1024,
	    [&]
	    {
		    EXPECT_TRUE(task->runTimeslice(-1));
		    EXPECT_TRUE(task->runTimeslice(-1));
	    });
	EXPECT_EQ(task->getSavedFrameCount(), 2U);
	EXPECT_FALSE(task->isTaskCompleted());
	EXPECT_LOG("the native stack is too short here");
	EXPECT_FALSE(takeLogLine("the native stack is too short here")) << "logged on change only";
	task->runToCompletion();
	EXPECT_TRUE(task->isSuccess());
}

TEST_F(YieldingFrameTest, ManyFramesAndLargeOnes)
{
	// More than one chunk of the arena, and back again.
	int steps = 0;
	const auto task = make("task", chain(600, [&] { return ++steps == 3; }));
	Task::setAlwaysYield(true);
	task->runToCompletion();
	EXPECT_TRUE(task->isSuccess());
	EXPECT_EQ(steps, 3);
	EXPECT_EQ(journal().size(), 601U);
}

TEST_F(YieldingFrameTest, TheClockCutsASliceOff)
{
	int steps = 0;
	const auto task = make("task",
	    [&](Task &running, bool &success)
	    {
		    chain_yielding(running, success, 1, fJournal,
		        [&]
		        {
			        ++steps;
			        HandClock::advance(1);
			        running.readClockSoon();
			        return false;
		        });
	    });
	task->runTimeslice(100);
	EXPECT_EQ(steps, 100);
	EXPECT_FALSE(task->isSleepRequested());

	// Without the hint the clock is read on some steps only, but often enough.
	steps = 0;
	const auto other = make("other", chain(1,
	                                     [&]
	                                     {
		                                     ++steps;
		                                     HandClock::advance(1);
		                                     return false;
	                                     }));
	other->runTimeslice(100);
	EXPECT_GE(steps, 100);
	EXPECT_LE(steps, 200);
}
}
