#include "MrvParser/Language/MrvOMExpressionSequence.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Node/MrvOperations.h"

#include <algorithm>

namespace Mrv
{
OMExpressionSequence::OMExpressionSequence(BinOp binOp, Value first, Value second) : fBinOp(binOp)
{
	fIsDirect = fIsPure = binOp == BinOp::ADD; // statements may be many: they need a frame to give way between them
	append(std::move(first));
	append(std::move(second));
}

void OMExpressionSequence::append(Value element)
{
	noteElement(element);
	fNodeSequence.push_back(std::move(element));
}

void OMExpressionSequence::noteElement(const Value &element)
{
	if (element.isExpression())
	{
		fHeight = std::max(fHeight, static_cast<const OMExpression *>(element.expression())->getHeight() + 1);
	}
	fIsDirect = fIsPure = fIsPure && isPureOperand(element) && fNodeSequence.size() < MAX_DIRECT_HEIGHT;
}

void OMExpressionSequence::forEachOperand(const OperandVisitor &visit) const
{
	for (const Value &element : fNodeSequence)
	{
		visit(element);
	}
}

// The running sum and one more term. A String that nobody else holds grows in place.
Value OMExpressionSequence::add(Value sum, Value term, size_t index) const
{
	sum.dropControl();
	term.dropControl();
	if (sum.isAbsent())
	{
		return Evaluation::failAbsent(*this, fNodeSequence[index - 1]);
	}
	if (term.isAbsent())
	{
		return Evaluation::failAbsent(*this, fNodeSequence[index]);
	}
	if (sum.kind() == Value::Kind::STRING && !term.isError() && !sum.stringObject()->isShared())
	{
		if (!appendInPlace(sum.stringObject()->fText, term))
		{
			return Evaluation::fail(*this, "text too long");
		}
		return sum;
	}
	bool isOk = true;
	Value result = binaryOperation(BinOp::ADD, sum, term, isOk);
	return isOk ? result : Evaluation::fail(*this, "text too long");
}

bool OMExpressionSequence::evaluateDirect(Value &result, Environment &environment) const
{
	Value sum;
	if (!Evaluation::evaluateOperandDirect(sum, fNodeSequence[0], environment))
	{
		return false;
	}
	for (size_t index = 1; index < fNodeSequence.size(); ++index)
	{
		Value term;
		if (!Evaluation::evaluateOperandDirect(term, fNodeSequence[index], environment))
		{
			return false;
		}
		if (!binaryOperationOfInts(BinOp::ADD, sum, term, sum))
		{
			sum = add(std::move(sum), std::move(term), index);
		}
	}
	result = std::move(sum);
	return true;
}

void OMExpressionSequence::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	if (fBinOp == BinOp::ADD)
	{
		evaluateSum_yielding(task, result, environment);
	}
	else
	{
		evaluateStatements_yielding(task, result, environment);
	}
}

void OMExpressionSequence::evaluateStatements_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value value;
		size_t index = 0;
	};
	enum At : int32_t
	{
		ELEMENT = 0,
		ELEMENT_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case ELEMENT:
				frame.call(
				    ELEMENT_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fNodeSequence[frame->index], environment); });
				break;
			case ELEMENT_KNOWN:
				++frame->index;
				if (frame->index == fNodeSequence.size() || frame->value.isLeaving())
				{
					result = std::move(frame->value);
					result.settle();
					frame.finish();
				}
				else
				{
					frame.goTo(ELEMENT);
				}
				break;
			case DONE:
				break;
		}
	}
}

void OMExpressionSequence::evaluateSum_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		Value sum;
		Value term;
		size_t index = 0;
	};
	enum At : int32_t
	{
		TERM = 0,
		TERM_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case TERM:
				frame.call(TERM_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->term, fNodeSequence[frame->index], environment); });
				break;
			case TERM_KNOWN:
				frame->sum = frame->index == 0 ? std::move(frame->term) : add(std::move(frame->sum), std::move(frame->term), frame->index);
				if (++frame->index == fNodeSequence.size())
				{
					result = std::move(frame->sum);
					frame.finish();
				}
				else
				{
					frame.goTo(TERM);
				}
				break;
			case DONE:
				break;
		}
	}
}

bool OMExpressionSequence::appendText(std::string &text, NodeWalk &walk) const
{
	const auto ownValue = static_cast<uint32_t>(fBinOp);
	for (size_t index = 0; index < fNodeSequence.size(); ++index)
	{
		text += index > 0 ? binOpToInfixStr(fBinOp) : "";
		const uint32_t value = ExpressionText::operatorValue(fNodeSequence[index]);
		if (!ExpressionText::appendOperand(text, fNodeSequence[index], value > ownValue || (value == ownValue && index > 0), walk))
		{
			return false;
		}
	}
	return true;
}

uint64_t OMExpressionSequence::computeHash(NodeWalk &walk) const
{
	uint64_t hash = fnvHash(static_cast<uint64_t>(fBinOp));
	for (const Value &element : fNodeSequence)
	{
		hash = fnvCombine(hash, Mrv::computeHash(element, walk));
	}
	return hash;
}

int OMExpressionSequence::compare(const IExpression &other, NodeWalk &walk) const
{
	const auto *sequence = ExpressionText::sameClass<OMExpressionSequence>(*this, other);
	if (!sequence)
	{
		return ExpressionText::compareClasses(*this, other);
	}
	const int order = ExpressionText::compareNumbers(fBinOp, sequence->fBinOp);
	return order != 0 ? order : ExpressionText::compareLists(fNodeSequence, sequence->fNodeSequence, walk);
}
}
