#include "MrvParser/Language/MrvOMExpressionLValueStr.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvMapContainer.h"

namespace Mrv
{
OMExpressionLValueStr::OMExpressionLValueStr(Value parent, const std::string &identifier)
    : OMExpressionLValue(std::move(parent)),
      fName(identifier),
      fIsCall(false)
{
	finishConstruction(true, true);
	fIsPlainVariable = !hasParent() && identifier != "this" && identifier != "arguments";
}

OMExpressionLValueStr::OMExpressionLValueStr(const OMExpressionLValueStr &name, std::vector<Value> &&arguments)
    : OMExpressionLValue(name.getParent()),
      fName(name.fName),
      fIsCall(true),
      fArguments(std::move(arguments))
{
	finishConstruction(false, false);
}

void OMExpressionLValueStr::forEachOperand(const OperandVisitor &visit) const
{
	if (hasParent())
	{
		visit(fParent);
	}
	for (const Value &argument : fArguments)
	{
		visit(argument);
	}
}

// --- Reading

Environment::Variable OMExpressionLValueStr::findVariable(Environment &environment) const
{
	if (Value *place = environment.findSlot(fLayoutId, fSlot)) [[likely]]
	{
		return {Environment::Found::YES, place, &environment};
	}
	return environment.find(fName, fGuess);
}

bool OMExpressionLValueStr::evaluateDirect(Value &result, Environment &environment) const
{
	const Value *place = nullptr;
	Value container;
	bool isOpaque = false;
	if (!hasParent())
	{
		const Environment::Variable variable = findVariable(environment);
		isOpaque = variable.found == Environment::Found::OPAQUE;
		place = variable.place;
	}
	else if (!Evaluation::evaluateOperandDirect(container, fParent, environment))
	{
		return false;
	}
	else
	{
		place = Evaluation::findAttribute(container, fName, fGuess, isOpaque);
	}
	if (isOpaque || (place && place->inPlace().isExpression()))
	{
		return false; // somebody else has to be asked, or code has to run
	}
	result = place ? Value(place->inPlace()) : Value::absent();
	return true;
}

void OMExpressionLValueStr::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	if (fIsCall)
	{
		evaluateCall_yielding(task, result, environment);
	}
	else if (hasParent())
	{
		evaluateMember_yielding(task, result, environment);
	}
	else
	{
		evaluateVariable_yielding(task, result, environment);
	}
}

void OMExpressionLValueStr::evaluateVariable_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value stored;
	};
	enum At : int32_t
	{
		START = 0,
		STORED_KNOWN = 1,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const Environment::Variable variable = findVariable(environment);
				if (variable.found == Environment::Found::OPAQUE)
				{
					const Value scope = Value::nodeItself(variable.owner->getScope());
					frame.call(STORED_KNOWN, [&] { Evaluation::readOpaque_yielding(task, frame->stored, scope, fName.text, environment); });
					break;
				}
				frame->stored = variable.place ? variable.place->inPlace() : Value::absent();
				frame.goTo(STORED_KNOWN);
				break;
			}
			case STORED_KNOWN:
				frame.call(DONE, [&] { Evaluation::runStored_yielding(task, result, frame->stored, environment); });
				break;
			case DONE:
				break;
		}
	}
}

void OMExpressionLValueStr::evaluateMember_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value container;
		Value stored;
	};
	enum At : int32_t
	{
		START = 0,
		STORED_KNOWN = 1,
		CONTAINER_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CONTAINER_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->container, fParent, environment); });
				break;
			case CONTAINER_KNOWN:
			{
				frame->container.dropControl();
				bool isOpaque = false;
				const Value *place = Evaluation::findAttribute(frame->container, fName, fGuess, isOpaque);
				if (isOpaque)
				{
					frame.call(STORED_KNOWN,
					    [&] { Evaluation::readOpaque_yielding(task, frame->stored, frame->container, fName.text, environment); });
					break;
				}
				frame->stored = place ? place->inPlace() : Value::absent();
				frame.goTo(STORED_KNOWN);
				break;
			}
			case STORED_KNOWN:
				frame.call(DONE, [&] { Evaluation::runStored_yielding(task, result, frame->stored, environment); });
				break;
			case DONE:
				break;
		}
	}
}

