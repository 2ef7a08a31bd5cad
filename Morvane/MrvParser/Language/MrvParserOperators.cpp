// Operators between and behind operands, compound assignment and `?:`.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"

namespace Mrv
{
using namespace ParserCharacters;

void ParserMachine::beginOperator(ParserState next)
{
	fOperatorOffset = getOffset();
	consume();
	goTo(next);
}

void ParserMachine::pushOperator(BinOp binOp, ParserState next)
{
	fLevel->operators.push_back({binOp, fOperatorOffset});
	goTo(next);
}

// A condition whose `)` was read and that nothing was joined to.
bool ParserMachine::isWithinClosedCondition() const
{
	return fLevel->isConditionClosed && fLevel->operators.empty();
}

void ParserMachine::onOperator(int32_t character)
{
	if (is(character, BLANK))
	{
		onOperatorBlank(character);
		return;
	}
	if (isWithinClosedCondition() && endsCondition(character))
	{
		return;
	}
	switch (character)
	{
		case '!':
			fMarkedPosition = fStream->getPos();
			beginOperator(ParserState::AFTER_NOT);
			break;
		case '&':
			beginOperator(ParserState::AFTER_AND);
			break;
		case '|':
			beginOperator(ParserState::AFTER_OR);
			break;
		case '*':
			beginOperator(ParserState::OPERATOR);
			pushOperator(BinOp::MULTIPLY, ParserState::COMPOUND);
			break;
		case '/':
			beginOperator(ParserState::OPERATOR);
			pushOperator(BinOp::DIVIDE, ParserState::COMPOUND);
			break;
		case '^':
			beginOperator(ParserState::OPERATOR);
			pushOperator(BinOp::BIT_XOR, ParserState::COMPOUND);
			break;
		case '+':
			beginOperator(ParserState::AFTER_PLUS);
			break;
		case '-':
			beginOperator(ParserState::AFTER_MINUS);
			break;
		case '<':
			fMarkedPosition = fStream->getPos();
			beginOperator(ParserState::AFTER_LESS);
			break;
		case '>':
			beginOperator(ParserState::AFTER_GREATER);
			break;
		case '=':
			beginOperator(ParserState::AFTER_ASSIGN);
			break;
		case '?':
			fLevel->currentOffset = getOffset();
			beginOperator(ParserState::QUESTION);
			break;
		case '.':
		case '[':
			beginLink(character);
			break;
		case ',':
			takeComma();
			break;
		case ';':
			takeSemicolon();
			break;
		default:
			endLevel(LevelEnd::SKIP_BLANKS);
			break;
	}
}

void ParserMachine::onOperatorBlank(int32_t character)
{
	if (fLevel->nestLevel > 0)
	{
		fLevel->isLineEndPassed =
		    fLevel->isLineEndPassed ||
		    fStream->buffered().substr(0, countLeading(fStream->buffered(), BLANK)).find_first_of("\r\n") != std::string_view::npos;
		skipBlanks();
	}
	else if (isStatementLineEnd(character))
	{
		endLevel(LevelEnd::STATEMENT_ENDED);
	}
	else
	{
		consume();
	}
}

// What begins a statement ends a closed condition, though it could go on with it.
bool ParserMachine::endsCondition(int32_t character)
{
	if (character == '(' || character == '[' || character == '+' || character == '-')
	{
		endLevel(LevelEnd::STATEMENT_ENDED);
		return true;
	}
	if (character == '.')
	{
		fMarkedPosition = fStream->getPos();
		beginOperator(ParserState::CONDITION_DOT);
		return true;
	}
	return false;
}

void ParserMachine::onConditionDot(int32_t character)
{
	if (is(character, DIGIT))
	{
		goBackTo(fMarkedPosition);
		endLevel(LevelEnd::STATEMENT_ENDED);
		return;
	}
	if (popOperand(fLevel->current))
	{
		goTo(ParserState::MEMBER_DOT);
	}
}

// The last operand becomes the base of a member or an index.
void ParserMachine::beginLink(int32_t character)
{
	if (!popOperand(fLevel->current))
	{
		return;
	}
	if (character == '[' && fLevel->isLineEndPassed)
	{
		fContext->addWarning("'[' continues the expression of an earlier line", *fStream);
	}
	fLevel->currentOffset = getOffset();
	consume();
	goTo(character == '[' ? ParserState::INDEX : ParserState::MEMBER_DOT);
}

bool ParserMachine::popOperand(Value &operand)
{
	std::vector<Value> &operands = fLevel->operands;
	if (operands.empty() || operands.back().kind() == Value::Kind::LAZY)
	{
		fail("unexpected character");
		return false;
	}
	operand = std::move(operands.back());
	operands.pop_back();
	return true;
}

// --- The second character of an operator

void ParserMachine::onAfterSign(int32_t character, int32_t same, UnOp doubled, BinOp single)
{
	if (character != same || fLevel->operands.empty())
	{
		pushOperator(single, ParserState::COMPOUND);
		return;
	}
	Value operand;
	Value changed;
	if (fLevel->isLineEndPassed)
	{
		fContext->addWarning("'++' or '--' belongs to the expression of an earlier line", *fStream);
	}
	if (!popOperand(operand))
	{
		return;
	}
	consume();
	if (!fFactory->registerUnaryOperation(changed, doubled, operand, fOperatorOffset))
	{
		failInFactory("failed to push to operand task");
		return;
	}
	pushOperand(std::move(changed), ParserState::OPERATOR);
}

// `a += 2` becomes `a = a + 2` on the stacks.
void ParserMachine::onCompound(int32_t character)
{
	if (character == '=' && !fLevel->operands.empty())
	{
		consume();
		const ParserOperator binaryOperator = fLevel->operators.back();
		fLevel->operators.back().binOp = BinOp::ASSIGN;
		const Value target = fLevel->operands.back();
		fLevel->operands.push_back(target);
		fLevel->operators.push_back(binaryOperator);
	}
	goTo(ParserState::OPERAND);
}

void ParserMachine::onSecondCharacter(int32_t character, int32_t second, BinOp both, ParserState bothNext, BinOp single)
{
	if (character != second)
	{
		pushOperator(single, ParserState::OPERAND);
		return;
	}
	consume();
	pushOperator(both, bothNext);
}

void ParserMachine::onAfterAssign(int32_t character)
{
	if (character != '=')
	{
		pushOperator(BinOp::ASSIGN, ParserState::OPERAND);
		return;
	}
	consume();
	goTo(ParserState::AFTER_EQUAL);
}

void ParserMachine::onAfterNot(int32_t character)
{
	if (character == '=')
	{
		consume();
		goTo(ParserState::AFTER_NOT_EQUAL);
	}
	else if (isWithinClosedCondition())
	{
		goBackTo(fMarkedPosition);
		endLevel(LevelEnd::STATEMENT_ENDED);
	}
	else
	{
		fail(character == InputStream::END_OF_INPUT ? "unexpected end of inputStream" : "unexpected character after !");
	}
}

void ParserMachine::onAfterLess(int32_t character)
{
	if (character == '<' && isWithinClosedCondition())
	{
		goBackTo(fMarkedPosition);
		endLevel(LevelEnd::STATEMENT_ENDED);
		return;
	}
	onSecondCharacter(character, '=', BinOp::LE, ParserState::OPERAND, BinOp::LT);
}

// --- Separators

void ParserMachine::takeComma()
{
	switch (fLevel->type)
	{
		case ParseType::EXPRESSION:
		case ParseType::FOR_CLAUSE:
		case ParseType::COMMA_LIST:
			beginOperator(ParserState::OPERATOR);
			pushOperator(BinOp::COMMA, ParserState::OPERAND);
			break;
		case ParseType::TERNARY_FIRST:
		case ParseType::RETURN_VALUE:
			fail("unexpected parseType");
			break;
		case ParseType::OBJECT_VALUE:
		case ParseType::ARRAY_ELEMENT:
		case ParseType::ARGUMENT:
		case ParseType::PARAMETER:
		case ParseType::BRANCH:
		case ParseType::FOR_BODY:
		case ParseType::ELEMENT:
		case ParseType::BODY:
			endLevel(LevelEnd::SKIP_BLANKS);
			break;
	}
}

void ParserMachine::takeSemicolon()
{
	const ParseType type = fLevel->type;
	if (type == ParseType::BRANCH || type == ParseType::FOR_BODY || type == ParseType::RETURN_VALUE)
	{
		consume();
		endLevel(LevelEnd::STATEMENT_ENDED);
	}
	else if (!fLevel->operands.empty())
	{
		endLevel(LevelEnd::SKIP_BLANKS);
	}
	else
	{
		fLevel->lastSkipped = ';';
		consume();
	}
}

// --- `?:`

void ParserMachine::takeTernaryFirst(Child &child)
{
	fLevel->parts[0] = std::move(child.value);
	search(Need::TEXT, ":", ParserState::TERNARY_COLON);
}

// The condition isn't known before the level is reduced: the two values wait for it.
void ParserMachine::takeTernarySecond(Child &child)
{
	fLevel->conditionals.push_back({std::move(fLevel->parts[0]), std::move(child.value)});
	fLevel->operands.push_back(Value::lazy());
	fOperatorOffset = fLevel->currentOffset;
	pushOperator(BinOp::TERNARY, ParserState::OPERATOR);
}
}
