// Access to nodes. The values stand in MrvOMAccessorValues.cpp.
//
// Every text target comes through the two functions by reference, or through `find` and `findOrMake`: what a text may say is decided
// there and nowhere else.
#include "MrvParser/Reference/MrvOMAccessor.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvTask/MrvOperationTask.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
namespace
{
const ArgumentList NO_ARGUMENTS;

// Makes of the one node that a text names what the caller wants to see.
void collect(std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType)
{
	if (omNode && referenceType == ReferenceType::OM_REF_SELECTOR_ARRAY)
	{
		omNode = OMStored::factory(std::vector<std::shared_ptr<IOMNode>>{omNode});
	}
}

using TaskOperation = std::function<void(const std::shared_ptr<Task> &task, bool &success)>;

std::shared_ptr<OperationTask> makeTask(const TaskOperation &operation)
{
	return OperationTask::factory([operation](Task &task, bool &success) { operation(task.shared_from_this(), success); });
}
}

bool OMAccessor::setAccessorScope(const std::shared_ptr<OMScope> &scope)
{
	fScope = scope;
	return true;
}

bool OMAccessor::operator==(const OMAccessor &other) const
{
	if (!fOMNode || !other.fOMNode)
	{
		return !fOMNode && !other.fOMNode;
	}
	return fOMNode->cmpOp_EQ(*other.fOMNode);
}

bool OMAccessor::makeMap()
{
	if (!fOMNode)
	{
		fOMNode = OMStored::mapFactory();
	}
	SANITY_CHECK(fOMNode, return false);
	return true;
}

bool OMAccessor::makeArray()
{
	if (!fOMNode)
	{
		fOMNode = OMStored::arrayFactory();
	}
	SANITY_CHECK(fOMNode, return false);
	return true;
}

// --- At once

bool OMAccessor::accessOMNode(AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	const auto accessOMNode = makeTask(
	    [&](const std::shared_ptr<Task> &task, bool &success) { accessOMNode_yielding(task, success, accessType, index, omNode); });
	SANITY_CHECK(accessOMNode->runToCompletion(), return false);
	return accessOMNode->isSuccess();
}

bool OMAccessor::accessOMNode(AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	const auto accessOMNode = makeTask(
	    [&](const std::shared_ptr<Task> &task, bool &success) { accessOMNode_yielding(task, success, accessType, attribute, omNode); });
	SANITY_CHECK(accessOMNode->runToCompletion(), return false);
	return accessOMNode->isSuccess();
}

bool OMAccessor::accessOMNodeReadOnly(size_t index, std::shared_ptr<IOMNode> &omNode) const
{
	const auto accessOMNodeReadOnly =
	    makeTask([&](const std::shared_ptr<Task> &task, bool &success) { accessOMNodeReadOnly_yielding(task, success, index, omNode); });
	SANITY_CHECK(accessOMNodeReadOnly->runToCompletion(), return false);
	return accessOMNodeReadOnly->isSuccess();
}

bool OMAccessor::accessOMNodeReadOnly(const std::string &attribute, std::shared_ptr<IOMNode> &omNode) const
{
	const auto accessOMNodeReadOnly = makeTask(
	    [&](const std::shared_ptr<Task> &task, bool &success) { accessOMNodeReadOnly_yielding(task, success, attribute, omNode); });
	SANITY_CHECK(accessOMNodeReadOnly->runToCompletion(), return false);
	return accessOMNodeReadOnly->isSuccess();
}

// A child of a plain container that needs no code to be read, so that looking at data runs nothing else meanwhile.
template <class Target>
std::shared_ptr<IOMNode> OMAccessor::findHere(const Target &target) const
{
	const auto stored = fOMNode ? fOMNode->getOMStoredPtr() : nullptr;
	if (!stored || std::dynamic_pointer_cast<OMScope>(stored))
	{
		return nullptr;
	}
	const auto child = stored->getOMNode(target);
	return child && child->getType() != OMType::Expression ? child : nullptr;
}

std::shared_ptr<IOMNode> OMAccessor::find(size_t index) const
{
	std::shared_ptr<IOMNode> omNode = findHere(index);
	if (!omNode && fOMNode && !accessOMNodeReadOnly(index, omNode))
	{
		return nullptr;
	}
	return omNode;
}

std::shared_ptr<IOMNode> OMAccessor::find(const std::string &target) const
{
	std::shared_ptr<IOMNode> omNode = findHere(target);
	if (!omNode && fOMNode && !accessOMNodeReadOnly(target, omNode))
	{
		return nullptr;
	}
	return omNode;
}

