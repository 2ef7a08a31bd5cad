#include "MrvParser/Task/MrvSetterTask.h"

#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
SetterTask::SetterTask(std::shared_ptr<OMAccessor> accessor, std::string path, std::shared_ptr<IOMNode> omNode)
    : fAccessor(std::move(accessor)),
      fPath(std::move(path))
{
	fRetValNode = std::move(omNode);
}

bool SetterTask::call(const std::shared_ptr<OMAccessor> &accessor, const std::string &path, const std::shared_ptr<IOMNode> &omNode)
{
	const auto task = makeAndRun(accessor, path, omNode);
	return task && task->isSuccess();
}

bool SetterTask::hasArguments() const
{
	SANITY_CHECK_AS(fAccessor, "accessor", return false);
	SANITY_CHECK_AS(fRetValNode, "node", return false);
	return true;
}

void SetterTask::timeslice()
{
	fAccessor->set_yielding(shared_from_this(), fSuccess, fPath, fRetValNode);
}
}
