#include "MrvParser/Language/MrvOMExpressionBinary.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvDirectOperand.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMExpressionLValue.h"
#include "MrvParser/Language/MrvOMExpressionSequence.h"
#include "MrvParser/Node/MrvOperations.h"

namespace Mrv
{
OMExpressionBinary::OMExpressionBinary(BinOp binOp, Value left, Value right)
    : fBinOp(binOp),
      fNode1(std::move(left)),
      fNode2(std::move(right))
{
	finishConstruction(!isLoop(), fBinOp != BinOp::ASSIGN);
	if (fBinOp == BinOp::ASSIGN && fNode2.isExpression() && fNode2.expression()->getClass() == Class::SEQUENCE)
	{
		const auto &sum = static_cast<const OMExpressionSequence &>(*fNode2.expression());
		const OMExpressionLValue *target = OMExpressionLValue::fromOperand(fNode1);
		const OMExpressionLValue *first = OMExpressionLValue::fromOperand(sum.getElements()[0]);
		fIsSelfAppend = sum.getBinOp() == BinOp::ADD && sum.isPure() && target && first && target->isPlainName() && first->isPlainName() &&
		                target->getIdentifier() == first->getIdentifier();
	}
}

void OMExpressionBinary::forEachOperand(const OperandVisitor &visit) const
{
	visit(fNode1);
	visit(fNode2);
}

Value OMExpressionBinary::apply(Value &left, Value &right) const
{
	left.dropControl();
	right.dropControl();
	if (isArithmetic(fBinOp))
	{
		if (left.isAbsent() && !right.isError())
		{
			return Evaluation::failAbsent(*this, fNode1);
		}
		if (right.isAbsent() && !left.isError())
		{
			return Evaluation::failAbsent(*this, fNode2);
		}
	}
	bool isOk = true;
	Value result = binaryOperation(fBinOp, left, right, isOk);
	if (isOk)
	{
		return result;
	}
	// What went wrong with a text or a comparison stands in the log.
	return Evaluation::failLogged(
	    *this, fBinOp == BinOp::ADD ? "the sum has no text" : std::string("operands of") + binOpToInfixStr(fBinOp) + "don't go together");
}

bool OMExpressionBinary::evaluateDirect(Value &result, Environment &environment) const
{
	if (fBinOp == BinOp::ASSIGN)
	{
		return assignDirect(result, environment);
	}
	DirectOperand left;
	DirectOperand right;
	if (!DirectOperand::readBoth(left, fNode1, right, fNode2, environment))
	{
		return false;
	}
	if (!binaryOperationOfInts(fBinOp, *left, *right, result))
	{
		Value leftValue = left.take();
		Value rightValue = right.take();
		result = apply(leftValue, rightValue);
	}
	return true;
}

void OMExpressionBinary::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	if (fBinOp == BinOp::ASSIGN)
	{
		evaluateAssignment_yielding(task, result, environment);
	}
	else if (isLoop())
	{
		evaluateLoop_yielding(task, result, environment);
	}
	else
	{
		evaluateOperator_yielding(task, result, environment);
	}
}

void OMExpressionBinary::evaluateOperator_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value left;
		Value right;
	};
	enum At : int32_t
	{
		START = 0,
		LEFT_KNOWN = 1000000,
		RIGHT_KNOWN = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(LEFT_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->left, fNode1, environment); });
				break;
			case LEFT_KNOWN:
				frame.call(RIGHT_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->right, fNode2, environment); });
				break;
			case RIGHT_KNOWN:
				if (!binaryOperationOfInts(fBinOp, frame->left, frame->right, result))
				{
					result = apply(frame->left, frame->right);
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Assignment: the value first, then the place, each worked out once

// `name = name + ...` on a String that only the variable holds: it grows in place. The rest of the sum is worked out first, which
// nobody can tell, since it has no effects.
bool OMExpressionBinary::appendToVariable(Value &result, Environment &environment) const
{
	result = Value(); // it may hold the String from last time
	const OMExpressionLValue *target = OMExpressionLValue::fromOperand(fNode1);
	Value *place = target->findPlainPlace(environment);
	if (!place || place->kind() != Value::Kind::STRING || place->stringObject()->isShared())
	{
		return false;
	}
	const std::vector<Value> &terms = static_cast<const OMExpressionSequence &>(*fNode2.expression()).getElements();
	ValueList values;
	for (size_t index = 1; index < terms.size(); ++index)
	{
		Value value;
		if (!Evaluation::evaluateOperandDirect(value, terms[index], environment) || value.isAbsent() || value.isError() ||
		    value.isLeaving())
		{
			return false;
		}
		values.push_back(std::move(value));
	}
	if (place->stringObject()->isShared()) // by one of the terms
	{
		return false;
	}
	for (const Value &value : values)
	{
		if (!appendInPlace(place->stringObject()->fText, value))
		{
			result = Evaluation::failLogged(*this, "the sum has no text");
			*place = result; // what an assignment of the failed sum stores
			return true;
		}
	}
	result = *place;
	return true;
}

bool OMExpressionBinary::assignDirect(Value &result, Environment &environment) const
{
	const OMExpressionLValue *target = OMExpressionLValue::fromOperand(fNode1);
	if (!target || !target->canAssignDirect())
	{
		return false;
	}
	if (fIsSelfAppend && appendToVariable(result, environment))
	{
		return true;
	}
	Value value;
	if (!target->isWithinReach(environment) || !Evaluation::evaluateOperandDirect(value, fNode2, environment))
	{
		return false;
	}
	value.dropControl();
	value.settle();
	return target->assignDirect(result, std::move(value), environment);
}

void OMExpressionBinary::evaluateAssignment_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
		Value stored;
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		STORED = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	const OMExpressionLValue *target = OMExpressionLValue::fromOperand(fNode1);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (!target || target->refusesAssignment())
				{
					result = Evaluation::fail(*this, target ? target->getRefusal() : "this is no place to assign to");
					frame.finish();
					break;
				}
				frame.call(VALUE_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fNode2, environment); });
				break;
			case VALUE_KNOWN:
				frame->value.dropControl();
				frame->value.settle();
				if (target->canAssignDirect() && !Task::isAlwaysYield() && !task.isSuspended() &&
				    target->assignDirect(result, Value(frame->value), environment))
				{
					frame.finish();
					break;
				}
				frame.call(STORED, [&] { target->assign_yielding(task, frame->stored, frame->value, environment); });
				break;
			case STORED:
				result = std::move(frame->stored);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Loops

