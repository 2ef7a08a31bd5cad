// What the scheduler and the protocol of resumable functions cost.

#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>

using namespace Mrv;

namespace
{
// Just enough of a coordinator for tasks to run.
class BenchCoordinator : public IInternalCoordinator
{
public:
	static IInternalCoordinator *instance()
	{
		static BenchCoordinator coordinator;
		return &coordinator;
	}

	int64_t getDefaultTimeoutMicroseconds() const override { return Task::NO_TIMEOUT; }
	int64_t getEventLoopSleepMicroseconds() const override { return 0; }
	int64_t getInternalCoordinatorTimesliceMicroseconds() const override { return 20000; }
	bool isTerminationRequested() const override { return false; }
	bool requestTermination() override { return false; }
	std::shared_ptr<ITaskStream> makeInputStream() override { return nullptr; }
	std::shared_ptr<IOMNode> makeBoolNode(bool) override { return nullptr; }
	std::shared_ptr<IOMNode> buildSysInfo() override { return nullptr; }
};

enum class Callee
{
	FINISHES,
	GIVES_WAY_ONCE,
};

// Calls a resumable function so many times.
class CallingTask : public Task
{
public:
	static constexpr int CALLS = 1000;

	explicit CallingTask(Callee callee) : Task(NO_TIMEOUT), fCallee(callee) {}

	int64_t getSum() const { return fSum; }

private:
	void timeslice() override { callMany_yielding(fSum); }

	void callMany_yielding(int64_t &sum)
	{
		struct LocalVariableState : OMFunctionState
		{
			int64_t sum = 0;
			int64_t value = 0;
			int count = 0;
		};
		enum At : int32_t
		{
			START = 0,
			VALUE_KNOWN = 1000000,
			DONE = -1,
		};

		YieldingFrame<LocalVariableState> frame(*this, sum);
		while (frame.running())
		{
			switch (frame.at<At>())
			{
				case START:
					frame.call(VALUE_KNOWN, [&] { giveOne_yielding(frame->value); });
					break;
				case VALUE_KNOWN:
					frame->sum += frame->value;
					if (++frame->count < CALLS)
					{
						frame.goTo(START);
						break;
					}
					sum = frame->sum;
					frame.finish();
					break;
				case DONE:
					break;
			}
		}
	}

	void giveOne_yielding(int64_t &value)
	{
		struct LocalVariableState : OMFunctionState
		{
		};
		enum At : int32_t
		{
			START = 0,
			GAVE_WAY = 1,
			DONE = -1,
		};

		YieldingFrame<LocalVariableState> frame(*this, value);
		while (frame.running())
		{
			switch (frame.at<At>())
			{
				case START:
					frame.goTo(GAVE_WAY);
					if (fCallee == Callee::GIVES_WAY_ONCE)
					{
						frame.giveWay();
					}
					break;
				case GAVE_WAY:
					value = 1;
					frame.finish();
					break;
				case DONE:
					break;
			}
		}
	}

	const Callee fCallee;
	int64_t fSum = 0;
};

// A resumable function calls another one: a step, a frame, no suspension or one suspension of both.
void yieldingCall(benchmark::State &state, Callee callee)
{
	IInternalCoordinator::setProvider(&BenchCoordinator::instance);
	for (auto _ : state)
	{
		const auto task = std::make_shared<CallingTask>(callee);
		Task::registerTask(task);
		while (!task->isTaskCompleted())
		{
			task->runTimeslice(-1);
		}
		if (task->getSum() != CallingTask::CALLS)
		{
			state.SkipWithError("the calls gave a wrong sum");
			break;
		}
	}
	state.SetItemsProcessed(state.iterations() * CallingTask::CALLS);
}
BENCHMARK_CAPTURE(yieldingCall, finishes, Callee::FINISHES);
BENCHMARK_CAPTURE(yieldingCall, suspends, Callee::GIVES_WAY_ONCE);

// A task that has nothing to do and stays, as those that wait for requests.
class IdleTask : public Task
{
public:
	IdleTask() : Task(NO_TIMEOUT) { setPersistent(true); }

private:
	void timeslice() override { fSuccess = true; }
};

// One pass of the scheduler over idle tasks.
void sliceOfIdleTasks(benchmark::State &state)
{
	IInternalCoordinator::setProvider(&BenchCoordinator::instance);
	const int64_t count = state.range(0);
	for (int64_t i = 0; i < count; i++)
	{
		const auto task = std::make_shared<IdleTask>();
		Task::registerTask(task);
		Task::startTask(task);
	}
	for (auto _ : state)
	{
		int64_t budget = 1000000;
		Task::runActiveTasks(budget);
	}
	if (static_cast<int64_t>(Task::getActiveTasks().size()) != count)
	{
		state.SkipWithError("tasks ended by themselves");
	}
	state.SetItemsProcessed(state.iterations() * count);
	Task::exitAllTasks();
}
BENCHMARK(sliceOfIdleTasks)->Arg(10000)->Unit(benchmark::kMicrosecond);
}
