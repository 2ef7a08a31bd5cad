// `reference`: a walk from its receiver, from a container given as first argument, or from the scope.
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Reference/MrvOMAccessor.h"

namespace Mrv::Builtins
{
namespace
{
// What the arguments of one call say, and the walk's answer.
struct Reference
{
	OMAccessor accessor;
	std::string text;
	ReferenceType type = ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY;
	bool isFound = false;
	std::shared_ptr<IOMNode> node;
	std::string reason;
};

ReferenceType readType(const Value &word)
{
	if (word.isString())
	{
		if (word.text() == "selectarray")
		{
			return ReferenceType::OM_REF_SELECTOR_ARRAY;
		}
		if (word.text() == "selectfirst")
		{
			return ReferenceType::OM_REF_SELECTOR_FIRST_MATCH;
		}
		LOG_WARNING("reference: unknown selector '" + std::string(word.text()) + "'");
	}
	return ReferenceType::OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY;
}

// Null, with what the call is worth then in `result`, when there is no text.
std::unique_ptr<Reference> readArguments(const BuiltinCall &call, Value &result)
{
	auto reference = std::make_unique<Reference>();
	size_t next = call.hasReceiver ? 1 : 0;
	const OMType type = call.getArgument(next).type();
	const bool isRootGiven = type == OMType::Array || type == OMType::Map;
	if (isRootGiven)
	{
		reference->accessor.setAccessorNode(call.getArgument(next).toNode());
		++next;
	}
	else
	{
		reference->accessor.setAccessorNode(
		    call.hasReceiver ? call.getArgument(0).toNode() : std::static_pointer_cast<IOMNode>(call.environment.getScope()));
	}
	if (!hasArguments(call, next + 1))
	{
		result = Value();
		return nullptr;
	}
	const TextArgument text(call, next);
	if (!text.isOk())
	{
		result = failText(call);
		return nullptr;
	}
	reference->text = text.view();
	reference->type = readType(call.getArgument(next + 1));
	reference->accessor.setAccessorScope(call.environment.getScope());
	return reference;
}

// What a walk that went well gives.
Value resultOf(AccessType accessType, const Value &value, const std::shared_ptr<IOMNode> &node)
{
	if (accessType == AccessType::SET)
	{
		return value;
	}
	Value found = Value::fromNode(node);
	const bool mayBecomeContainer = found.type() == OMType::Undefined || found.type() == OMType::Null;
	return accessType == AccessType::GET_CREATE && mayBecomeContainer ? Value::cell(node) : found;
}

// `value`: what SET assigns.
void walk_yielding(const BuiltinCall &call, AccessType accessType, const Value &value, Value &result)
{
	struct LocalVariableState : OMFunctionState
	{
		std::unique_ptr<Reference> reference;
	};
	enum At : int32_t
	{
		START = 0,
		READY = 1,
		WALKED = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(call.place, call.task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->reference = readArguments(call, result);
				if (!frame->reference)
				{
					frame.finish();
					break;
				}
				frame->reference->node = accessType == AccessType::SET ? OMStored::valueFactory(value) : nullptr;
				frame.goTo(READY);
				[[fallthrough]];
			case READY:
				frame.call(WALKED,
				    [&]
				    {
					    Reference &reference = *frame->reference;
					    reference.accessor.accessOMNode_yielding(call.task.shared_from_this(), reference.isFound, accessType,
					        reference.text, reference.node, reference.type, &reference.reason);
				    });
				break;
			case WALKED:
			{
				const Reference &reference = *frame->reference;
				if (!reference.isFound)
				{
					const std::string reason = reference.reason.empty() ? std::string() : ": " + reference.reason;
					result = Evaluation::fail(call.place, "cannot access reference" + reason);
				}
				else
				{
					result = resultOf(accessType, value, reference.node);
				}
				frame.finish();
				break;
			}
			case DONE:
				break;
		}
	}
}
}

void ftn_reference_yielding(const BuiltinCall &call, Value &result)
{
	walk_yielding(call, AccessType::GET, Value(), result);
}

void access_reference_yielding(const BuiltinCall &call, AccessType accessType, const Value &value, Value &result)
{
	walk_yielding(call, accessType, value, result);
}
}
