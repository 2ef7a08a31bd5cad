// Access to nodes. The values stand in MrvOMAccessorValues.cpp.
//
// Every text of a reference comes to `walk_yielding`; a plain path that needs nothing run is looked up at once (PlainPath).
#include "MrvParser/Reference/MrvOMAccessor.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvParser/Reference/MrvPlainPath.h"
#include "MrvParser/Reference/MrvReferenceWalk.h"
#include "MrvTask/MrvOperationTask.h"
#include "MrvTask/MrvYieldingFrame.h"

#include <functional>

namespace Mrv
{
namespace
{
const ArgumentList NO_ARGUMENTS;

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
std::shared_ptr<IOMNode> OMAccessor::findHere(size_t index) const
{
	const auto stored = fOMNode ? fOMNode->getOMStoredPtr() : nullptr;
	if (!stored || std::dynamic_pointer_cast<OMScope>(stored))
	{
		return nullptr;
	}
	const auto child = stored->getOMNode(index);
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
	std::shared_ptr<IOMNode> omNode;
	if (!fOMNode || PlainPath::find(fOMNode, target, omNode))
	{
		return omNode;
	}
	WalkResult walkResult;
	const auto getter = makeTask([&](const std::shared_ptr<Task> &task, bool &)
	    { walk_yielding(task, walkResult, AccessType::GET, target, omNode, ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY); });
	SANITY_CHECK(getter->runToCompletion(), return nullptr);
	return walkResult.isMatched ? omNode : nullptr;
}

std::shared_ptr<IOMNode> OMAccessor::findOrMake(size_t index)
{
	std::shared_ptr<IOMNode> omNode;
	return makeArray() && accessOMNode(AccessType::SET, index, omNode) ? omNode : nullptr;
}

bool OMAccessor::assignByReference(const std::string &target, std::shared_ptr<IOMNode> &omNode)
{
	const auto setter = makeTask([&](const std::shared_ptr<Task> &task, bool &success) { set_yielding(task, success, target, omNode); });
	SANITY_CHECK(setter->runToCompletion(), return false);
	return setter->isSuccess();
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

void OMAccessor::walk_yielding(const std::shared_ptr<Task> &task, WalkResult &walkResult, AccessType accessType,
    const std::string &reference, std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType) const
{
	struct LocalVariableState : OMFunctionState
	{
		std::unique_ptr<ReferenceWalk> walk;
		std::shared_ptr<IOMNode> value;
	};
	enum At : int32_t
	{
		START = 0,
		WALKING = 1,
		CALL_WANTED = 2,
		CALLED = 1000002,
		DONE = -1
	};
	constexpr size_t STEPS = 64; // children between two looks at the clock

	YieldingFrame<LocalVariableState> frame(*task, walkResult);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const auto chain = fOMNode ? ReferenceParser::parseReference(reference, &walkResult.reason) : nullptr;
				if (!chain)
				{
					omNode = nullptr;
					frame.finish();
					break;
				}
				frame->value = omNode && accessType == AccessType::SET ? omNode : OMStored::undefinedFactory();
				frame->walk = std::make_unique<ReferenceWalk>(chain, fOMNode, fScope, accessType, frame->value);
				frame.goTo(WALKING);
				break;
			}
			case WALKING:
			{
				const ReferenceWalk::Outcome outcome = frame->walk->advance(Task::isAlwaysYield() ? 1 : STEPS);
				if (outcome == ReferenceWalk::Outcome::CALL)
				{
					frame.goTo(CALL_WANTED);
				}
				else if (outcome == ReferenceWalk::Outcome::MORE)
				{
					task->readClockSoon();
				}
				else
				{
					const ReferenceWalk &walk = *frame->walk;
					walkResult = {walk.isSuccess(), walk.isSuccess() && walk.hasMatches(), walk.getReason()};
					omNode = walkResult.isMatched ? walk.getResult(referenceType) : frame->value;
					omNode = walkResult.isSuccess ? omNode : nullptr;
					frame.finish();
				}
				break;
			}
			case CALL_WANTED:
				frame.call(CALLED, [&] { frame->walk->call_yielding(task); });
				break;
			case CALLED:
				frame.goTo(WALKING);
				break;
			case DONE:
				break;
		}
	}
}

void OMAccessor::accessOMNode_yielding(const std::shared_ptr<Task> &task, bool &success, AccessType accessType,
    const std::string &reference, std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType, std::string *reason)
{
	struct LocalVariableState : OMFunctionState
	{
		std::unique_ptr<WalkResult> walkResult;
	};
	enum At : int32_t
	{
		START = 0,
		READY = 1,
		WALKED = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (!fOMNode && !reference.empty())
				{
					fOMNode = OMStored::undefinedFactory();
				}
				frame->walkResult = std::make_unique<WalkResult>();
				frame.goTo(READY);
				[[fallthrough]];
			case READY:
				frame.call(WALKED, [&] { walk_yielding(task, *frame->walkResult, accessType, reference, omNode, referenceType); });
				break;
			case WALKED:
				success = frame->walkResult->isSuccess;
				if (reason)
				{
					*reason = frame->walkResult->reason;
				}
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
		std::unique_ptr<WalkResult> walkResult = std::make_unique<WalkResult>();
	};
	enum At : int32_t
	{
		START = 0,
		WALKED = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success, omNode);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(WALKED, [&] { walk_yielding(task, *frame->walkResult, AccessType::GET, reference, omNode, referenceType); });
				break;
			case WALKED:
				success = frame->walkResult->isSuccess;
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
		std::unique_ptr<WalkResult> walkResult = std::make_unique<WalkResult>();
	};
	enum At : int32_t
	{
		START = 0,
		WALKED = 1000000,
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
				frame.call(WALKED, [&] { walk_yielding(task, *frame->walkResult, AccessType::GET, reference, omNode, referenceType); });
				break;
			case WALKED:
				omNode = frame->walkResult->isMatched ? omNode : nullptr;
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