std::shared_ptr<IOMNode> OMAccessor::findOrMake(size_t index)
{
	std::shared_ptr<IOMNode> omNode;
	return makeArray() && accessOMNode(AccessType::SET, index, omNode) ? omNode : nullptr;
}

std::shared_ptr<IOMNode> OMAccessor::findOrMake(const std::string &target)
{
	std::shared_ptr<IOMNode> omNode;
	return makeMap() && accessOMNode(AccessType::SET, target, omNode) ? omNode : nullptr;
}

// --- One step

void OMAccessor::accessOMNode_yielding(
    const std::shared_ptr<Task> &task, bool &success, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	if (accessType == AccessType::GET)
	{
		accessOMNodeReadOnly_yielding(task, success, index, omNode);
		return;
	}
	success = false;
	SANITY_CHECK(fOMNode, return );
	fOMNode->accessOMNodeResolved_yielding(task, success, fScope, NO_ARGUMENTS, accessType, index, omNode);
}

void OMAccessor::accessOMNode_yielding(
    const std::shared_ptr<Task> &task, bool &success, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	if (accessType == AccessType::GET)
	{
		accessOMNodeReadOnly_yielding(task, success, attribute, omNode);
		return;
	}
	success = false;
	SANITY_CHECK(fOMNode, return );
	fOMNode->accessOMNodeResolved_yielding(task, success, fScope, NO_ARGUMENTS, accessType, attribute, omNode);
}

void OMAccessor::accessOMNodeReadOnly_yielding(
    const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) const
{
	SANITY_CHECK(fOMNode, success = false; return );
	fOMNode->accessOMNodeReadOnlyResolved_yielding(task, success, fScope, NO_ARGUMENTS, index, omNode);
}

void OMAccessor::accessOMNodeReadOnly_yielding(
    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) const
{
	SANITY_CHECK(fOMNode, success = false; return );
	fOMNode->accessOMNodeReadOnlyResolved_yielding(task, success, fScope, NO_ARGUMENTS, attribute, omNode);
}

// --- By reference

void OMAccessor::accessOMNode_yielding(const std::shared_ptr<Task> &task, bool &success, AccessType accessType,
    const std::string &reference, std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType)
{
	struct LocalVariableState : OMFunctionState
	{
		bool isReached = false;
		std::shared_ptr<IOMNode> found;
	};
	enum At : int32_t
	{
		START = 0,
		GIVEN = 1,
		FOUND = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->found = omNode;
				frame.goTo(GIVEN);
				[[fallthrough]];
			case GIVEN:
				frame.call(FOUND, [&] { accessOMNode_yielding(task, frame->isReached, accessType, reference, frame->found); });
				break;
			case FOUND:
				success = frame->isReached;
				omNode = success ? std::move(frame->found) : nullptr;
				collect(omNode, referenceType);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void OMAccessor::accessOMNodeReadOnly_yielding(const std::shared_ptr<Task> &task, bool &success, const std::string &reference,
    std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType) const
{
	struct LocalVariableState : OMFunctionState
	{
		bool isReached = false;
		std::shared_ptr<IOMNode> found;
	};
	enum At : int32_t
	{
		START = 0,
		FOUND = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success, omNode);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(FOUND, [&] { accessOMNodeReadOnly_yielding(task, frame->isReached, reference, frame->found); });
				break;
			case FOUND:
				success = frame->isReached;
				omNode = success ? std::move(frame->found) : nullptr;
				collect(omNode, referenceType);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void OMAccessor::get_yielding(
    const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &omNode, const std::string &reference, ReferenceType referenceType)
{
	struct LocalVariableState : OMFunctionState
	{
		bool isReached = false;
		std::shared_ptr<IOMNode> found;
	};
	enum At : int32_t
	{
		START = 0,
		FOUND = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, omNode);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (!makeMap())
				{
					frame.finish();
					break;
				}
				frame.call(FOUND, [&] { accessOMNodeReadOnly_yielding(task, frame->isReached, reference, frame->found, referenceType); });
				break;
			case FOUND:
				omNode = frame->isReached ? std::move(frame->found) : nullptr;
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void OMAccessor::set_yielding(
    const std::shared_ptr<Task> &task, bool &success, const std::string &reference, std::shared_ptr<IOMNode> &omNode)
{
	if (!makeMap())
	{
		success = false;
		return;
	}
	accessOMNode_yielding(task, success, AccessType::SET, reference, omNode, ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY);
}
}
