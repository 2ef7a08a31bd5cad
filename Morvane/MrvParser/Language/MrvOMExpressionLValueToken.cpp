#include "MrvParser/Language/MrvOMExpressionLValueToken.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvDirectOperand.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvParser/Node/MrvOperations.h"
#include "MrvTask/MrvTaskTables.h"

namespace Mrv
{
const Value &BuiltinCall::getArgument(size_t index) const
{
	static const Value NOTHING;
	return index < arguments.size() ? arguments[index] : NOTHING;
}

OMExpressionLValueToken::OMExpressionLValueToken(Value parent, Token token)
    : OMExpressionLValue(std::move(parent)),
      fToken(token),
      fHasArgumentList(false),
      fBuiltin(Builtin::find(token))
{
	finish();
}

OMExpressionLValueToken::OMExpressionLValueToken(const OMExpressionLValueToken &word, std::vector<Value> &&arguments)
    : OMExpressionLValue(word.getParent()),
      fToken(word.fToken),
      fHasArgumentList(true),
      fArguments(std::move(arguments)),
      fBuiltin(word.fBuiltin)
{
	finish();
}

void OMExpressionLValueToken::finish()
{
	const bool isDirect = fBuiltin && fBuiltin->effect != Builtin::Effect::SUSPENDS;
	finishConstruction(isDirect, isDirect && fBuiltin->effect == Builtin::Effect::NONE);
}

const Value &OMExpressionLValueToken::operandAt(size_t index) const
{
	if (hasParent())
	{
		return index == 0 ? fParent : fArguments[index - 1];
	}
	return fArguments[index];
}

void OMExpressionLValueToken::forEachOperand(const OperandVisitor &visit) const
{
	for (size_t index = 0; index < operandCount(); ++index)
	{
		visit(operandAt(index));
	}
}

std::string OMExpressionLValueToken::getRefusal() const
{
	return "cannot assign to built-in: " + std::string(getTokenText(fToken));
}

bool OMExpressionLValueToken::evaluateDirect(Value &result, Environment &environment) const
{
	ValueList arguments;
	for (size_t index = 0; index < operandCount(); ++index)
	{
		DirectOperand operand;
		if (!operand.read(operandAt(index), environment) || operand->isNode())
		{
			return false;
		}
		Value value = operand.take();
		value.dropControl();
		value.settle();
		arguments.push_back(std::move(value));
	}
	result = fBuiltin->run({*TaskTables::get().runningTask, environment, *this, arguments, hasParent()});
	return true;
}

void OMExpressionLValueToken::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
		ValueList arguments;
	};
	enum At : int32_t
	{
		ARGUMENTS = 0,
		RUN = 1,
		ARGUMENT_KNOWN = 1000000,
		RESULT_KNOWN = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case ARGUMENTS:
				if (frame->arguments.size() < operandCount())
				{
					frame.call(ARGUMENT_KNOWN,
					    [&] { Evaluation::evaluateOperand(task, frame->value, operandAt(frame->arguments.size()), environment); });
					break;
				}
				frame.goTo(RUN);
				break;
			case ARGUMENT_KNOWN:
				// The receiver travels as it is (a scope, a folder); arguments are values of their own.
				frame->value.dropControl();
				frame->value.settle();
				if (!hasParent() || !frame->arguments.empty())
				{
					frame->value.settleForStore();
				}
				frame->arguments.push_back(std::move(frame->value));
				frame.goTo(ARGUMENTS);
				break;
			case RUN:
			{
				const BuiltinCall call{task, environment, *this, frame->arguments, hasParent()};
				if (!fBuiltin)
				{
					result = Evaluation::fail(*this, "unexpected token");
					frame.finish();
				}
				else if (fBuiltin->run)
				{
					result = fBuiltin->run(call);
					frame.finish();
				}
				else
				{
					frame.call(RESULT_KNOWN, [&] { fBuiltin->run_yielding(call, frame->value); });
				}
				break;
			}
			case RESULT_KNOWN:
				result = std::move(frame->value);
				result.settle();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Assignment

void OMExpressionLValueToken::assign_yielding(Task &task, Value &result, const Value &value, Environment &environment) const
{
	access_yielding(task, result, AccessType::SET, value, nullptr, environment);
}

void OMExpressionLValueToken::increment_yielding(Task &task, Value &result, UnOp unOp, Environment &environment) const
{
	if (refusesAssignment())
	{
		OMExpressionLValue::increment_yielding(task, result, unOp, environment);
		return;
	}
	access_yielding(task, result, AccessType::SET, Value(), &unOp, environment);
}

// The receiver as a node: that of its place, or a new one that is put there when it has been given a value.
Value OMExpressionLValueToken::receiverAt(Place &place, bool &isNew, Environment &environment)
{
	if (place.kind == Place::Kind::COMPUTED)
	{
		Value value = place.container;
		value.settle();
		return value;
	}
	const auto node = nodeAt(place, environment);
	isNew = !node;
	return Value::nodeItself(node ? node : OMStored::undefinedFactory());
}

void OMExpressionLValueToken::access_yielding(
    Task &task, Value &result, AccessType accessType, const Value &value, const UnOp *unOp, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Place receiver;
		bool isReceiverNew = false;
		ValueList arguments;
		Value value;
		Value changed;
	};
	enum At : int32_t
	{
		START = 0,
		ARGUMENTS = 1,
		CHANGED = 2,
		RECEIVER_KNOWN = 1000000,
		ARGUMENT_KNOWN = 1000001,
		VALUE_KNOWN = 1000002,
		ACCESSED = 1000003,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		const BuiltinCall call{task, environment, *this, frame->arguments, hasParent()};
		switch (frame.at<At>())
		{
			case START:
				if (hasParent())
				{
					frame.call(RECEIVER_KNOWN, [&] { locateParent_yielding(task, frame->receiver, AccessType::SET, environment); });
					break;
				}
				frame.goTo(ARGUMENTS);
				break;
			case RECEIVER_KNOWN:
				if (frame->receiver.kind == Place::Kind::BAD)
				{
					result = Value::error();
					frame.finish();
					break;
				}
				frame->arguments.push_back(receiverAt(frame->receiver, frame->isReceiverNew, environment));
				frame.goTo(ARGUMENTS);
				break;
			case ARGUMENTS:
				if (frame->arguments.size() < operandCount())
				{
					frame.call(ARGUMENT_KNOWN,
					    [&] { Evaluation::evaluateOperand(task, frame->value, operandAt(frame->arguments.size()), environment); });
				}
				else if (unOp)
				{
					frame.call(VALUE_KNOWN, [&] { fBuiltin->run_yielding(call, frame->value); });
				}
				else
				{
					frame->changed = value;
					frame.goTo(CHANGED);
				}
				break;
			case ARGUMENT_KNOWN:
				frame->value.settleForStore();
				frame->arguments.push_back(std::move(frame->value));
				frame.goTo(ARGUMENTS);
				break;
			case VALUE_KNOWN:
			{
				if (frame->value.type() == OMType::Undefined)
				{
					result =
					    Evaluation::failAbsent(*this, Value::expression(Ref<IExpression>(const_cast<OMExpressionLValueToken *>(this))));
					frame.finish();
					break;
				}
				bool isOk = !frame->value.isError();
				frame->changed = isOk ? unaryOperation(*unOp, frame->value, isOk) : Value::error();
				if (!isOk)
				{
					result = Value::error();
					frame.finish();
					break;
				}
				frame.goTo(CHANGED);
				break;
			}
			case CHANGED:
				frame.call(ACCESSED, [&] { fBuiltin->access_yielding(call, accessType, frame->changed, result); });
				break;
			case ACCESSED:
				if (frame->isReceiverNew && !result.isError())
				{
					const Value receiver = Value::fromNode(frame->arguments[0].node());
					if (receiver.type() != OMType::Undefined && !write(frame->receiver, receiver, environment))
					{
						result = Value::error();
					}
				}
				if (unOp && !result.isError() && (*unOp == UnOp::POST_INCREMENT || *unOp == UnOp::POST_DECREMENT))
				{
					result = Value::number(getAsNum(frame->value));
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// What lies below it is assigned to. Callers ask `refusesAssignment` first.
void OMExpressionLValueToken::locate_yielding(Task &task, Place &place, AccessType, Environment &environment) const
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

	YieldingFrame<LocalVariableState> frame(task, place);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(
				    VALUE_KNOWN, [&] { access_yielding(task, frame->value, AccessType::GET_CREATE, Value(), nullptr, environment); });
				break;
			case VALUE_KNOWN:
				if (!frame->value.isError())
				{
					place.kind = Place::Kind::COMPUTED;
					place.container = std::move(frame->value);
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

bool OMExpressionLValueToken::appendText(std::string &text, NodeWalk &walk) const
{
	if (!appendParent(text, walk))
	{
		return false;
	}
	text += hasParent() ? "." : "";
	text += getTokenText(fToken);
	if (fHasArgumentList)
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

uint64_t OMExpressionLValueToken::computeHash(NodeWalk &walk) const
{
	uint64_t hash = fnvCombine(hashParent(walk), static_cast<uint64_t>(fToken));
	for (const Value &argument : fArguments)
	{
		hash = fnvCombine(hash, Mrv::computeHash(argument, walk));
	}
	return hash;
}

int OMExpressionLValueToken::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *word = ExpressionText::sameClass<OMExpressionLValueToken>(*this, other);
	if (!word)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	int order = ExpressionText::compareOperands(fParent, word->fParent, walk);
	order = order != 0 ? order : ExpressionText::compareNumbers(fToken, word->fToken);
	order = order != 0 ? order : ExpressionText::compareNumbers(fHasArgumentList, word->fHasArgumentList);
	return order != 0 ? order : ExpressionText::compareLists(fArguments, word->fArguments, walk);
}
}
