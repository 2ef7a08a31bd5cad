// What all l-values have in common: finding, reading and writing places.
#include "MrvParser/Language/MrvOMExpressionLValue.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvDirectOperand.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOperations.h"

namespace Mrv
{
namespace
{
Value newContainerFor(const Value &key)
{
	return Evaluation::isPosition(key) ? Value::emptyArray() : Value::emptyMap();
}

bool isPositionTooFar(const Value &key)
{
	return Evaluation::isPosition(key) && static_cast<uint64_t>(key.intPayload()) >= ArrayContainer::MAX_GROWTH;
}
}

// --- Assignment and `++`

void OMExpressionLValue::assign_yielding(Task &task, Value &result, const Value &value, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Place place;
	};
	enum At : int32_t
	{
		START = 0,
		PLACE_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(PLACE_KNOWN, [&] { locate_yielding(task, frame->place, AccessType::SET, environment); });
				break;
			case PLACE_KNOWN:
				result = write(frame->place, value, environment) ? value : Value::error();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void OMExpressionLValue::increment_yielding(Task &task, Value &result, UnOp unOp, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Place place;
	};
	enum At : int32_t
	{
		START = 0,
		PLACE_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (refusesAssignment())
				{
					result = Evaluation::fail(*this, getRefusal());
					frame.finish();
					break;
				}
				frame.call(PLACE_KNOWN, [&] { locate_yielding(task, frame->place, AccessType::GET, environment); });
				break;
			case PLACE_KNOWN:
				result = increment(frame->place, unOp, environment);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

bool OMExpressionLValue::isWithinReach(Environment &environment) const
{
	if (!hasParent())
	{
		return true;
	}
	DirectOperand parent;
	return parent.read(fParent, environment) && (parent->isMap() || parent->isArray());
}

bool OMExpressionLValue::incrementDirect(Value &result, UnOp unOp, Environment &environment) const
{
	if (!canAssignDirect())
	{
		return false;
	}
	const bool isIncrement = unOp == UnOp::PRE_INCREMENT || unOp == UnOp::POST_INCREMENT;
	if (Value *variable = findPlainPlace(environment); variable && variable->isInt() && isExactInt(variable->intPayload()))
	{
		const Value old = *variable;
		const OMInt changed = isIncrement ? old.intPayload() + 1 : old.intPayload() - 1;
		if (isExactInt(changed))
		{
			variable->setIntPayload(changed);
			result = unOp == UnOp::PRE_INCREMENT || unOp == UnOp::PRE_DECREMENT ? *variable : old;
			return true;
		}
	}
	Place place;
	if (!locateDirect(place, environment))
	{
		return false;
	}
	if (read(place, environment).isExpression())
	{
		return false;
	}
	result = increment(place, unOp, environment);
	return true;
}

Value OMExpressionLValue::increment(const Place &place, UnOp unOp, Environment &environment) const
{
	if (place.kind == Place::Kind::BAD)
	{
		return Value::error();
	}
	Value old = read(place, environment);
	if (old.isAbsent())
	{
		return Evaluation::failAbsent(*this, Value::expression(Ref<IExpression>(const_cast<OMExpressionLValue *>(this))));
	}
	if (old.isError())
	{
		return old;
	}
	bool isOk = true;
	const Value changed = unaryOperation(unOp, old, isOk);
	if (!isOk || !write(place, changed, environment))
	{
		return Value::error();
	}
	return unOp == UnOp::PRE_INCREMENT || unOp == UnOp::PRE_DECREMENT ? changed : Value::number(getAsNum(old));
}

void OMExpressionLValue::set_yielding(const std::shared_ptr<Task> &task, bool &success, std::shared_ptr<IOMNode> &value,
    const std::shared_ptr<OMScope> &scope, ScriptPhase) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value result;
	};
	enum At : int32_t
	{
		START = 0,
		STORED = 1000000,
		DONE = -1
	};

	SANITY_CHECK(scope, return );
	YieldingFrame<LocalVariableState> frame(*task, success);
	const Value newValue = Value::fromNode(value);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (refusesAssignment())
				{
					LOG_ERROR(getRefusal());
					frame.finish();
					break;
				}
				frame.call(STORED, [&] { assign_yielding(*task, frame->result, newValue, scope->getEnvironment()); });
				break;
			case STORED:
				success = !frame->result.isError() || newValue.isError();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Places

OMExpressionLValue::Place OMExpressionLValue::badPlace() const
{
	Evaluation::fail(*this, getAccessComplaint());
	return {};
}

OMExpressionLValue::Place OMExpressionLValue::variablePlace(const Name &name)
{
	Place place;
	place.kind = Place::Kind::VARIABLE;
	place.key = name.text;
	return place;
}

void OMExpressionLValue::locateParent_yielding(Task &task, Place &parentPlace, AccessType accessType, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		DONE = -1
	};

	const OMExpressionLValue *parent = fromOperand(fParent);
	if (parent && accessType == AccessType::SET && !parent->refusesAssignment())
	{
		parent->locate_yielding(task, parentPlace, accessType, environment);
		return;
	}
	YieldingFrame<LocalVariableState> frame(task, parentPlace);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(VALUE_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fParent, environment); });
				break;
			case VALUE_KNOWN:
				parentPlace.kind = Place::Kind::COMPUTED;
				parentPlace.container = std::move(frame->value);
				parentPlace.container.dropControl();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

