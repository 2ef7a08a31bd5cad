#pragma once

#include "MrvParser/Reference/MrvOMAccessor.h"
#include "MrvParser/Task/MrvWrapperTask.h"

namespace Mrv
{
class OMScope;

// Access by path reference through an accessor: see OMAccessor. `call` gives the success and the node by reference.
class AccessOMNodeTask final : public WrapperTask<AccessOMNodeTask>
{
public:
	static constexpr const char *LOCAL_NAME = "accessOMNode";

	AccessOMNodeTask(std::shared_ptr<OMAccessor> accessor, AccessType accessType, std::string path, ReferenceType referenceType,
	    std::shared_ptr<IOMNode> omNode = nullptr);
	// With SET `omNode` is what is assigned.
	static bool call(const std::shared_ptr<OMAccessor> &accessor, AccessType accessType, const std::string &path,
	    ReferenceType referenceType, std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMAccessor> fAccessor;
	AccessType fAccessType;
	std::string fPath;
	ReferenceType fReferenceType;
};

class AccessOMNodeReadOnlyTask final : public WrapperTask<AccessOMNodeReadOnlyTask>
{
public:
	static constexpr const char *LOCAL_NAME = "accessOMNodeReadOnly";

	AccessOMNodeReadOnlyTask(std::shared_ptr<OMAccessor> accessor, std::string path, ReferenceType referenceType);
	static bool call(const std::shared_ptr<OMAccessor> &accessor, const std::string &path, ReferenceType referenceType,
	    std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMAccessor> fAccessor;
	std::string fPath;
	ReferenceType fReferenceType;
};

// Access to a child in one step, by attribute (Key is std::string) or by index (size_t). `call` gives the success and the node by
// reference: null with success where there is no such child.

// Through an accessor. With SET, the node handed in is stored; null finds or makes the child.
template <class Key>
class AccessOMNodeByKeyTask final : public WrapperTask<AccessOMNodeByKeyTask<Key>>
{
public:
	static constexpr const char *LOCAL_NAME = "accessOMNode";

	AccessOMNodeByKeyTask(std::shared_ptr<OMAccessor> accessor, AccessType accessType, Key key, std::shared_ptr<IOMNode> omNode = nullptr);
	static bool call(const std::shared_ptr<OMAccessor> &accessor, AccessType accessType, const Key &key, std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMAccessor> fAccessor;
	AccessType fAccessType;
	Key fKey;
};

template <class Key>
class AccessOMNodeReadOnlyByKeyTask final : public WrapperTask<AccessOMNodeReadOnlyByKeyTask<Key>>
{
public:
	static constexpr const char *LOCAL_NAME = "accessOMNodeReadOnly";

	AccessOMNodeReadOnlyByKeyTask(std::shared_ptr<OMAccessor> accessor, Key key);
	static bool call(const std::shared_ptr<OMAccessor> &accessor, const Key &key, std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMAccessor> fAccessor;
	Key fKey;
};

// Of a node. The scope is where a stored Expression runs (null: it is given as it is); the arguments are those of the call that the access
// is part of, and may be null.
template <class Key>
class AccessOMNodeResolvedByKeyTask final : public WrapperTask<AccessOMNodeResolvedByKeyTask<Key>>
{
public:
	static constexpr const char *LOCAL_NAME = "accessOMNode";

	AccessOMNodeResolvedByKeyTask(std::shared_ptr<IOMNode> parent, std::shared_ptr<OMScope> scope, ArgumentList arguments,
	    AccessType accessType, Key key, std::shared_ptr<IOMNode> omNode = nullptr);
	static bool call(const std::shared_ptr<IOMNode> &parent, const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments,
	    AccessType accessType, const Key &key, std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<IOMNode> fParent;
	std::shared_ptr<OMScope> fScope;
	ArgumentList fArguments;
	AccessType fAccessType;
	Key fKey;
};

template <class Key>
class AccessOMNodeReadOnlyResolvedByKeyTask final : public WrapperTask<AccessOMNodeReadOnlyResolvedByKeyTask<Key>>
{
public:
	static constexpr const char *LOCAL_NAME = "accessOMNodeReadOnly";

	AccessOMNodeReadOnlyResolvedByKeyTask(std::shared_ptr<IOMNode> parent, std::shared_ptr<OMScope> scope, ArgumentList arguments, Key key);
	static bool call(const std::shared_ptr<IOMNode> &parent, const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments,
	    const Key &key, std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	std::shared_ptr<IOMNode> fParent;
	std::shared_ptr<OMScope> fScope;
	ArgumentList fArguments;
	Key fKey;
};

using AccessOMNodeByAttrTask = AccessOMNodeByKeyTask<std::string>;
using AccessOMNodeByIdxTask = AccessOMNodeByKeyTask<size_t>;
using AccessOMNodeReadOnlyByAttrTask = AccessOMNodeReadOnlyByKeyTask<std::string>;
using AccessOMNodeReadOnlyByIdxTask = AccessOMNodeReadOnlyByKeyTask<size_t>;
using AccessOMNodeResolvedByAttrTask = AccessOMNodeResolvedByKeyTask<std::string>;
using AccessOMNodeResolvedByIdxTask = AccessOMNodeResolvedByKeyTask<size_t>;
using AccessOMNodeReadOnlyResolvedByAttrTask = AccessOMNodeReadOnlyResolvedByKeyTask<std::string>;
using AccessOMNodeReadOnlyResolvedByIdxTask = AccessOMNodeReadOnlyResolvedByKeyTask<size_t>;

extern template class AccessOMNodeByKeyTask<std::string>;
extern template class AccessOMNodeByKeyTask<size_t>;
extern template class AccessOMNodeReadOnlyByKeyTask<std::string>;
extern template class AccessOMNodeReadOnlyByKeyTask<size_t>;
extern template class AccessOMNodeResolvedByKeyTask<std::string>;
extern template class AccessOMNodeResolvedByKeyTask<size_t>;
extern template class AccessOMNodeReadOnlyResolvedByKeyTask<std::string>;
extern template class AccessOMNodeReadOnlyResolvedByKeyTask<size_t>;
}
