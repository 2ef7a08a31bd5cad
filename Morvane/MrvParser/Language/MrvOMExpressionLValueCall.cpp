#include "MrvParser/Language/MrvOMExpressionLValueCall.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMExpressionLValueToken.h"

namespace Mrv
{
OMExpressionLValueCall::OMExpressionLValueCall(Value callee, std::vector<Value> &&arguments)
    : OMExpressionLValue(std::move(callee)),
      fArguments(std::move(arguments))
{
	finishConstruction(false, false);
}

void OMExpressionLValueCall::forEachOperand(const OperandVisitor &visit) const
{
	visit(fParent);
	for (const Value &argument : fArguments)
	{
		visit(argument);
	}
}

void OMExpressionLValueCall::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value callee;
		Value value;
		ValueList arguments;
		Ref<Environment> callEnvironment;
	};
	enum At : int32_t
	{
		START = 0,
		ARGUMENTS = 1,
		ENTERED = 2,
		CALLEE_KNOWN = 1000000,
		ARGUMENT_KNOWN = 1000001,
		BODY_KNOWN = 1000002,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result, NestingGuard::SCRIPT_CALL);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CALLEE_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->callee, fParent, environment); });
				break;
			case CALLEE_KNOWN:
				frame->callee.dropControl();
				frame.goTo(ARGUMENTS);
				[[fallthrough]];
			case ARGUMENTS:
				if (frame->arguments.size() < fArguments.size())
				{
					frame.call(ARGUMENT_KNOWN,
					    [&] { Evaluation::evaluateOperand(task, frame->value, fArguments[frame->arguments.size()], environment); });
					break;
				}
				frame->callEnvironment =
				    Evaluation::enterCall(*this, frame->callee, Value::lazy(), std::move(frame->arguments), environment);
				if (!frame->callEnvironment)
				{
					result = Value::error();
					frame.finish();
					break;
				}
				frame.goTo(ENTERED);
				break;
			case ARGUMENT_KNOWN:
				frame->value.settleForStore();
				frame->arguments.push_back(std::move(frame->value));
				frame.goTo(ARGUMENTS);
				break;
			case ENTERED:
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

void OMExpressionLValueCall::locate_yielding(Task &, Place &place, AccessType, Environment &) const
{
	place = badPlace(); // callers ask `refusesAssignment` first
}

bool OMExpressionLValueCall::appendText(std::string &text, NodeWalk &walk) const
{
	// Without brackets a name would be a call by that name, and no other operand is called.
	const OMExpressionLValue *callee = fromOperand(fParent);
	const bool isWord = callee && callee->getClass() == Class::LVALUE_TOKEN;
	const bool isName = callee && callee->getClass() == Class::LVALUE_STR;
	const bool needsBrackets =
	    !callee || (isName && !callee->isCall()) || (isWord && !static_cast<const OMExpressionLValueToken *>(callee)->hasArgumentList());
	if (!ExpressionText::appendOperand(text, fParent, needsBrackets, walk))
	{
		return false;
	}
	text += '(';
	if (!ExpressionText::appendOperands(text, fArguments, ", ", walk))
	{
		return false;
	}
	text += ')';
	return true;
}

uint64_t OMExpressionLValueCall::computeHash(NodeWalk &walk) const
{
	uint64_t hash = hashParent(walk);
	for (const Value &argument : fArguments)
	{
		hash = fnvCombine(hash, Mrv::computeHash(argument, walk));
	}
	return hash;
}

int OMExpressionLValueCall::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *call = ExpressionText::sameClass<OMExpressionLValueCall>(*this, other);
	if (!call)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	const int order = ExpressionText::compareOperands(fParent, call->fParent, walk);
	return order != 0 ? order : ExpressionText::compareLists(fArguments, call->fArguments, walk);
}
}
