#include "MrvParser/Language/MrvOMExpressionUnary.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMExpressionLValue.h"
#include "MrvParser/Node/MrvOperations.h"

namespace Mrv
{
OMExpressionUnary::OMExpressionUnary(UnOp unOp, Value operand) : fUnOp(unOp), fNode(std::move(operand))
{
	// Changing a place is direct where the place can be found directly: the place itself knows.
	finishConstruction(true, !isIncrementOrDecrement(unOp));
}

// The operators that only look at their operand.
Value OMExpressionUnary::apply(Value operand) const
{
	operand.dropControl();
	if (fUnOp == UnOp::RETURN)
	{
		operand.settle();
		operand.setReturned(true);
		return operand;
	}
	const bool needsValue = fUnOp != UnOp::BOOL_NOT && fUnOp != UnOp::TYPEOF;
	if (needsValue && operand.isAbsent())
	{
		return Evaluation::failAbsent(*this, fNode);
	}
	bool isOk = true;
	switch (fUnOp)
	{
		case UnOp::POST_DECREMENT:
		case UnOp::POST_INCREMENT:
			// Of a temporary: the change is lost, the old value is the result.
			return operand.isError() ? operand : Value::number(getAsNum(operand));
		case UnOp::PRE_DECREMENT:
		case UnOp::PRE_INCREMENT:
		case UnOp::NEGATIVE:
		case UnOp::POSITIVE:
		case UnOp::BOOL_NOT:
		case UnOp::BIT_NOT:
		case UnOp::TYPEOF:
		case UnOp::RETURN:
			break;
	}
	return unaryOperation(fUnOp, operand, isOk);
}

bool OMExpressionUnary::evaluateDirect(Value &result, Environment &environment) const
{
	if (isIncrementOrDecrement(fUnOp))
	{
		const OMExpressionLValue *place = OMExpressionLValue::fromOperand(fNode);
		return place && place->incrementDirect(result, fUnOp, environment);
	}
	Value operand;
	if (!Evaluation::evaluateOperandDirect(operand, fNode, environment))
	{
		return false;
	}
	result = apply(std::move(operand));
	return true;
}

void OMExpressionUnary::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value operand;
	};
	enum At : int32_t
	{
		START = 0,
		OPERAND_KNOWN = 1000000,
		PLACE_CHANGED = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (const OMExpressionLValue *place = isIncrementOrDecrement(fUnOp) ? OMExpressionLValue::fromOperand(fNode) : nullptr)
				{
					frame.call(PLACE_CHANGED, [&] { place->increment_yielding(task, frame->operand, fUnOp, environment); });
				}
				else
				{
					frame.call(OPERAND_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->operand, fNode, environment); });
				}
				break;
			case OPERAND_KNOWN:
				result = apply(std::move(frame->operand));
				frame.finish();
				break;
			case PLACE_CHANGED:
				result = std::move(frame->operand);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

bool OMExpressionUnary::needsBracketsForOperand() const
{
	const uint32_t value = ExpressionText::operatorValue(fNode);
	if (fUnOp == UnOp::RETURN)
	{
		return value == static_cast<uint32_t>(BinOp::COMMA) || value == static_cast<uint32_t>(BinOp::SEQUENCE);
	}
	if (value != 0 || !fNode.isExpression() || fUnOp == UnOp::POST_DECREMENT || fUnOp == UnOp::POST_INCREMENT)
	{
		return value != 0;
	}
	// A prefix operator takes a literal, and what other prefixes made of their operand, before the links and signs behind it.
	if (fNode.expression()->getClass() == Class::UNARY)
	{
		const UnOp inner = static_cast<const OMExpressionUnary &>(*fNode.expression()).fUnOp;
		return inner == UnOp::POST_DECREMENT || inner == UnOp::POST_INCREMENT;
	}
	const Value *root = &fNode;
	while (const OMExpressionLValue *link = OMExpressionLValue::fromOperand(*root))
	{
		if (!link->hasParent())
		{
			return false;
		}
		root = &link->getParent();
	}
	return (!root->isExpression() && !root->isFunction()) || ExpressionText::isStatements(*root);
}

bool OMExpressionUnary::appendText(std::string &text, NodeWalk &walk) const
{
	text += unOpToPrefixStr(fUnOp);
	const bool needsBrackets = needsBracketsForOperand();
	// `- -a` must not become `--a`.
	const auto *inner = fNode.isExpression() && fNode.expression()->getClass() == Class::UNARY
	                        ? static_cast<const OMExpressionUnary *>(fNode.expression())
	                        : nullptr;
	if (inner && !text.empty() && !needsBrackets)
	{
		const char *innerPrefix = unOpToPrefixStr(inner->fUnOp);
		text += innerPrefix[0] != '\0' && innerPrefix[0] == text.back() ? " " : "";
	}
	if (!ExpressionText::appendOperand(text, fNode, needsBrackets, walk))
	{
		return false;
	}
	text += unOpToSuffixStr(fUnOp);
	return true;
}

uint64_t OMExpressionUnary::computeHash(NodeWalk &walk) const
{
	return fnvCombine(fnvHash(static_cast<uint64_t>(fUnOp)), Mrv::computeHash(fNode, walk));
}

int OMExpressionUnary::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *unary = ExpressionText::sameClass<OMExpressionUnary>(*this, other);
	if (!unary)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	const int order = ExpressionText::compareNumbers(fUnOp, unary->fUnOp);
	return order != 0 ? order : ExpressionText::compareOperands(fNode, unary->fNode, walk);
}
}
