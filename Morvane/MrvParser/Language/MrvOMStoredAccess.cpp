// The yielding operations of stored nodes and scopes: reading children, running what is stored in them, and storing.
#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOMStored.h"

namespace Mrv
{
namespace
{
const char *const NEED_WRITE = "not permitted - need PERMISSION_WRITE";
const char *const NEED_WRITE_TO_SET = "not permitted -- need PERMISSION_WRITE";

// The child that a read found, run if it is code.
void resolve_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const std::shared_ptr<IOMNode> &child, std::shared_ptr<IOMNode> &omNode)
{
	struct LocalVariableState : OMFunctionState
	{
		Value stored;
		Value value;
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success, omNode);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				success = true;
				if (!child || child->getType() != OMType::Expression || child->isKeywordExpression() || !scope)
				{
					omNode = child;
					frame.finish();
					break;
				}
				frame->stored = child->getPlainValue();
				frame.call(
				    VALUE_KNOWN, [&] { Evaluation::runStored_yielding(*task, frame->value, frame->stored, scope->getEnvironment()); });
				break;
			case VALUE_KNOWN:
				success = true;
				frame->value.settle();
				omNode = frame->value.toNode();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// Stores a node by pointer as a child, or finds or makes the child when no node is given.
bool storeNode(OMStored &owner, const Value &container, const Name &name, std::shared_ptr<IOMNode> &omNode)
{
	MapContainer &map = *container.map();
	if (!omNode)
	{
		const Value *place = map.get(name);
		if (!place && !OMStored::storeIn(container, name, Value()))
		{
			return false;
		}
		omNode = owner.getOMNode(std::string(name.view()));
		return omNode != nullptr;
	}
	const bool isStored = OMStored::storeIn(container, name, Value::cell(omNode));
	omNode = owner.getOMNode(std::string(name.view()));
	return isStored;
}

bool storeNode(OMStored &owner, const Value &container, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	if (!omNode && index < container.array()->size())
	{
		omNode = owner.getOMNode(index);
		return true;
	}
	const bool isStored = OMStored::storeIn(container, index, omNode ? Value::cell(omNode) : Value());
	omNode = isStored ? owner.getOMNode(index) : nullptr;
	return isStored;
}
}

void OMStored::accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success,
    const std::shared_ptr<OMScope> &scope, const ArgumentList &, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	const auto child = getOMNode(attribute);
	resolve_yielding(task, success, scope, child, omNode);
}

void OMStored::accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success,
    const std::shared_ptr<OMScope> &scope, const ArgumentList &, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	const auto child = getOMNode(index);
	resolve_yielding(task, success, scope, child, omNode);
}

void OMStored::accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	size_t index = 0;
	if (accessType == AccessType::GET)
	{
		omNode = getOMNode(attribute);
	}
	else if (accessType != AccessType::SET && accessType != AccessType::GET_CREATE)
	{
		LOG_ERROR("unexpected accessType");
		success = false;
	}
	else if (getValue().isMap())
	{
		if (!getValue().map()->isWritable(attribute))
		{
			LOG_ERROR(NEED_WRITE);
			success = false;
			return;
		}
		success = storeNode(*this, getValue(), Name(attribute), omNode);
	}
	else if (getValue().isArray() && parseIndex(attribute, index))
	{
		success = storeNode(*this, getValue(), index, omNode);
	}
	else
	{
		omNode = nullptr;
	}
}

void OMStored::accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	if (getValue().isArray() && (accessType == AccessType::SET || accessType == AccessType::GET_CREATE))
	{
		success = storeNode(*this, getValue(), index, omNode);
		return;
	}
	accessOMNodeUnresolved_yielding(task, success, scope, arguments, accessType, std::to_string(index), omNode);
}

void OMStored::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	if (accessType == AccessType::GET)
	{
		accessOMNodeReadOnlyResolved_yielding(task, success, scope, arguments, attribute, omNode);
		return;
	}
	accessOMNodeUnresolved_yielding(task, success, scope, arguments, accessType, attribute, omNode);
}

void OMStored::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	if (accessType == AccessType::GET)
	{
		accessOMNodeReadOnlyResolved_yielding(task, success, scope, arguments, index, omNode);
		return;
	}
	accessOMNodeUnresolved_yielding(task, success, scope, arguments, accessType, index, omNode);
}

void OMStored::set_yielding(const std::shared_ptr<Task> &, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	success = false;
	SANITY_CHECK_AS(getValue().isMap(), "fType == OMType::Map", return );
	if (!getValue().map()->isWritable(attribute))
	{
		LOG_ERROR(NEED_WRITE_TO_SET);
		return;
	}
	success = omNode && storeNode(*this, getValue(), Name(attribute), omNode);
}

void OMStored::set_yielding(const std::shared_ptr<Task> &, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	success = false;
	SANITY_CHECK_AS(getValue().isArray(), "fType == OMType::Array", return );
	success = omNode && storeNode(*this, getValue(), index, omNode);
}

void OMStored::eval_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, const std::shared_ptr<OMScope> &scope,
    HandleReturnValue handleReturnValue)
{
	struct LocalVariableState : OMFunctionState
	{
		Value program;
		Value value;
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		DONE = -1
	};

	SANITY_CHECK(scope, return );
	YieldingFrame<LocalVariableState> frame(*task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->program = getValue(); // the script may drop the node that it runs from
				frame.call(VALUE_KNOWN,
				    [&] { Evaluation::evaluateProgram_yielding(*task, frame->value, frame->program, scope->getEnvironment()); });
				break;
			case VALUE_KNOWN:
				if (handleReturnValue == HandleReturnValue::UNWRAP)
				{
					frame->value.dropControl();
				}
				result = frame->value.toNode();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Scopes: a name is looked for along the chain

void OMScope::accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	std::shared_ptr<IOMNode> child;
	for (Environment *environment = &getEnvironment(); environment && !child; environment = environment->getParent())
	{
		child = environment->getScope()->getOMNode(attribute);
	}
	resolve_yielding(task, success, scope, child, omNode);
}

void OMScope::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	if (accessType == AccessType::SET || accessType == AccessType::GET_CREATE)
	{
		const Environment::Variable variable = getEnvironment().find(Name(attribute));
		if (variable.found == Environment::Found::YES && variable.owner != &getEnvironment())
		{
			variable.owner->getScope()->OMStored::accessOMNodeResolved_yielding(
			    task, success, scope, arguments, accessType, attribute, omNode);
			return;
		}
	}
	if (accessType == AccessType::GET)
	{
		accessOMNodeReadOnlyResolved_yielding(task, success, scope, arguments, attribute, omNode);
		return;
	}
	OMStored::accessOMNodeResolved_yielding(task, success, scope, arguments, accessType, attribute, omNode);
}
}
