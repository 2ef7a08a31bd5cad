// `if`, `while`, `do`, `for`, `return`: statements are operands whose end is the end of their level.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"

namespace Mrv
{
using namespace ParserCharacters;

// `last`: what the statement ended with, if it ended with an expression.
void ParserMachine::finishStatement(Value &&value, const Child *last)
{
	pushOperand(std::move(value), ParserState::OPERATOR);
	endLevel(last && last->isStatementEnd ? LevelEnd::STATEMENT_ENDED : LevelEnd::SKIP_BLANKS);
}

void ParserMachine::onCondition(int32_t character, ParserPurpose purpose)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character != '(')
	{
		fail("expected '('");
		return;
	}
	nest(purpose);
}

// --- if

void ParserMachine::takeIfCondition(Child &child)
{
	fLevel->parts[0] = std::move(child.value);
	nest(ParserPurpose::IF_BRANCH);
}

void ParserMachine::takeIfBranch(Child &child)
{
	fLevel->parts[1] = std::move(child.value);
	search(Need::KEYWORD, "else", ParserState::ELSE_SEARCH);
}

void ParserMachine::takeElseBranch(Child &child)
{
	finishIf(&child);
}

void ParserMachine::finishIf(const Child *elseBranch)
{
	Value statement;
	if (!fFactory->registerTernaryOperation(statement, TernOp::IF_ELSE, fLevel->parts[0], fLevel->parts[1],
	        elseBranch ? elseBranch->value : Value(), fLevel->currentOffset))
	{
		failInFactory("failed to register ternary operation");
		return;
	}
	finishStatement(std::move(statement), elseBranch);
}

// --- while

void ParserMachine::takeWhileCondition(Child &child)
{
	fLevel->parts[0] = std::move(child.value);
	nest(ParserPurpose::WHILE_BRANCH);
}

void ParserMachine::takeWhileBranch(Child &child)
{
	Value loop;
	if (!fFactory->registerBinaryOperation(loop, BinOp::WHILE, fLevel->parts[0], child.value, fLevel->currentOffset))
	{
		failInFactory("failed to register binary operation");
		return;
	}
	finishStatement(std::move(loop), &child);
}

// --- do

void ParserMachine::takeDoBody(Child &child)
{
	fLevel->parts[1] = std::move(child.value);
	goTo(ParserState::DO_BODY_END);
}

// The body leaves its `;` unread.
void ParserMachine::onDoBodyEnd(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ';')
	{
		consume();
	}
	search(Need::KEYWORD, "while", ParserState::DO_WHILE_SEARCH);
}

void ParserMachine::takeDoCondition(Child &child)
{
	Value loop;
	if (!fFactory->registerBinaryOperation(loop, BinOp::DO_WHILE, child.value, fLevel->parts[1], fLevel->currentOffset))
	{
		failInFactory("failed to parse do-while");
		return;
	}
	fLevel->isDoEnded = true;
	finishStatement(std::move(loop), nullptr);
}

// --- for

void ParserMachine::onForClause(int32_t character, int32_t end, ParserPurpose purpose)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character != end)
	{
		nest(purpose);
		return;
	}
	Child empty;
	if (purpose == ParserPurpose::FOR_CONDITION)
	{
		empty.value = Value::boolean(true);
	}
	(this->*getPurpose(purpose).take)(empty);
}

// The clause is followed by exactly one `;`, the last one by `)`.
void ParserMachine::onForClauseEnd(int32_t character, int32_t end, ParserPurpose purpose)
{
	const ParserState next = purpose == ParserPurpose::FOR_INITIALIZATION ? ParserState::FOR_CONDITION
	                         : purpose == ParserPurpose::FOR_CONDITION    ? ParserState::FOR_ITERATION
	                                                                      : ParserState::FOR_BODY;
	expect(character, end, next, getPurpose(purpose).failure);
}

void ParserMachine::takeForInitialization(Child &child)
{
	fLevel->parts[0] = std::move(child.value);
	goTo(ParserState::FOR_INITIALIZATION_END);
}

void ParserMachine::takeForCondition(Child &child)
{
	fLevel->parts[1] = std::move(child.value);
	goTo(ParserState::FOR_CONDITION_END);
}

void ParserMachine::takeForIteration(Child &child)
{
	fLevel->parts[2] = std::move(child.value);
	goTo(ParserState::FOR_ITERATION_END);
}

// `for (i; c; n) b` is `i; while (c) { b; n }`.
void ParserMachine::takeForBody(Child &child)
{
	const uint32_t offset = fLevel->currentOffset;
	const Value &initialization = fLevel->parts[0];
	const Value &iteration = fLevel->parts[2];
	Value body = child.value;
	Value loop;
	Value statement;
	const bool hasIteration = iteration.kind() != Value::Kind::UNDEFINED;
	const bool hasInitialization = initialization.kind() != Value::Kind::UNDEFINED;
	if ((hasIteration && !fFactory->registerBinaryOperation(body, BinOp::SEQUENCE, child.value, iteration, offset)) ||
	    !fFactory->registerBinaryOperation(loop, BinOp::WHILE, fLevel->parts[1], body, offset) ||
	    (hasInitialization && !fFactory->registerBinaryOperation(statement, BinOp::SEQUENCE, initialization, loop, offset)))
	{
		failInFactory("failed to register binary operation");
		return;
	}
	finishStatement(hasInitialization ? std::move(statement) : std::move(loop), &child);
}

// --- return

void ParserMachine::takeReturnValue(Child &child)
{
	Value statement;
	if (!fFactory->registerUnaryOperation(statement, UnOp::RETURN, child.value, fLevel->currentOffset))
	{
		failInFactory("parse error in return value");
		return;
	}
	finishStatement(std::move(statement), &child);
}
}
