#pragma once

#include "MrvParser/Node/MrvOMStored.h"
#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvTask/MrvTask.h"

#include <functional>
#include <memory>
#include <utility>

namespace Mrv::Test
{
// What tasks ask of a coordinator, for tests that have none. The current one while it lives; what it answers can be set.
class TestCoordinator final : public IInternalCoordinator
{
public:
	TestCoordinator()
	{
		sCurrent = this;
		setProvider([]() -> IInternalCoordinator * { return sCurrent; });
	}
	TestCoordinator(const TestCoordinator &) = delete;
	TestCoordinator &operator=(const TestCoordinator &) = delete;
	~TestCoordinator() override
	{
		sCurrent = nullptr;
		setProvider(nullptr);
	}

	int64_t getDefaultTimeoutMicroseconds() const override { return defaultTimeoutMicroseconds; }
	int64_t getEventLoopSleepMicroseconds() const override { return eventLoopSleepMicroseconds; }
	int64_t getInternalCoordinatorTimesliceMicroseconds() const override { return timesliceMicroseconds; }
	bool isTerminationRequested() const override { return terminationRequested; }
	bool requestTermination() override
	{
		terminationRequested = canTerminate;
		return canTerminate;
	}
	std::shared_ptr<ITaskStream> makeInputStream() override { return inputStream; }
	std::shared_ptr<IOMNode> makeBoolNode(bool value) override { return OMStored::factory(value); }
	std::shared_ptr<IOMNode> buildSysInfo() override { return nullptr; }

	int64_t defaultTimeoutMicroseconds = -1;
	int64_t eventLoopSleepMicroseconds = 0;
	int64_t timesliceMicroseconds = 1000;
	bool terminationRequested = false;
	bool canTerminate = true;
	std::shared_ptr<ITaskStream> inputStream;

private:
	static inline TestCoordinator *sCurrent = nullptr;
};

// A task whose work is a function, called in each slice until it doesn't suspend.
class FunctionTask final : public Task
{
public:
	static std::shared_ptr<FunctionTask> factory(std::function<void(Task &)> work)
	{
		auto task = std::make_shared<FunctionTask>(std::move(work));
		registerTask(task);
		return task;
	}
	// Use the factory.
	explicit FunctionTask(std::function<void(Task &)> work) : Task(NO_TIMEOUT), fWork(std::move(work)) {}

protected:
	void timeslice() override { fWork(*this); }

private:
	std::function<void(Task &)> fWork;
};

// Runs the function in a task, to its completion.
inline void runInTask(std::function<void(Task &)> work)
{
	FunctionTask::factory(std::move(work))->runToCompletion();
}

// The always-yield mode as long as it lives.
class AlwaysYield
{
public:
	explicit AlwaysYield(bool alwaysYield) : fBefore(Task::isAlwaysYield()) { Task::setAlwaysYield(alwaysYield); }
	AlwaysYield(const AlwaysYield &) = delete;
	AlwaysYield &operator=(const AlwaysYield &) = delete;
	~AlwaysYield() { Task::setAlwaysYield(fBefore); }

private:
	const bool fBefore;
};
}
