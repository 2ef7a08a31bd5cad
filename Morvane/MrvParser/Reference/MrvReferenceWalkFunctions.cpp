// Functions in references, and all that may run code.
#include "MrvParser/Reference/MrvReferenceWalk.h"

#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"
#include "MrvParser/Reference/MrvMatchNodeFunction.h"

#include <algorithm>

namespace Mrv
{
namespace
{
const ArgumentList NO_ARGUMENTS;

std::shared_ptr<IOMNode> makeNames(std::vector<std::string> names)
{
	if (names.size() < 2)
	{
		return names.empty() ? OMStored::undefinedFactory() : OMStored::factory(names.front());
	}
	std::sort(names.begin(), names.end());
	auto array = OMStored::arrayFactory();
	for (std::string &name : names)
	{
		array->getValue().array()->fItems.push_back(Value::string(std::move(name)));
	}
	return array;
}
}

bool ReferenceWalk::stepFunction(Step &step)
{
	const auto &link = static_cast<const MatchNodeFunction &>(*step.link);
	switch (step.at)
	{
		case Step::At::START:
			return gather(step, link);
		case Step::At::IGNORE_KNOWN:
			if (!fIsCallSuccess)
			{
				return fail("there is no function '" + link.getFunctionName() + "'");
			}
			step.at = Step::At::CALCULATE;
			return (fCallResult.isBool() && fCallResult.boolPayload()) || pushSame(*link.getNext());
		case Step::At::CALCULATE:
			return calculate(step, link);
		case Step::At::RESULT_KNOWN:
			if (!fIsCallSuccess)
			{
				return fail("there is no function '" + link.getFunctionName() + "'");
			}
			step.child = fCallResult.toNode();
			step.at = Step::At::HAND_ON;
			break;
		case Step::At::HAND_ON:
		{
			stateOf(link).matches.clear();
			if (step.child)
			{
				fLinks[stateOf(link).collector].matches.add(step.child, step.child->getDataStructureKey());
			}
			pop();
			break;
		}
		case Step::At::CHILD:
		case Step::At::HERE:
		case Step::At::NEXT:
		case Step::At::ACCESSED:
		case Step::At::LAST:
			pop();
			break;
	}
	return true;
}

// Looks below the node, unless a function of the script has its children passed over.
bool ReferenceWalk::gather(Step &step, const MatchNodeFunction &link)
{
	step.at = Step::At::CALCULATE;
	if (!link.getNext())
	{
		return takeOwn(step, "omNode.set(setOMNode)");
	}
	if (!isTraversable(step.node->getType()))
	{
		return true;
	}
	if (link.getFunction() != MatchNodeFunction::Function::SCRIPT || !fScope)
	{
		return pushSame(*link.getNext());
	}
	step.at = Step::At::IGNORE_KNOWN;
	const size_t position = fSteps.size() - 1;
	const auto parent = parentOf(position);
	ValueList arguments;
	arguments.push_back(parent ? Value::fromNode(parent) : Value());
	arguments.push_back(Value::string(keyOf(position)));
	askFunction(link, FunctionPhase::IGNORE_CHILDREN, std::move(arguments));
	return true;
}

// What the function makes of the matches; without any, only those that count and name make something.
bool ReferenceWalk::calculate(Step &step, const MatchNodeFunction &link)
{
	const MatchList &matches = stateOf(link).matches;
	step.at = Step::At::HAND_ON;
	switch (link.getFunction())
	{
		case MatchNodeFunction::Function::COUNT:
			step.child = OMStored::factory(static_cast<OMInt>(matches.size()));
			break;
		case MatchNodeFunction::Function::NAME:
			step.child = makeNames(matches.getKeys());
			break;
		case MatchNodeFunction::Function::SELECT:
			if (!matches.empty())
			{
				const std::vector<std::shared_ptr<IOMNode>> nodes = matches.getNodes();
				for (const auto &node : nodes)
				{
					if (fAccessType == AccessType::SET && !assign(*node, "omNode.set(setOMNode)"))
					{
						return false;
					}
				}
				step.child = OMStored::factory(nodes);
			}
			break;
		case MatchNodeFunction::Function::SCRIPT:
			if (!matches.empty() && fScope)
			{
				ValueList arguments;
				arguments.push_back(OMStored::factory(matches.getNodes())->getValue());
				askFunction(link, FunctionPhase::PROCESS, std::move(arguments));
				step.at = Step::At::RESULT_KNOWN;
			}
			break;
	}
	return true;
}

void ReferenceWalk::askFunction(const MatchNodeFunction &link, FunctionPhase phase, ValueList arguments)
{
	fCall = Call::FUNCTION;
	fCallName = link.getFunctionName();
	fCallPhase = Value::string(functionPhaseToStr(phase));
	fCallArguments = std::move(arguments);
	fIsCallSuccess = false;
	fCallResult = Value();
}

void ReferenceWalk::call_yielding(const std::shared_ptr<Task> &task)
{
	if (fCall == Call::ACCESS)
	{
		access_yielding(task);
	}
	else
	{
		function_yielding(task);
	}
}

// One step by name or index; a write makes the child that isn't there.
void ReferenceWalk::access_yielding(const std::shared_ptr<Task> &task)
{
	const auto &link = static_cast<const MatchNodeExactMatch &>(*fSteps.back().link);
	IOMNode &node = *fSteps.back().node;
	if (fAccessType == AccessType::GET)
	{
		if (link.isIndex())
		{
			node.accessOMNodeReadOnlyResolved_yielding(task, fIsCallSuccess, fScope, NO_ARGUMENTS, link.getIndex(), fCallChild);
		}
		else
		{
			node.accessOMNodeReadOnlyResolved_yielding(task, fIsCallSuccess, fScope, NO_ARGUMENTS, link.getText(), fCallChild);
		}
	}
	else if (link.isIndex())
	{
		node.accessOMNodeResolved_yielding(task, fIsCallSuccess, fScope, NO_ARGUMENTS, AccessType::GET_CREATE, link.getIndex(), fCallChild);
	}
	else
	{
		node.accessOMNodeResolved_yielding(task, fIsCallSuccess, fScope, NO_ARGUMENTS, AccessType::GET_CREATE, link.getText(), fCallChild);
	}
}

// A function is looked up in the scopes, as a call by its name would; `this` is the phase. No success when there is no such function.
void ReferenceWalk::function_yielding(const std::shared_ptr<Task> &task)
{
	struct LocalVariableState : OMFunctionState
	{
		bool isFound = false;
		std::shared_ptr<IOMNode> node;
		Value function;
	};
	enum At : int32_t
	{
		START = 0,
		FUNCTION_KNOWN = 1,
		NODE_KNOWN = 1000000,
		CALLED = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const Environment::Variable variable = fScope->getEnvironment().find(Name(fCallName));
				if (variable.found == Environment::Found::OPAQUE)
				{
					const auto owner = variable.owner->getScope();
					frame.call(NODE_KNOWN,
					    [&] {
						    owner->accessOMNodeReadOnlyResolved_yielding(
						        task, frame->isFound, fScope, NO_ARGUMENTS, fCallName, frame->node);
					    });
					break;
				}
				frame->function = variable.place ? Value(variable.place->inPlace()) : Value();
				frame.goTo(FUNCTION_KNOWN);
				break;
			}
			case NODE_KNOWN:
				frame->function = Value::fromNode(frame->node);
				frame.goTo(FUNCTION_KNOWN);
				[[fallthrough]];
			case FUNCTION_KNOWN:
				if (!frame->function.isFunction())
				{
					frame.finish();
					break;
				}
				frame.call(CALLED,
				    [&] {
					    Evaluation::callFunction_yielding(
					        *task, fCallResult, frame->function, fCallPhase, fCallArguments, fScope->getEnvironment());
				    });
				break;
			case CALLED:
				fIsCallSuccess = true;
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
