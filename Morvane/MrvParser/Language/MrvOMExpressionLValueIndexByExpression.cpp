#include "MrvParser/Language/MrvOMExpressionLValueIndexByExpression.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvDirectOperand.h"
#include "MrvParser/Language/MrvExpressionText.h"

namespace Mrv
{
OMExpressionLValueIndexByExpression::OMExpressionLValueIndexByExpression(Value parent, Value index)
    : OMExpressionLValue(std::move(parent)),
      fIndexExpression(std::move(index)),
      fIsConstant(fIndexExpression.isInt())
{
	finishConstruction(true, true);
}

void OMExpressionLValueIndexByExpression::forEachOperand(const OperandVisitor &visit) const
{
	visit(fParent);
	visit(fIndexExpression);
}

bool OMExpressionLValueIndexByExpression::toKey(Value &index) const
{
	index.dropControl();
	index.settle();
	if (Evaluation::isPosition(index) || index.isString())
	{
		return true;
	}
	std::string text;
	if (!getAsString(index, text))
	{
		return false;
	}
	index = Value::string(std::move(text));
	return true;
}

bool OMExpressionLValueIndexByExpression::evaluateDirect(Value &result, Environment &environment) const
{
	DirectOperand container;
	DirectOperand index;
	if (!DirectOperand::readBoth(container, fParent, index, fIndexExpression, environment))
	{
		return false;
	}
	if (container->isString())
	{
		result = Evaluation::characterAt(*container, *index);
		return true;
	}
	bool isOpaque = false;
	const Value *place = Evaluation::findIndexed(*container, *index, isOpaque);
	if (isOpaque || (place && place->inPlace().isExpression()))
	{
		return false;
	}
	result = place ? Value(place->inPlace()) : Value::absent();
	return true;
}

void OMExpressionLValueIndexByExpression::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value container;
		Value index;
		Value stored;
	};
	enum At : int32_t
	{
		START = 0,
		STORED_KNOWN = 1,
		CONTAINER_KNOWN = 1000000,
		INDEX_KNOWN = 1000001,
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
				frame.call(INDEX_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->index, fIndexExpression, environment); });
				break;
			case INDEX_KNOWN:
			{
				frame->container.dropControl();
				frame->index.dropControl();
				frame->index.settle();
				bool isOpaque = false;
				const Value *place =
				    frame->container.isString() ? nullptr : Evaluation::findIndexed(frame->container, frame->index, isOpaque);
				if (isOpaque)
				{
					frame.call(STORED_KNOWN,
					    [&] { Evaluation::readOpaque_yielding(task, frame->stored, frame->container, frame->index, environment); });
					break;
				}
				if (frame->container.isString())
				{
					frame->stored = Evaluation::characterAt(frame->container, frame->index);
				}
				else
				{
					frame->stored = place ? Value(place->inPlace()) : Value::absent();
				}
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

bool OMExpressionLValueIndexByExpression::locateDirect(Place &place, Environment &environment) const
{
	Value container;
	Value index;
	if (!Evaluation::evaluateOperandDirect(container, fParent, environment) || !(container.isMap() || container.isArray()) ||
	    !Evaluation::evaluateOperandDirect(index, fIndexExpression, environment) || !toKey(index))
	{
		return false;
	}
	place.kind = Place::Kind::CHILD;
	place.container = std::move(container);
	place.key = std::move(index);
	return true;
}

bool OMExpressionLValueIndexByExpression::assignDirect(Value &result, Value &&value, Environment &environment) const
{
	DirectOperand container;
	DirectOperand index;
	if (!DirectOperand::readBoth(container, fParent, index, fIndexExpression, environment) || !(container->isMap() || container->isArray()))
	{
		return false;
	}
	Value key = *index;
	if (!toKey(key))
	{
		return false;
	}
	const Value target = *container; // storing may move the variable that it lies in
	result = value;
	if (!Evaluation::storeChild(target, key, std::move(value)))
	{
		result = Evaluation::fail(*this, getAccessComplaint());
	}
	return true;
}

void OMExpressionLValueIndexByExpression::locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Place parentPlace;
		Value index;
	};
	enum At : int32_t
	{
		START = 0,
		PARENT_KNOWN = 1000000,
		INDEX_KNOWN = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, place);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(PARENT_KNOWN, [&] { locateParent_yielding(task, frame->parentPlace, accessType, environment); });
				break;
			case PARENT_KNOWN:
				takeContainer(frame->parentPlace, environment); // the index may change what lies there
				frame.call(INDEX_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->index, fIndexExpression, environment); });
				break;
			case INDEX_KNOWN:
				place = toKey(frame->index) ? locateChild(frame->parentPlace, frame->index, accessType, environment) : badPlace();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

bool OMExpressionLValueIndexByExpression::appendText(std::string &text, NodeWalk &walk) const
{
	if (!appendParent(text, walk))
	{
		return false;
	}
	text += '[';
	if (!appendToString(text, fIndexExpression, TextPlace::LIST, walk))
	{
		return false;
	}
	text += ']';
	return true;
}

uint64_t OMExpressionLValueIndexByExpression::computeHash(NodeWalk &walk) const
{
	return fnvCombine(hashParent(walk), Mrv::computeHash(fIndexExpression, walk));
}

int OMExpressionLValueIndexByExpression::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *index = ExpressionText::sameClass<OMExpressionLValueIndexByExpression>(*this, other);
	if (!index)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	const int order = ExpressionText::compareOperands(fParent, index->fParent, walk);
	return order != 0 ? order : ExpressionText::compareOperands(fIndexExpression, index->fIndexExpression, walk);
}
}