void OMExpressionBinary::evaluateLoop_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
	};
	enum At : int32_t
	{
		START = 0,
		CONDITION = 1,
		BODY = 2,
		CONDITION_KNOWN = 1000001,
		BODY_KNOWN = 1000002,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.goTo(fBinOp == BinOp::DO_WHILE ? BODY : CONDITION);
				break;
			case CONDITION:
				frame.call(CONDITION_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fNode1, environment); });
				break;
			case CONDITION_KNOWN:
				frame->value.dropControl();
				if (getAsBool(frame->value))
				{
					frame.goTo(BODY);
					break;
				}
				result = Value();
				frame.finish();
				break;
			case BODY:
				frame.call(BODY_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fNode2, environment); });
				break;
			case BODY_KNOWN:
				if (frame->value.isReturned())
				{
					result = std::move(frame->value);
					frame.finish();
				}
				else if (frame->value.isBreak())
				{
					result = Value();
					frame.finish();
				}
				else
				{
					frame.goTo(CONDITION);
				}
				break;
			case DONE:
				break;
		}
	}
}

// --- Text, hash, order

bool OMExpressionBinary::appendText(std::string &text, NodeWalk &walk) const
{
	return isLoop() ? appendLoopText(text, walk) : appendOperatorText(text, walk);
}

bool OMExpressionBinary::appendLoopText(std::string &text, NodeWalk &walk) const
{
	// A do-while holds its condition first, but reads body first.
	const bool isDoWhile = fBinOp == BinOp::DO_WHILE;
	const auto appendBody = [&] { return appendToString(text, fNode2, TextPlace::BLOCK, walk); };
	const auto appendTest = [&] { return ExpressionText::appendCondition(text, fNode1, walk); };
	text += binOpToPrefixStr(fBinOp);
	if (!(isDoWhile ? appendBody() : appendTest()))
	{
		return false;
	}
	text += binOpToInfixStr(fBinOp);
	if (!(isDoWhile ? appendTest() : appendBody()))
	{
		return false;
	}
	text += binOpToSuffixStr(fBinOp);
	return true;
}

bool OMExpressionBinary::appendOperatorText(std::string &text, NodeWalk &walk) const
{
	const auto ownValue = static_cast<uint32_t>(fBinOp);
	const bool isRightToLeft = fBinOp == BinOp::ASSIGN;
	const uint32_t leftValue = ExpressionText::operatorValue(fNode1);
	const uint32_t rightValue = ExpressionText::operatorValue(fNode2);
	const bool leftNeeds = leftValue > ownValue || (leftValue == ownValue && isRightToLeft);
	const bool rightNeeds = fBinOp != BinOp::INDEX && (rightValue > ownValue || (rightValue == ownValue && !isRightToLeft));
	text += binOpToPrefixStr(fBinOp);
	if (!ExpressionText::appendOperand(text, fNode1, leftNeeds, walk))
	{
		return false;
	}
	text += binOpToInfixStr(fBinOp);
	if (!ExpressionText::appendOperand(text, fNode2, rightNeeds, walk))
	{
		return false;
	}
	text += binOpToSuffixStr(fBinOp);
	return true;
}

uint64_t OMExpressionBinary::computeHash(NodeWalk &walk) const
{
	const uint64_t hash = fnvCombine(fnvHash(static_cast<uint64_t>(fBinOp)), Mrv::computeHash(fNode1, walk));
	return fnvCombine(hash, Mrv::computeHash(fNode2, walk));
}

int OMExpressionBinary::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *binary = ExpressionText::sameClass<OMExpressionBinary>(*this, other);
	if (!binary)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	int order = ExpressionText::compareNumbers(fBinOp, binary->fBinOp);
	order = order != 0 ? order : ExpressionText::compareOperands(fNode1, binary->fNode1, walk);
	return order != 0 ? order : ExpressionText::compareOperands(fNode2, binary->fNode2, walk);
}
}
