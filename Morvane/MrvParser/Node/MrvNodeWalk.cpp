#include "MrvParser/Node/MrvNodeWalk.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvTask/MrvTask.h"

#include <algorithm>
#include <string>

namespace Mrv
{
bool NodeWalk::stop(const char *reason)
{
	if (!fIsStopped)
	{
		fIsStopped = true;
		LOG_ERROR(std::string(fOperation) + ": " + reason);
	}
	return false;
}

bool NodeWalk::checkSlowly()
{
	if (fIsStopped)
	{
		return false;
	}
	fNextCheck = fVisits + CHECK_INTERVAL;
	if (fVisits >= MAX_VISITS)
	{
		return stop("too many nodes");
	}
	return !Task::isRunningTaskPastDeadline() || stop("deadline passed");
}

bool NodeWalk::isOnPath(const HeapObject *container) const
{
	return std::find(fPath.rbegin(), fPath.rend(), container) != fPath.rend();
}

NodeWalk::Step::Step(NodeWalk &walk, const HeapObject *container, bool isCycleAnError) : fWalk(walk), fIsEntered(false)
{
	if (walk.isOnPath(container))
	{
		if (isCycleAnError)
		{
			walk.stop("a container holds itself");
		}
		return;
	}
	if (fGuard.isExceeded())
	{
		walk.stop("nesting limit reached");
		return;
	}
	walk.fPath.push_back(container);
	fIsEntered = true;
}

NodeWalk::Step::~Step()
{
	if (fIsEntered)
	{
		fWalk.fPath.pop_back();
	}
}
}
