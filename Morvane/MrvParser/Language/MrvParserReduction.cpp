// The end of a level. Its operators are applied one kind after the other, in the order of their numbers, from left to right (assignment
// from right to left). Each kind is one pass that rebuilds the stacks in place, so that a long chain costs no more than its length.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"

namespace Mrv
{
using namespace ParserCharacters;

void ParserMachine::endLevel(LevelEnd end)
{
	if (fNeed == Need::NOTHING)
	{
		return;
	}
	goTo(ParserState::LEVEL_END);
	if (end == LevelEnd::STATEMENT_ENDED)
	{
		fLevel->isStatementEnd = true;
		finishLevel();
	}
}

void ParserMachine::onLevelEnd(int32_t character)
{
	if (isStatementLineEnd(character))
	{
		fLevel->isStatementEnd = true;
		finishLevel();
		return;
	}
	if (fLevel->nestLevel > 0 ? skipBlank(character) : is(character, BLANK))
	{
		if (fLevel->nestLevel == 0)
		{
			consume();
		}
		return;
	}
	const bool isBody = fLevel->type == ParseType::BRANCH || fLevel->type == ParseType::FOR_BODY;
	if (character == ';' && fLevel->isDoEnded && isBody)
	{
		consume();
		fLevel->isStatementEnd = true;
	}
	finishLevel();
}

// Takes the value of the innermost level to the one around it, or ends the parse.
void ParserMachine::finishLevel()
{
	ParserLevel &level = *fLevel;
	Child child;
	child.hasOperand = !level.operands.empty() || !level.prefixes.empty();
	child.isStatementEnd = level.isStatementEnd;
	child.lastSkipped = level.lastSkipped;
	if (level.operands.size() == level.operators.size() && !pushOperandOnStack(Value(), level.prefixes, level.operands, *fFactory))
	{
		failInFactory("failed to push to operand task");
		return;
	}
	if (level.operands.size() != level.operators.size() + 1)
	{
		fail("operator expected");
		return;
	}
	if (!reduce(child.value))
	{
		failInFactory(nullptr);
		return;
	}
	if (child.value.isError())
	{
		fail("expression is an error");
		return;
	}
	const ParserPurpose purpose = level.purpose;
	if (purpose == ParserPurpose::WHOLE)
	{
		fResult = std::move(child.value);
		fHasOperand = child.hasOperand;
		fIsSuccess = true;
		fNeed = Need::NOTHING;
		fIsBlankPending = false;
		return;
	}
	popLevel();
	(this->*getPurpose(purpose).take)(child);
}

bool ParserMachine::reduce(Value &result)
{
	uint32_t present = 0;
	for (const ParserOperator &binaryOperator : fLevel->operators)
	{
		present |= uint32_t{1} << static_cast<uint32_t>(binaryOperator.binOp);
	}
	for (uint32_t number = static_cast<uint32_t>(BinOp::INDEX); present >> number != 0; ++number)
	{
		const auto binOp = static_cast<BinOp>(number);
		const bool isPresent = (present >> number & 1) != 0;
		if (isPresent && !(binOp == BinOp::ASSIGN ? reduceRightToLeft(binOp) : reduceLeftToRight(binOp)))
		{
			return false;
		}
	}
	result = std::move(fLevel->operands.front());
	return true;
}

bool ParserMachine::reduceLeftToRight(BinOp binOp)
{
	std::vector<Value> &operands = fLevel->operands;
	std::vector<ParserOperator> &operators = fLevel->operators;
	size_t last = 0; // of the operands that stay
	size_t conditionalCount = 0;
	for (size_t index = 0; index < operators.size(); ++index)
	{
		const ParserOperator binaryOperator = operators[index];
		if (binaryOperator.binOp != binOp)
		{
			operators[last] = binaryOperator;
			operands[++last] = std::move(operands[index + 1]);
			continue;
		}
		Value combined;
		if (binOp == BinOp::TERNARY)
		{
			const ParserConditional &conditional = fLevel->conditionals[conditionalCount++];
			if (!fFactory->registerTernaryOperation(
			        combined, TernOp::CONDITIONAL, operands[last], conditional.first, conditional.second, binaryOperator.offset))
			{
				return false;
			}
		}
		else if (!combine(combined, binaryOperator, operands[last], operands[index + 1]))
		{
			return false;
		}
		operands[last] = std::move(combined);
	}
	operands.resize(last + 1);
	operators.resize(last);
	return true;
}

// What stays is collected at the far end, and then moved to the front.
bool ParserMachine::reduceRightToLeft(BinOp binOp)
{
	std::vector<Value> &operands = fLevel->operands;
	std::vector<ParserOperator> &operators = fLevel->operators;
	size_t first = operators.size(); // of the operands that stay
	for (size_t index = operators.size(); index-- > 0;)
	{
		const ParserOperator binaryOperator = operators[index];
		if (binaryOperator.binOp != binOp)
		{
			operators[--first] = binaryOperator;
			operands[first] = std::move(operands[index]);
			continue;
		}
		Value combined;
		if (!combine(combined, binaryOperator, operands[index], operands[first]))
		{
			return false;
		}
		operands[first] = std::move(combined);
	}
	operands.erase(operands.begin(), operands.begin() + static_cast<std::ptrdiff_t>(first));
	operators.erase(operators.begin(), operators.begin() + static_cast<std::ptrdiff_t>(first));
	return true;
}

bool ParserMachine::combine(Value &result, const ParserOperator &binaryOperator, const Value &left, const Value &right)
{
	if (left.kind() == Value::Kind::LAZY || right.kind() == Value::Kind::LAZY)
	{
		fFactoryMessage = "failed to register ternary operation"; // its condition would be part of it
		return false;
	}
	return fFactory->registerBinaryOperation(result, binaryOperator.binOp, left, right, binaryOperator.offset);
}
}
