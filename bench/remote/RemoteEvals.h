#pragma once

#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvCoordinator/MrvRunRemoteScriptTask.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Mrv::Bench
{
// A script that this process's coordinator has another one run, over and over.
class RemoteEvals
{
public:
	// script: what the default service of `coordinator` is asked for; answer: the text of its value.
	RemoteEvals(const std::string &coordinator, std::string script, std::string answer)
	    : fTarget(LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(coordinator, "default/0")),
	      fScript(std::move(script)),
	      fAnswer(std::move(answer))
	{
	}

	// Sends `count` of them, at most `inFlight` at a time, and waits for all answers. False as soon as one failed or was another.
	bool run(std::int64_t count, std::size_t inFlight)
	{
		std::vector<std::shared_ptr<RunRemoteScriptTask>> tasks(inFlight);
		std::int64_t toStart = count;
		std::int64_t toCome = count;
		bool isRight = true;
		InternalCoordinator::instance()->runEventLoop(-1,
		    [&]
		    {
			    for (auto &task : tasks)
			    {
				    if (task && task->isTaskCompleted())
				    {
					    isRight = isRight && task->isSuccess() && task->getResult()->toString() == fAnswer;
					    --toCome;
					    task = nullptr;
				    }
				    if (!task && toStart > 0)
				    {
					    task = RunRemoteScriptTask::factory(fTarget, fScript, LONGEST, OpCode::EVAL);
					    Task::startTask(task);
					    --toStart;
				    }
			    }
			    return toCome <= 0 || !isRight;
		    });
		return isRight;
	}

private:
	static constexpr std::int64_t LONGEST = 60'000'000; // microseconds

	std::shared_ptr<const IObject> fTarget;
	std::string fScript;
	std::string fAnswer;
};
}
