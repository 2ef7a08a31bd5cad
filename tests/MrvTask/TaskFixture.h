#pragma once

#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvTask/MrvOperationTask.h"
#include "MrvTask/MrvYieldingFrame.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace Mrv::Test
{
// Time by hand: `sNow` moves when a test moves it, when somebody sleeps, and by `sAdvancePerReading` at each look at the clock.
struct HandClock
{
	static inline int64_t sNow = 0;
	static inline int64_t sAdvancePerReading = 0;
	static inline std::vector<int64_t> sSleeps; // microseconds

	HandClock()
	{
		sNow = 1'000'000'000;
		sAdvancePerReading = 0;
		sSleeps.clear();
		Platform::setClockSource([] { return sNow += sAdvancePerReading; });
		Platform::setSleepFunction(
		    [](int64_t deadline)
		    {
			    sSleeps.push_back((deadline - sNow) / 1000);
			    sNow = std::max(sNow, deadline);
		    });
	}
	HandClock(const HandClock &) = delete;
	HandClock &operator=(const HandClock &) = delete;
	~HandClock()
	{
		Platform::setClockSource(nullptr);
		Platform::setSleepFunction(nullptr);
	}

	static void advance(int64_t microseconds) { sNow += microseconds * 1000; }
};

// What happened, in order.
using Journal = std::vector<std::string>;

// A move-only member of a frame that notes when the frame is dropped.
class Undo
{
public:
	Undo() = default;
	Undo(Journal &journal, std::string name) : fJournal(&journal), fName(std::move(name)) {}
	Undo(Undo &&other) noexcept : fJournal(std::exchange(other.fJournal, nullptr)), fName(std::move(other.fName)) {}
	Undo &operator=(Undo &&other) noexcept
	{
		std::swap(fJournal, other.fJournal);
		std::swap(fName, other.fName);
		return *this;
	}
	Undo(const Undo &) = delete;
	Undo &operator=(const Undo &) = delete;
	~Undo()
	{
		if (fJournal)
		{
			fJournal->push_back("undo " + fName);
		}
	}

private:
	Journal *fJournal = nullptr;
	std::string fName;
};

// Enters `depth` functions, each with something to undo; the innermost calls `step` until it answers true.
inline void chain_yielding(Task &task, bool &success, int depth, Journal &journal, const std::function<bool()> &step)
{
	struct LocalVariableState : OMFunctionState
	{
		Undo undo;
	};
	enum At : int32_t
	{
		START = 0,
		ENTERED = 1,
		CALLED = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->undo = Undo(journal, std::to_string(depth));
				frame.goTo(ENTERED);
				break;
			case ENTERED:
				if (depth > 1)
				{
					frame.call(CALLED, [&] { chain_yielding(task, success, depth - 1, journal, step); });
				}
				else if (step())
				{
					frame.goTo(CALLED);
				}
				break;
			case CALLED:
				success = true;
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// A task that notes its completion.
class JournalTask : public OperationTask
{
public:
	JournalTask(Journal &journal, std::string name, Operation operation, int64_t timeoutMicroseconds)
	    : OperationTask(std::move(operation), timeoutMicroseconds, nullptr),
	      fJournal(journal),
	      fName(std::move(name))
	{
	}

	void handleCompletion() override
	{
		fJournal.push_back("completed " + fName);
		OperationTask::handleCompletion();
	}

private:
	Journal &fJournal;
	std::string fName;
};

class TaskFixture : public testing::Test
{
protected:
	using Operation = OperationTask::Operation;

	~TaskFixture() override
	{
		Task::setAlwaysYield(false);
		Task::releaseAll();
	}

	// Registered, but not started.
	std::shared_ptr<JournalTask> make(const std::string &name, Operation operation, int64_t timeoutMicroseconds = Task::NO_TIMEOUT)
	{
		auto task = std::make_shared<JournalTask>(fJournal, name, std::move(operation), timeoutMicroseconds);
		Task::registerTask(task);
		return task;
	}
	std::shared_ptr<JournalTask> start(const std::string &name, Operation operation, int64_t timeoutMicroseconds = Task::NO_TIMEOUT)
	{
		auto task = make(name, std::move(operation), timeoutMicroseconds);
		EXPECT_TRUE(Task::startTask(task));
		return task;
	}
	// A chain of functions around a step.
	Operation chain(int depth, std::function<bool()> step)
	{
		return [this, depth, step](Task &task, bool &success) { chain_yielding(task, success, depth, fJournal, step); };
	}
	// Notes each round and gives way after it; the last one ends.
	Operation rounds(const std::string &name, int count)
	{
		return [this, name, left = count](Task &task, bool &success) mutable
		{
			chain_yielding(task, success, 1, fJournal,
			    [&]
			    {
				    fJournal.push_back(name);
				    if (--left > 0)
				    {
					    task.requestYield();
				    }
				    return left == 0;
			    });
		};
	}
	static int64_t pass(int64_t budget)
	{
		EXPECT_FALSE(Task::runActiveTasks(budget));
		return budget;
	}
	// What happened since the last question.
	Journal journal() { return std::exchange(fJournal, {}); }

	HandClock fClock;
	TestCoordinator fCoordinator;
	Journal fJournal;
};
}
