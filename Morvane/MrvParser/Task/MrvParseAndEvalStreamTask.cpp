#include "MrvParser/Task/MrvParseAndEvalStreamTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvStreamEvaluation.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv
{
ParseAndEvalStreamTask::ParseAndEvalStreamTask(
    std::shared_ptr<OMScope> scope, const std::shared_ptr<IOStreamPrompted> &stream, std::string address)
    : Task(NO_TIMEOUT, stream),
      fScope(std::move(scope)),
      fAddress(std::move(address))
{
}

std::shared_ptr<ParseAndEvalStreamTask> ParseAndEvalStreamTask::factory(
    const std::shared_ptr<OMScope> &scope, const std::shared_ptr<IOStreamPrompted> &stream, const std::string &address)
{
	SANITY_CHECK(scope, return nullptr);
	SANITY_CHECK_AS(stream, "ioStream", return nullptr);
	auto task = std::make_shared<ParseAndEvalStreamTask>(scope, stream, address);
	registerTask(task);
	return task;
}

void ParseAndEvalStreamTask::exit()
{
	Task::exit();
	IInternalCoordinator *coordinator = IInternalCoordinator::current();
	if (!getParentTask() && coordinator)
	{
		coordinator->requestTermination();
	}
}

void ParseAndEvalStreamTask::timeslice()
{
	parseAndEvalStream_yielding(*this, fSuccess, fScope, fAddress);
}
}