// --- Calling

// What the name stands for. False when only a scope or node that answers for itself can tell.
bool OMExpressionLValueStr::findCallee(Value &callee, const Value &thisNode, Environment &environment) const
{
	if (!hasParent())
	{
		const Environment::Variable variable = findVariable(environment);
		callee = variable.place ? variable.place->inPlace() : Value::absent();
		return variable.found != Environment::Found::OPAQUE;
	}
	bool isOpaque = false;
	const Value *place = Evaluation::findAttribute(thisNode, fName, fGuess, isOpaque);
	callee = place ? place->inPlace() : Value::absent();
	if (!place && thisNode.isString())
	{
		// A text has no members, but functions of the program itself may be called on it.
		const Environment::Variable variable = environment.find(fName, fGuess);
		const Value found = variable.place ? variable.place->inPlace() : Value::absent();
		const bool isNative = found.isFunction() && found.function()->fBody.isExpression() &&
		                      found.function()->fBody.expression()->getClass() == IExpression::Class::NATIVE;
		callee = isNative ? found : callee;
	}
	return !isOpaque;
}

void OMExpressionLValueStr::evaluateCall_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value thisNode = Value::lazy();
		Value callee;
		Value value;
		ValueList arguments;
		Ref<Environment> callEnvironment;
	};
	enum At : int32_t
	{
		START = 0,
		THIS_KNOWN = 1,
		ARGUMENTS_KNOWN = 2,
		CALLEE_FOUND = 3,
		CALLEE_KNOWN = 4,
		PARENT_KNOWN = 1000000,
		ARGUMENT_KNOWN = 1000001,
		BODY_KNOWN = 1000004,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result, NestingGuard::SCRIPT_CALL);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->arguments.reserve(fArguments.size());
				if (hasParent())
				{
					frame.call(PARENT_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->thisNode, fParent, environment); });
					break;
				}
				frame.goTo(THIS_KNOWN);
				[[fallthrough]];
			case THIS_KNOWN:
				if (frame->arguments.size() < fArguments.size())
				{
					frame.call(ARGUMENT_KNOWN,
					    [&] { Evaluation::evaluateOperand(task, frame->value, fArguments[frame->arguments.size()], environment); });
					break;
				}
				frame.goTo(ARGUMENTS_KNOWN);
				break;
			case PARENT_KNOWN:
				frame->thisNode.dropControl();
				frame->thisNode.settle();
				frame.goTo(THIS_KNOWN);
				break;
			case ARGUMENT_KNOWN:
				frame->value.settleForStore();
				frame->arguments.push_back(std::move(frame->value));
				frame.goTo(THIS_KNOWN);
				break;
			case ARGUMENTS_KNOWN:
				if (!findCallee(frame->callee, frame->thisNode, environment))
				{
					const Value holder = hasParent() ? frame->thisNode : Value::nodeItself(findVariable(environment).owner->getScope());
					frame.call(
					    CALLEE_FOUND, [&] { Evaluation::readOpaque_yielding(task, frame->callee, holder, fName.text, environment); });
					break;
				}
				frame.goTo(CALLEE_FOUND);
				[[fallthrough]];
			case CALLEE_FOUND:
				if (frame->callee.isExpression())
				{
					frame.call(CALLEE_KNOWN, [&] { Evaluation::runStored_yielding(task, frame->value, frame->callee, environment); });
					break;
				}
				frame->value = frame->callee;
				frame.goTo(CALLEE_KNOWN);
				[[fallthrough]];
			case CALLEE_KNOWN:
				if (!frame->callEnvironment)
				{
					frame->callEnvironment =
					    Evaluation::enterCall(*this, frame->value, frame->thisNode, std::move(frame->arguments), environment);
					frame->callee = std::move(frame->value);
				}
				if (!frame->callEnvironment)
				{
					result = Value::error();
					frame.finish();
					break;
				}
				frame.call(BODY_KNOWN,
				    [&] { Evaluation::evaluateOperand(task, frame->value, frame->callee.function()->fBody, *frame->callEnvironment); });
				break;
			case BODY_KNOWN:
				result = std::move(frame->value);
				result.dropControl();
				result.settle();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Places

