#include "MrvParser/Language/MrvParserLevel.h"

namespace Mrv
{
void ParserLevel::begin(ParserPurpose newPurpose, ParseType newType, int newNestLevel)
{
	state = ParserState::OPERAND;
	type = newType;
	purpose = newPurpose;
	nestLevel = newNestLevel;
	isConditionClosed = false;
	isStatementEnd = false;
	isDoEnded = false;
	isLineEndPassed = false;
	lastSkipped = 0;
}

void ParserLevel::clear() noexcept
{
	operands.clear();
	operators.clear();
	prefixes.clear();
	if (!conditionals.empty())
	{
		conditionals.clear();
	}
	current = Value();
	isBracketed = false;
	array = nullptr;
	map = nullptr;
	arguments.clear();
	signature = nullptr;
	for (Value &part : parts)
	{
		part = Value();
	}
	block = Value();
	hasBlock = false;
}
}
