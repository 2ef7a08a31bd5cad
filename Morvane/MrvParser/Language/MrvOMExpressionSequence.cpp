#include "MrvParser/Language/MrvOMExpressionSequence.h"

#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvDirectOperand.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvToken.h"
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
			return Evaluation::failLogged(*this, "the sum has no text");
		}
		return sum;
	}
	bool isOk = true;
	Value result = binaryOperation(BinOp::ADD, sum, term, isOk);
	return isOk ? result : Evaluation::failLogged(*this, "the sum has no text");
}

bool OMExpressionSequence::evaluateDirect(Value &result, Environment &environment) const
{
	DirectOperand first;
	if (!first.read(fNodeSequence[0], environment))
	{
		return false;
	}
	Value sum = first.take();
	for (size_t index = 1; index < fNodeSequence.size(); ++index)
	{
		DirectOperand term;
		if (!term.read(fNodeSequence[index], environment))
		{
			return false;
		}
		if (!binaryOperationOfInts(BinOp::ADD, sum, *term, sum))
		{
			sum = add(std::move(sum), term.take(), index);
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

// Runs statements from `index` on as long as they need no frame. True: it came to an end, or the task must give way; false: the
// statement at `index` needs a frame.
bool OMExpressionSequence::evaluateDirectRun(Task &task, Value &value, size_t &index, Environment &environment) const
{
	for (;;)
	{
		const Value &element = fNodeSequence[index];
		if (element.isExpression())
		{
			const auto *expression = static_cast<const OMExpression *>(element.expression());
			if (!expression->isDirect() || !expression->evaluateDirect(value, environment))
			{
				return false;
			}
		}
		else if (!Evaluation::evaluateOperandDirect(value, element, environment))
		{
			return false;
		}
		++index;
		if (isAtEnd(index, value) || task.mustYield())
		{
			return true;
		}
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

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case ELEMENT:
				if (!task.isSuspended() && !Task::isAlwaysYield() && evaluateDirectRun(task, frame->value, frame->index, environment))
				{
					if (isAtEnd(frame->index, frame->value))
					{
						result = std::move(frame->value);
						result.settle();
						frame.finish();
					}
					break; // else it is time to give way
				}
				frame.call(
				    ELEMENT_KNOWN, [&] { Evaluation::evaluateOperand(task, frame->value, fNodeSequence[frame->index], environment); });
				break;
			case ELEMENT_KNOWN:
				++frame->index;
				if (isAtEnd(frame->index, frame->value))
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

	EvaluationFrame<LocalVariableState> frame(*this, task, result);
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

// --- Text

namespace
{
bool isUndefined(const Value &element)
{
	return element.kind() == Value::Kind::UNDEFINED;
}

bool isReturnElement(const Value &element)
{
	return element.isExpression() && element.expression()->isReturn();
}

bool isVar(const Value &element)
{
	return element.isExpression() && element.expression()->getKeywordToken() == static_cast<int>(Token::VAR);
}
}

// What only a block joins like this: `{ a; b, c }` puts together first what stands before the comma, and a `var` behind other statements is
// one of them there.
bool OMExpressionSequence::isBlockOnly() const
{
	return fBinOp == BinOp::COMMA ? ExpressionText::isStatements(fNodeSequence[0])
	                              : fBinOp == BinOp::SEQUENCE && std::any_of(fNodeSequence.begin() + 1, fNodeSequence.end(), isVar);
}

// Whether statements can go on with a comma.
bool OMExpressionSequence::canListFollow() const
{
	return !isUndefined(fNodeSequence.back()) && !isReturnElement(fNodeSequence.back());
}

bool OMExpressionSequence::appendText(std::string &text, NodeWalk &walk) const
{
	return isBlockOnly() ? appendBracketedText(text, walk) : appendElements(text, TextPlace::WHOLE, walk);
}

bool OMExpressionSequence::appendBlockText(std::string &text, NodeWalk &walk) const
{
	if (fBinOp == BinOp::COMMA && !isBlockOnly() && std::any_of(fNodeSequence.begin(), fNodeSequence.end(), isUndefined))
	{
		return appendBracketedText(text, walk); // a block drops it
	}
	return appendElements(text, fBinOp == BinOp::ADD ? TextPlace::WHOLE : TextPlace::BLOCK, walk);
}

bool OMExpressionSequence::appendBracketedText(std::string &text, NodeWalk &walk) const
{
	const bool needsBraces = fBinOp == BinOp::SEQUENCE || isBlockOnly();
	text += needsBraces ? '{' : '(';
	if (!(needsBraces ? appendBlockText(text, walk) : appendElements(text, TextPlace::WHOLE, walk)))
	{
		return false;
	}
	text += needsBraces ? '}' : ')';
	return true;
}

// In a block an Undefined is dropped where it stands; it comes from a `;` before a closing brace. So one in the middle was the end of
// a block that began the sequence.
bool OMExpressionSequence::appendElements(std::string &text, TextPlace place, NodeWalk &walk) const
{
	const size_t count = fNodeSequence.size();
	const bool isBlock = place == TextPlace::BLOCK && fBinOp == BinOp::SEQUENCE;
	if (isBlock)
	{
		text.append(static_cast<size_t>(std::count_if(fNodeSequence.begin() + 1, fNodeSequence.end() - 1, isUndefined)), '{');
	}
	for (size_t index = 0; index < count; ++index)
	{
		if (isBlock && index > 0 && isUndefined(fNodeSequence[index]))
		{
			// `return`, and what ends in `}`, take the first `;` for their own.
			text += text.back() == '}' || isReturnElement(fNodeSequence[index - 1]) ? ";; " : "; ";
			text += index + 1 < count ? "}" : "";
			continue;
		}
		if (index > 0)
		{
			text += fBinOp == BinOp::SEQUENCE && isVar(fNodeSequence[index - 1]) ? " " : binOpToInfixStr(fBinOp);
		}
		if (!appendElement(text, index, place, walk))
		{
			return false;
		}
	}
	return true;
}

bool OMExpressionSequence::appendElement(std::string &text, size_t index, TextPlace place, NodeWalk &walk) const
{
	const Value &element = fNodeSequence[index];
	const auto ownValue = static_cast<uint32_t>(fBinOp);
	const uint32_t value = ExpressionText::operatorValue(element);
	bool needsBrackets = value > ownValue || (value == ownValue && index > 0);
	if (fBinOp == BinOp::SEQUENCE)
	{
		// Statements stand as they are; in a block a list would swallow what stands before it.
		const bool isList = value == static_cast<uint32_t>(BinOp::COMMA);
		needsBrackets = index > 0 && (value == ownValue || (isList && place == TextPlace::BLOCK));
	}
	else if (fBinOp == BinOp::COMMA)
	{
		const bool isLast = index + 1 == fNodeSequence.size();
		const bool isFirstOfBlock = index == 0 && place == TextPlace::BLOCK && value == static_cast<uint32_t>(BinOp::SEQUENCE) &&
		                            static_cast<const OMExpressionSequence &>(*element.expression()).canListFollow();
		needsBrackets = (needsBrackets && !isFirstOfBlock) || (!isLast && ExpressionText::endsItsLevel(element));
	}
	const TextPlace elementPlace = index == 0 && place == TextPlace::BLOCK ? TextPlace::BLOCK : TextPlace::WHOLE;
	return needsBrackets ? ExpressionText::appendOperand(text, element, true, walk) : appendToString(text, element, elementPlace, walk);
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
