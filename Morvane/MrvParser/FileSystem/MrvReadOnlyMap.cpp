#include "MrvParser/FileSystem/MrvReadOnlyMap.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvTask/MrvTask.h"

namespace Mrv
{
bool ReadOnlyMap::refuseChange()
{
	LOG_ERROR("the file system can't be changed through its nodes");
	return false;
}

void ReadOnlyMap::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	if (accessType == AccessType::GET)
	{
		accessOMNodeReadOnlyResolved_yielding(task, success, scope, arguments, attribute, omNode);
		return;
	}
	success = refuseChange();
	omNode = nullptr;
}

void ReadOnlyMap::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, AccessType accessType, size_t, std::shared_ptr<IOMNode> &omNode)
{
	success = accessType == AccessType::GET || refuseChange();
	omNode = nullptr; // children have names only
}

void ReadOnlyMap::accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	omNode = getOMNode(attribute);
	success = true;
	if (task)
	{
		task->readClockSoon(); // the disk may have been slow
	}
}

void ReadOnlyMap::set_yielding(const std::shared_ptr<Task> &, bool &success, const std::string &, std::shared_ptr<IOMNode> &)
{
	success = refuseChange();
}

void ReadOnlyMap::set_yielding(const std::shared_ptr<Task> &, bool &success, size_t, std::shared_ptr<IOMNode> &)
{
	success = refuseChange();
}

bool ReadOnlyMap::eraseAttribute(const std::string &)
{
	return refuseChange();
}

bool ReadOnlyMap::eraseIndex(size_t)
{
	return refuseChange();
}

bool ReadOnlyMap::set(const std::shared_ptr<IOMNode> &)
{
	return refuseChange();
}
}
