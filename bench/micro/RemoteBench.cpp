// What a remote script costs beside the transport: request, evaluation and answer within one process, a hundred of them in flight.

#include "MrvAddress/MrvInternalAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvCoordinator/MrvRunRemoteScriptTask.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

using namespace Mrv;

namespace
{
void remoteEval(benchmark::State &state)
{
	InternalCoordinator::init(0, nullptr);
	{
		const auto coordinator = InternalCoordinator::instance();
		const auto target = InternalAddress::factoryFromIndices("default/0");
		std::vector<std::shared_ptr<RunRemoteScriptTask>> tasks(static_cast<std::size_t>(state.range(0)));
		int64_t failures = 0;
		const auto start = [&](std::shared_ptr<RunRemoteScriptTask> &task)
		{
			task = RunRemoteScriptTask::factory(target, "1 + 2", -1, OpCode::EVAL);
			Task::startTask(task);
		};
		for (auto &task : tasks)
		{
			start(task);
		}
		int64_t done = 0;
		for (auto _ : state)
		{
			// Until as many as are in flight have come back.
			const int64_t goal = done + state.range(0);
			coordinator->runEventLoop(-1,
			    [&]
			    {
				    for (auto &task : tasks)
				    {
					    if (task->isTaskCompleted())
					    {
						    failures += task->isSuccess() ? 0 : 1;
						    ++done;
						    start(task);
					    }
				    }
				    return done >= goal;
			    });
		}
		state.SetItemsProcessed(done);
		if (failures > 0)
		{
			state.SkipWithError("a script failed");
		}
	}
	InternalCoordinator::release();
}
BENCHMARK(remoteEval)->ArgName("inFlight")->Arg(1)->Arg(100);
}
