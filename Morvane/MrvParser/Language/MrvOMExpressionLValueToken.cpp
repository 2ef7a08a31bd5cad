#include "MrvParser/Language/MrvOMExpressionLValueToken.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvExpressionText.h"
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
		Value value;
		if (!Evaluation::evaluateOperandDirect(value, operandAt(index), environment) || value.isNode())
		{
			return false;
		}
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

	EvaluationFrame<LocalVariableState> frame(task, result);
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

void OMExpressionLValueToken::locate_yielding(Task &, Place &place, AccessType, Environment &) const
{
	place = badPlace(); // callers ask `refusesAssignment` first
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
