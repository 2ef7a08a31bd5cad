#include "MrvParser/Task/MrvGetterTask.h"

#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
GetterTask::GetterTask(std::shared_ptr<OMAccessor> accessor, std::string path, ReferenceType referenceType)
    : fAccessor(std::move(accessor)),
      fPath(std::move(path)),
      fReferenceType(referenceType)
{
}

std::shared_ptr<IOMNode> GetterTask::call(const std::shared_ptr<OMAccessor> &accessor, const std::string &path, ReferenceType referenceType)
{
	// Not the task's result, which is a Bool where there is no node.
	return callForNode(accessor, path, referenceType);
}

bool GetterTask::hasArguments() const
{
	SANITY_CHECK_AS(fAccessor, "accessor", return false);
	return true;
}

void GetterTask::timeslice()
{
	runForNode([this] { fAccessor->get_yielding(shared_from_this(), fRetValNode, fPath, fReferenceType); });
}
}
