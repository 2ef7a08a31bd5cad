#include "MrvParser/Language/MrvOMExpressionTernary.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"

namespace Mrv
{
OMExpressionTernary::OMExpressionTernary(TernOp ternOp, Value condition, Value first, Value second)
    : fTernOp(ternOp),
      fNode1(std::move(condition)),
      fNode2(std::move(first)),
      fNode3(std::move(second))
{
	finishConstruction(true, true);
}

void OMExpressionTernary::forEachOperand(const OperandVisitor &visit) const
{
	visit(fNode1);
	visit(fNode2);
	visit(fNode3);
}

// An Error as condition is false, without a word.
const Value &OMExpressionTernary::choose(Value &condition) const
{
	condition.dropControl();
	return getAsBool(condition) ? fNode2 : fNode3;
}

bool OMExpressionTernary::evaluateDirect(Value &result, Environment &environment) const
{
	Value condition;
	if (!Evaluation::evaluateOperandDirect(condition, fNode1, environment) ||
	    !Evaluation::evaluateOperandDirect(result, choose(condition), environment))
	{
		return false;
	}
	result.settle();
	return true;
}

void OMExpressionTernary::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
		bool isFirstChosen = false;
	};
	enum At : int32_t
	{
		START = 0,
		CHOSEN = 1,
		CONDITION_KNOWN = 1000000,
		VALUE_KNOWN = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CONDITION_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fNode1, environment); });
				break;
			case CONDITION_KNOWN:
				frame->isFirstChosen = &choose(frame->value) == &fNode2;
				frame.goTo(CHOSEN);
				[[fallthrough]];
			case CHOSEN:
				frame.call(VALUE_KNOWN,
				    [&] { Evaluation::evaluateOperand(task, frame->value, frame->isFirstChosen ? fNode2 : fNode3, environment); });
				break;
			case VALUE_KNOWN:
				result = std::move(frame->value);
				result.settle();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

bool OMExpressionTernary::appendText(std::string &text, NodeWalk &walk) const
{
	const bool isConditional = fTernOp == TernOp::CONDITIONAL;
	const auto append = [&](const Value &operand)
	{
		if (!isConditional)
		{
			return appendToString(text, operand, TextPlace::BLOCK, walk);
		}
		const bool needsBrackets = ExpressionText::operatorValue(operand) >= static_cast<uint32_t>(BinOp::TERNARY);
		return ExpressionText::appendOperand(text, operand, needsBrackets, walk);
	};
	text += ternOpToPrefixStr(fTernOp);
	if (!(isConditional ? append(fNode1) : ExpressionText::appendCondition(text, fNode1, walk)))
	{
		return false;
	}
	text += ternOpToInfix1Str(fTernOp);
	if (!append(fNode2))
	{
		return false;
	}
	text += ternOpToInfix2Str(fTernOp);
	if (!append(fNode3))
	{
		return false;
	}
	text += ternOpToSuffixStr(fTernOp);
	return true;
}

uint64_t OMExpressionTernary::computeHash(NodeWalk &walk) const
{
	uint64_t hash = fnvHash(static_cast<uint64_t>(fTernOp));
	for (const Value *operand : {&fNode1, &fNode2, &fNode3})
	{
		hash = fnvCombine(hash, Mrv::computeHash(*operand, walk));
	}
	return hash;
}

int OMExpressionTernary::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *ternary = ExpressionText::sameClass<OMExpressionTernary>(*this, other);
	if (!ternary)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	int order = ExpressionText::compareNumbers(fTernOp, ternary->fTernOp);
	order = order != 0 ? order : ExpressionText::compareOperands(fNode1, ternary->fNode1, walk);
	order = order != 0 ? order : ExpressionText::compareOperands(fNode2, ternary->fNode2, walk);
	return order != 0 ? order : ExpressionText::compareOperands(fNode3, ternary->fNode3, walk);
}
}