Value *OMExpressionLValueStr::findPlainPlace(Environment &environment) const
{
	if (!isPlainName())
	{
		return nullptr;
	}
	const Environment::Variable variable = findVariable(environment);
	if (variable.found != Environment::Found::YES || variable.place->isCell())
	{
		return nullptr;
	}
	const MapContainer *map = variable.owner->getMap();
	return map && (map->fPermissions || map->fDataStructureOwner) ? nullptr : variable.place;
}

bool OMExpressionLValueStr::assignDirect(Value &result, Value &&value, Environment &environment) const
{
	if (hasParent())
	{
		Place place;
		if (!locateDirect(place, environment))
		{
			return false;
		}
		result = write(place, value, environment) ? std::move(value) : Value::error();
		return true;
	}
	if (Value *place = environment.findSlot(fLayoutId, fSlot); place && !place->isCell()) [[likely]]
	{
		value.settleForStore();
		result = value;
		*place = std::move(value);
		return true;
	}
	const Environment::Variable variable = findVariable(environment);
	if (variable.found == Environment::Found::OPAQUE)
	{
		return false;
	}
	result = value;
	if (!environment.store(variable, fName, std::move(value)))
	{
		result = Value::error();
	}
	return true;
}

bool OMExpressionLValueStr::locateDirect(Place &place, Environment &environment) const
{
	if (!hasParent())
	{
		place = variablePlace(fName);
		return environment.find(fName, fGuess).found != Environment::Found::OPAQUE;
	}
	Value container;
	if (!Evaluation::evaluateOperandDirect(container, fParent, environment) || !(container.isMap() || container.isArray()))
	{
		return false;
	}
	place.kind = Place::Kind::CHILD;
	place.container = std::move(container);
	place.key = fName.text;
	return true;
}

void OMExpressionLValueStr::locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Place parentPlace;
	};
	enum At : int32_t
	{
		START = 0,
		PARENT_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, place);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (!hasParent())
				{
					place = variablePlace(fName);
					frame.finish();
					break;
				}
				frame.call(PARENT_KNOWN, [&] { locateParent_yielding(task, frame->parentPlace, accessType, environment); });
				break;
			case PARENT_KNOWN:
				place = locateChild(frame->parentPlace, fName.text, accessType, environment);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Text, hash, order

bool OMExpressionLValueStr::appendText(std::string &text, NodeWalk &walk) const
{
	if (!appendParent(text, walk))
	{
		return false;
	}
	text += hasParent() ? "." : "";
	text += fName.view();
	if (fIsCall)
	{
		text += '(';
		if (!ExpressionText::appendOperands(text, fArguments, ", ", walk))
		{
			return false;
		}
		text += ')';
	}
	return true;
}

uint64_t OMExpressionLValueStr::computeHash(NodeWalk &walk) const
{
	uint64_t hash = fnvCombine(hashParent(walk), fName.hash);
	for (const Value &argument : fArguments)
	{
		hash = fnvCombine(hash, Mrv::computeHash(argument, walk));
	}
	return hash;
}

int OMExpressionLValueStr::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *name = ExpressionText::sameClass<OMExpressionLValueStr>(*this, other);
	if (!name)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	int order = ExpressionText::compareOperands(fParent, name->fParent, walk);
	order = order != 0 ? order : ExpressionText::compareNumbers(fName.view(), name->fName.view());
	order = order != 0 ? order : ExpressionText::compareNumbers(fIsCall, name->fIsCall);
	return order != 0 ? order : ExpressionText::compareLists(fArguments, name->fArguments, walk);
}
}
