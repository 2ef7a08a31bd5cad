#include "MrvParser/Task/MrvAccessOMNodeTasks.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"

namespace Mrv
{
// --- By reference

AccessOMNodeTask::AccessOMNodeTask(std::shared_ptr<OMAccessor> accessor, AccessType accessType, std::string path,
    ReferenceType referenceType, std::shared_ptr<IOMNode> omNode)
    : fAccessor(std::move(accessor)),
      fAccessType(accessType),
      fPath(std::move(path)),
      fReferenceType(referenceType)
{
	fRetValNode = std::move(omNode);
}

bool AccessOMNodeTask::call(const std::shared_ptr<OMAccessor> &accessor, AccessType accessType, const std::string &path,
    ReferenceType referenceType, std::shared_ptr<IOMNode> &omNode)
{
	return callForSuccess(omNode, accessor, accessType, path, referenceType, omNode);
}

bool AccessOMNodeTask::hasArguments() const
{
	SANITY_CHECK_AS(fAccessor, "accessor", return false);
	return true;
}

void AccessOMNodeTask::timeslice()
{
	fAccessor->accessOMNode_yielding(shared_from_this(), fSuccess, fAccessType, fPath, fRetValNode, fReferenceType);
}

AccessOMNodeReadOnlyTask::AccessOMNodeReadOnlyTask(std::shared_ptr<OMAccessor> accessor, std::string path, ReferenceType referenceType)
    : fAccessor(std::move(accessor)),
      fPath(std::move(path)),
      fReferenceType(referenceType)
{
}

bool AccessOMNodeReadOnlyTask::call(
    const std::shared_ptr<OMAccessor> &accessor, const std::string &path, ReferenceType referenceType, std::shared_ptr<IOMNode> &omNode)
{
	return callForSuccess(omNode, accessor, path, referenceType);
}

bool AccessOMNodeReadOnlyTask::hasArguments() const
{
	SANITY_CHECK_AS(fAccessor, "accessor", return false);
	return true;
}

void AccessOMNodeReadOnlyTask::timeslice()
{
	fAccessor->accessOMNodeReadOnly_yielding(shared_from_this(), fSuccess, fPath, fRetValNode, fReferenceType);
}

// --- Through an accessor

template <class Key>
AccessOMNodeByKeyTask<Key>::AccessOMNodeByKeyTask(
    std::shared_ptr<OMAccessor> accessor, AccessType accessType, Key key, std::shared_ptr<IOMNode> omNode)
    : fAccessor(std::move(accessor)),
      fAccessType(accessType),
      fKey(std::move(key))
{
	this->fRetValNode = std::move(omNode);
}

template <class Key>
bool AccessOMNodeByKeyTask<Key>::call(
    const std::shared_ptr<OMAccessor> &accessor, AccessType accessType, const Key &key, std::shared_ptr<IOMNode> &omNode)
{
	return AccessOMNodeByKeyTask::callForSuccess(omNode, accessor, accessType, key, omNode);
}

template <class Key>
bool AccessOMNodeByKeyTask<Key>::hasArguments() const
{
	SANITY_CHECK_AS(fAccessor, "accessor", return false);
	return true;
}

template <class Key>
void AccessOMNodeByKeyTask<Key>::timeslice()
{
	fAccessor->accessOMNode_yielding(this->shared_from_this(), this->fSuccess, fAccessType, fKey, this->fRetValNode);
}

template <class Key>
AccessOMNodeReadOnlyByKeyTask<Key>::AccessOMNodeReadOnlyByKeyTask(std::shared_ptr<OMAccessor> accessor, Key key)
    : fAccessor(std::move(accessor)),
      fKey(std::move(key))
{
}

template <class Key>
bool AccessOMNodeReadOnlyByKeyTask<Key>::call(const std::shared_ptr<OMAccessor> &accessor, const Key &key, std::shared_ptr<IOMNode> &omNode)
{
	return AccessOMNodeReadOnlyByKeyTask::callForSuccess(omNode, accessor, key);
}

template <class Key>
bool AccessOMNodeReadOnlyByKeyTask<Key>::hasArguments() const
{
	SANITY_CHECK_AS(fAccessor, "accessor", return false);
	return true;
}

template <class Key>
void AccessOMNodeReadOnlyByKeyTask<Key>::timeslice()
{
	fAccessor->accessOMNodeReadOnly_yielding(this->shared_from_this(), this->fSuccess, fKey, this->fRetValNode);
}

// --- Of a node

template <class Key>
AccessOMNodeResolvedByKeyTask<Key>::AccessOMNodeResolvedByKeyTask(std::shared_ptr<IOMNode> parent, std::shared_ptr<OMScope> scope,
    ArgumentList arguments, AccessType accessType, Key key, std::shared_ptr<IOMNode> omNode)
    : fParent(std::move(parent)),
      fScope(std::move(scope)),
      fArguments(std::move(arguments)),
      fAccessType(accessType),
      fKey(std::move(key))
{
	this->fRetValNode = std::move(omNode);
}

template <class Key>
bool AccessOMNodeResolvedByKeyTask<Key>::call(const std::shared_ptr<IOMNode> &parent, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, const Key &key, std::shared_ptr<IOMNode> &omNode)
{
	return AccessOMNodeResolvedByKeyTask::callForSuccess(omNode, parent, scope, arguments, accessType, key, omNode);
}

template <class Key>
bool AccessOMNodeResolvedByKeyTask<Key>::hasArguments() const
{
	SANITY_CHECK_AS(fParent, "node", return false);
	return true;
}

template <class Key>
void AccessOMNodeResolvedByKeyTask<Key>::timeslice()
{
	fParent->accessOMNodeResolved_yielding(
	    this->shared_from_this(), this->fSuccess, fScope, fArguments, fAccessType, fKey, this->fRetValNode);
}

template <class Key>
AccessOMNodeReadOnlyResolvedByKeyTask<Key>::AccessOMNodeReadOnlyResolvedByKeyTask(
    std::shared_ptr<IOMNode> parent, std::shared_ptr<OMScope> scope, ArgumentList arguments, Key key)
    : fParent(std::move(parent)),
      fScope(std::move(scope)),
      fArguments(std::move(arguments)),
      fKey(std::move(key))
{
}

template <class Key>
bool AccessOMNodeReadOnlyResolvedByKeyTask<Key>::call(const std::shared_ptr<IOMNode> &parent, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, const Key &key, std::shared_ptr<IOMNode> &omNode)
{
	return AccessOMNodeReadOnlyResolvedByKeyTask::callForSuccess(omNode, parent, scope, arguments, key);
}

template <class Key>
bool AccessOMNodeReadOnlyResolvedByKeyTask<Key>::hasArguments() const
{
	SANITY_CHECK_AS(fParent, "node", return false);
	return true;
}

template <class Key>
void AccessOMNodeReadOnlyResolvedByKeyTask<Key>::timeslice()
{
	fParent->accessOMNodeReadOnlyResolved_yielding(this->shared_from_this(), this->fSuccess, fScope, fArguments, fKey, this->fRetValNode);
}

template class AccessOMNodeByKeyTask<std::string>;
template class AccessOMNodeByKeyTask<size_t>;
template class AccessOMNodeReadOnlyByKeyTask<std::string>;
template class AccessOMNodeReadOnlyByKeyTask<size_t>;
template class AccessOMNodeResolvedByKeyTask<std::string>;
template class AccessOMNodeResolvedByKeyTask<size_t>;
template class AccessOMNodeReadOnlyResolvedByKeyTask<std::string>;
template class AccessOMNodeReadOnlyResolvedByKeyTask<size_t>;
}