OMExpressionLValue::Place OMExpressionLValue::locateChild(
    const Place &parentPlace, const Value &key, AccessType accessType, Environment &environment) const
{
	if (parentPlace.kind == Place::Kind::BAD)
	{
		return {};
	}
	Place place = parentPlace;
	place.kind = Place::Kind::CHILD;
	place.container = read(parentPlace, environment);
	place.key = key;
	const OMType type = place.container.type();
	const bool isMissing = type == OMType::Undefined || type == OMType::Null;
	if (type == OMType::Array || type == OMType::Map || place.container.isNode() || accessType != AccessType::SET)
	{
		return place;
	}
	const bool isPlaceless = parentPlace.kind == Place::Kind::COMPUTED && !parentPlace.container.isCell();
	if (!isMissing || isPlaceless)
	{
		return badPlace();
	}
	if (isPositionTooFar(key))
	{
		LOG_ERROR("array index too far beyond the end");
		return badPlace();
	}
	place.container = newContainerFor(key);
	if (parentPlace.kind == Place::Kind::COMPUTED)
	{
		return parentPlace.container.node()->set(place.container.toNode()) ? place : badPlace();
	}
	if (parentPlace.attachKind != Place::Kind::BAD)
	{
		// The parent is new itself: nobody sees what is put into it.
		return writeAt(parentPlace.kind, parentPlace.container, parentPlace.key, place.container, environment) ? place : badPlace();
	}
	place.attachKind = parentPlace.kind;
	place.attachContainer = parentPlace.container;
	place.attachKey = parentPlace.key;
	place.created = place.container;
	return place;
}

void OMExpressionLValue::takeContainer(Place &place, Environment &environment)
{
	Value value = read(place, environment);
	if (place.kind != Place::Kind::BAD && value.type() != OMType::Undefined && value.type() != OMType::Null)
	{
		place.kind = Place::Kind::COMPUTED;
		place.container = std::move(value);
	}
}

Value OMExpressionLValue::read(const Place &place, Environment &environment)
{
	const Value *found = nullptr;
	bool isOpaque = false;
	uint32_t guess = 0;
	switch (place.kind)
	{
		case Place::Kind::BAD:
			break;
		case Place::Kind::COMPUTED:
			return place.container;
		case Place::Kind::VARIABLE:
			found = environment.find(Name(place.key.text())).place;
			break;
		case Place::Kind::CHILD:
			if (place.key.isString())
			{
				found = Evaluation::findAttribute(place.container, Name(place.key.text()), guess, isOpaque);
			}
			else
			{
				found = Evaluation::findIndexed(place.container, place.key, isOpaque);
			}
			break;
	}
	return found ? Value(found->inPlace()) : Value::absent();
}

std::shared_ptr<IOMNode> OMExpressionLValue::nodeAt(const Place &place, Environment &environment)
{
	if (place.kind == Place::Kind::VARIABLE)
	{
		const Name name(place.key.text());
		const Environment::Variable variable = environment.find(name);
		return variable.place ? variable.owner->getScope()->OMStored::getOMNode(std::string(name.view())) : nullptr;
	}
	if (place.kind != Place::Kind::CHILD)
	{
		return nullptr;
	}
	const auto container = place.container.toNode();
	return place.key.isString() ? container->getOMNode(std::string(place.key.text()))
	                            : container->getOMNode(static_cast<size_t>(place.key.intPayload()));
}

bool OMExpressionLValue::writeAt(Place::Kind kind, const Value &container, const Value &key, Value value, Environment &environment)
{
	if (kind == Place::Kind::VARIABLE)
	{
		const Name name(key.text());
		return environment.store(environment.find(name), name, std::move(value));
	}
	return kind == Place::Kind::CHILD && Evaluation::storeChild(container, key, std::move(value));
}

bool OMExpressionLValue::write(const Place &place, const Value &value, Environment &environment) const
{
	if (place.kind == Place::Kind::BAD)
	{
		return false; // has been reported
	}
	const bool isWritten = writeAt(place.kind, place.container, place.key, value, environment) &&
	                       (place.attachKind == Place::Kind::BAD ||
	                           writeAt(place.attachKind, place.attachContainer, place.attachKey, place.created, environment));
	if (!isWritten)
	{
		Evaluation::fail(*this, getAccessComplaint());
	}
	return isWritten;
}

// --- Text and hash

bool OMExpressionLValue::appendParent(std::string &text, NodeWalk &walk) const
{
	if (!hasParent())
	{
		return true;
	}
	const bool isNumber = fParent.isInt() || fParent.isFloat(); // would take a dot for its own
	const bool needsBrackets = isNumber || fParent.isFunction() || (fParent.isExpression() && !fParent.expression()->isLValue());
	return ExpressionText::appendOperand(text, fParent, needsBrackets, walk);
}

uint64_t OMExpressionLValue::hashParent(NodeWalk &walk) const
{
	return hasParent() ? Mrv::computeHash(fParent, walk) : kFnvOffsetBasis;
}
}
