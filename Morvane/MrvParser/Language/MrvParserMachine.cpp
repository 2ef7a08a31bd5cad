// One step looks at one character, in the state of the innermost level. The state consumes it or leaves it to be seen again in the
// next state. Comments are dealt with in front of the states, which see a blank in the place of each.

#include "MrvParser/Language/MrvParserMachine.h"

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvTask/MrvNestingGuard.h"

#include <algorithm>

namespace Mrv
{
using namespace ParserCharacters;

ParserMachine::Trace ParserMachine::sTrace = nullptr;

ParserMachine::ParserMachine() = default;

ParserMachine::~ParserMachine() = default;

// clang-format off
const ParserMachine::Purpose &ParserMachine::getPurpose(ParserPurpose purpose)
{
	// In the order of the enumerators.
	static constexpr Purpose PURPOSES[] = {
		{ParseType::EXPRESSION,    0, nullptr,                             nullptr},
		{ParseType::EXPRESSION,    1, "parenthesized subexpression parse failed", &ParserMachine::takeParenthesized},
		{ParseType::ARGUMENT,      1, "argument parse failed",             &ParserMachine::takeArgument},
		{ParseType::ELEMENT,       1, "parse error in index value",        &ParserMachine::takeIndexValue},
		{ParseType::TERNARY_FIRST, 0, "invalid first value",               &ParserMachine::takeTernaryFirst},
		{ParseType::ELEMENT,       0, "invalid second value",              &ParserMachine::takeTernarySecond},
		{ParseType::ELEMENT,       1, "invalid expression in sequence",    &ParserMachine::takeBlockFirst},
		{ParseType::ELEMENT,       1, "invalid expression in sequence",    &ParserMachine::takeBlockElement},
		{ParseType::OBJECT_VALUE,  1, "parse error in object",             &ParserMachine::takePropertyValue},
		{ParseType::ARRAY_ELEMENT, 1, "parse error in array",              &ParserMachine::takeArrayElement},
		{ParseType::PARAMETER,     1, "cannot parse parameter",            &ParserMachine::takeParameter},
		{ParseType::BODY,          1, "invalid scope",                     &ParserMachine::takeFunctionBody},
		{ParseType::ELEMENT,       0, "invalid expression in condition",   &ParserMachine::takeIfCondition},
		{ParseType::BRANCH,        0, "invalid expression",                &ParserMachine::takeIfBranch},
		{ParseType::BRANCH,        0, "invalid expression",                &ParserMachine::takeElseBranch},
		{ParseType::ELEMENT,       0, "invalid expression in condition",   &ParserMachine::takeWhileCondition},
		{ParseType::BRANCH,        0, "invalid expression",                &ParserMachine::takeWhileBranch},
		{ParseType::BODY,          1, "invalid body in do-while",          &ParserMachine::takeDoBody},
		{ParseType::ELEMENT,       0, "invalid condition in do-while",     &ParserMachine::takeDoCondition},
		{ParseType::FOR_CLAUSE,    1, "invalid initialization in for",     &ParserMachine::takeForInitialization},
		{ParseType::FOR_CLAUSE,    1, "invalid condition in for",          &ParserMachine::takeForCondition},
		{ParseType::FOR_CLAUSE,    1, "invalid iteration in for",          &ParserMachine::takeForIteration},
		{ParseType::FOR_BODY,      0, "invalid expression in 'for' body",  &ParserMachine::takeForBody},
		{ParseType::RETURN_VALUE,  1, "parse error in return value",       &ParserMachine::takeReturnValue},
	};
	static_assert(std::size(PURPOSES) == static_cast<size_t>(ParserPurpose::RETURN_VALUE) + 1);
	return PURPOSES[static_cast<size_t>(purpose)];
}
// clang-format on

void ParserMachine::begin(ParseType type, int nestLevel, const Ref<SourceText> &source)
{
	clear();
	fFactory.emplace(fFactoryMessage, source);
	fNeed = Need::CHARACTERS;
	fComment = Comment::NONE;
	fIsBlankPending = false;
	fIsSlashKnown = false;
	fIsSuccess = false;
	fHasOperand = false;
	pushLevel(ParserPurpose::WHOLE, type, nestLevel);
}

void ParserMachine::clear() noexcept
{
	while (fDepth > 0)
	{
		popLevel();
	}
	fResult = Value();
	fText.clear();
	fFactory.reset();
	fNeed = Need::NOTHING;
}

void ParserMachine::run(int maximalSteps)
{
	while (fNeed == Need::CHARACTERS && maximalSteps-- > 0)
	{
		if (fIsBlankPending && fComment == Comment::NONE)
		{
			dispatch(' ');
		}
		else if (fStream->hasBuffered())
		{
			step(fStream->getChar());
		}
		else
		{
			return;
		}
	}
}

void ParserMachine::takeEnd()
{
	if (fNeed == Need::CHARACTERS)
	{
		step(InputStream::END_OF_INPUT);
	}
}

void ParserMachine::step(int32_t character)
{
	if (fComment != Comment::NONE)
	{
		stepComment(character);
	}
	else if (character == '/' && !fIsSlashKnown && mayBeginComment())
	{
		consume();
		fComment = Comment::SLASH;
	}
	else if (character == InputStream::END_OF_INPUT && getStateEnd(fLevel->state) == ParserStateEnd::FAILS)
	{
		fail("unexpected end of inputStream");
	}
	else
	{
		dispatch(character);
	}
}

bool ParserMachine::mayBeginComment() const
{
	// What stands behind a closed condition is looked at without passing anything else.
	const ParserState state = fLevel->state;
	const bool isPeeking = state == ParserState::AFTER_NOT || state == ParserState::AFTER_LESS || state == ParserState::CONDITION_DOT;
	return getStateComments(state) == ParserStateComments::ALLOWED && !(isPeeking && isWithinClosedCondition());
}

void ParserMachine::stepComment(int32_t character)
{
	switch (fComment)
	{
		case Comment::SLASH:
			if (character == '/' || character == '*')
			{
				consume();
				fComment = character == '/' ? Comment::LINE : Comment::BLOCK;
				return;
			}
			fComment = Comment::NONE;
			fStream->setPos(fStream->getPos() - 1);
			fIsSlashKnown = true;
			return;
		case Comment::LINE:
			if (!is(character, LINE_END) && character > 0)
			{
				const std::string_view bytes = fStream->buffered();
				fStream->passBuffered(std::min(bytes.find_first_of(std::string_view("\n\r\0", 3)), bytes.size()));
				return;
			}
			if (character == 0)
			{
				consume();
			}
			fComment = Comment::NONE;
			fIsBlankPending = true;
			return;
		case Comment::BLOCK:
		case Comment::BLOCK_STAR:
			if (character == InputStream::END_OF_INPUT)
			{
				fail("unexpected end of inputStream");
				return;
			}
			consume();
			if (character == 0 || (character == '/' && fComment == Comment::BLOCK_STAR))
			{
				fComment = Comment::NONE;
				fIsBlankPending = true;
				return;
			}
			fComment = character == '*' ? Comment::BLOCK_STAR : Comment::BLOCK;
			return;
		case Comment::NONE:
			return;
	}
}

// clang-format off
void ParserMachine::dispatch(int32_t c)
{
	switch (fLevel->state)
	{
		case ParserState::OPERAND:                onOperand(c); break;
		case ParserState::PREFIX_PLUS:            onPrefix(c, '+', UnOp::PRE_INCREMENT, UnOp::POSITIVE); break;
		case ParserState::PREFIX_MINUS:           onPrefix(c, '-', UnOp::PRE_DECREMENT, UnOp::NEGATIVE); break;
		case ParserState::NAME:                   onName(c); break;
		case ParserState::NUMBER:                 onNumber(c); break;
		case ParserState::AFTER_KEYWORD:          onAfterKeyword(c); break;
		case ParserState::PRIMARY:                onPrimary(c); break;
		case ParserState::ARGUMENT:               onArgument(c); break;
		case ParserState::AFTER_ARGUMENT:         onAfterArgument(c); break;
		case ParserState::INDEX:                  nestBehindBlanks(c, ParserPurpose::INDEX_VALUE); break;
		case ParserState::INDEX_END:              expect(c, ']', ParserState::PRIMARY, "closing ']' expected"); break;
		case ParserState::MEMBER_DOT:             onMemberDot(c); break;
		case ParserState::MEMBER_NAME:            onMemberName(c); break;
		case ParserState::PARENTHESES_END:        onParenthesesEnd(c); break;
		case ParserState::OPERATOR:               onOperator(c); break;
		case ParserState::AFTER_PLUS:             onAfterSign(c, '+', UnOp::POST_INCREMENT, BinOp::ADD); break;
		case ParserState::AFTER_MINUS:            onAfterSign(c, '-', UnOp::POST_DECREMENT, BinOp::SUBTRACT); break;
		case ParserState::COMPOUND:               onCompound(c); break;
		case ParserState::AFTER_ASSIGN:           onAfterAssign(c); break;
		case ParserState::AFTER_EQUAL:            onSecondCharacter(c, '=', BinOp::IDENTICAL, ParserState::OPERAND, BinOp::EQ); break;
		case ParserState::AFTER_NOT:              onAfterNot(c); break;
		case ParserState::AFTER_NOT_EQUAL:        onSecondCharacter(c, '=', BinOp::NOT_IDENTICAL, ParserState::OPERAND, BinOp::NE); break;
		case ParserState::AFTER_GREATER:          onSecondCharacter(c, '=', BinOp::GE, ParserState::OPERAND, BinOp::GT); break;
		case ParserState::AFTER_LESS:             onAfterLess(c); break;
		case ParserState::AFTER_AND:              onSecondCharacter(c, '&', BinOp::BOOL_AND, ParserState::COMPOUND, BinOp::BIT_AND); break;
		case ParserState::AFTER_OR:               onSecondCharacter(c, '|', BinOp::BOOL_OR, ParserState::COMPOUND, BinOp::BIT_OR); break;
		case ParserState::CONDITION_DOT:          onConditionDot(c); break;
		case ParserState::QUESTION:               nestBehindBlanks(c, ParserPurpose::TERNARY_FIRST); break;
		case ParserState::STRING:                 onString(ParserState::STRING_ESCAPE); break;
		case ParserState::STRING_ESCAPE:          onStringEscape(ParserState::STRING); break;
		case ParserState::HEREDOC:                onHeredoc(c); break;
		case ParserState::HEREDOC_NAME_START:     onHeredocNameStart(c); break;
		case ParserState::HEREDOC_NAME:           onHeredocName(c); break;
		case ParserState::HEREDOC_REST:           onHeredocRest(c); break;
		case ParserState::HEREDOC_AFTER_CR:       onHeredocAfterCR(c); break;
		case ParserState::HEREDOC_BODY:           onHeredocBody(c); break;
		case ParserState::BRACE:                  onBrace(c); break;
		case ParserState::FIRST_WORD:             onFirstWord(c); break;
		case ParserState::FIRST_STRING:           onFirstString(c); break;
		case ParserState::FIRST_STRING_ESCAPE:    onFirstStringEscape(c); break;
		case ParserState::FIRST_COLON:            onFirstColon(c); break;
		case ParserState::BLOCK_FIRST:            onBlockFirst(c); break;
		case ParserState::BLOCK:                  onBlock(c); break;
		case ParserState::BLOCK_NEXT:             onBlockNext(c); break;
		case ParserState::KEY:                    onKey(c); break;
		case ParserState::KEY_WORD:               onKeyWord(c); break;
		case ParserState::KEY_STRING:             onString(ParserState::KEY_STRING_ESCAPE); break;
		case ParserState::KEY_STRING_ESCAPE:      onStringEscape(ParserState::KEY_STRING); break;
		case ParserState::KEY_COLON:              expect(c, ':', ParserState::PROPERTY_VALUE, nullptr); break;
		case ParserState::PROPERTY_VALUE:         nestBehindBlanks(c, ParserPurpose::PROPERTY_VALUE); break;
		case ParserState::AFTER_PROPERTY:         onAfterProperty(c); break;
		case ParserState::ARRAY_ELEMENT:          onArrayElement(c); break;
		case ParserState::AFTER_ARRAY_ELEMENT:    onAfterArrayElement(c); break;
		case ParserState::FUNCTION:               onFunction(c); break;
		case ParserState::FUNCTION_NAME:          onFunctionName(c); break;
		case ParserState::PARAMETER_LIST:         onParameterList(c); break;
		case ParserState::PARAMETER:              onParameter(c); break;
		case ParserState::AFTER_PARAMETER:        onAfterParameter(c); break;
		case ParserState::FUNCTION_SCOPE:         expect(c, '{', ParserState::FUNCTION_BODY, "no function scope '{'"); break;
		case ParserState::FUNCTION_BODY:          onFunctionBody(c); break;
		case ParserState::IF:                     onCondition(c, ParserPurpose::IF_CONDITION); break;
		case ParserState::WHILE:                  onCondition(c, ParserPurpose::WHILE_CONDITION); break;
		case ParserState::DO:                     nestBehindBlanks(c, ParserPurpose::DO_BODY); break;
		case ParserState::DO_BODY_END:            onDoBodyEnd(c); break;
		case ParserState::FOR:                    expect(c, '(', ParserState::FOR_INITIALIZATION, "expected '(' in for"); break;
		case ParserState::FOR_INITIALIZATION:     onForClause(c, ';', ParserPurpose::FOR_INITIALIZATION); break;
		case ParserState::FOR_INITIALIZATION_END: onForClauseEnd(c, ';', ParserPurpose::FOR_INITIALIZATION); break;
		case ParserState::FOR_CONDITION:          onForClause(c, ';', ParserPurpose::FOR_CONDITION); break;
		case ParserState::FOR_CONDITION_END:      onForClauseEnd(c, ';', ParserPurpose::FOR_CONDITION); break;
		case ParserState::FOR_ITERATION:          onForClause(c, ')', ParserPurpose::FOR_ITERATION); break;
		case ParserState::FOR_ITERATION_END:      onForClauseEnd(c, ')', ParserPurpose::FOR_ITERATION); break;
		case ParserState::FOR_BODY:               nestBehindBlanks(c, ParserPurpose::FOR_BODY); break;
		case ParserState::LEVEL_END:              onLevelEnd(c); break;
		case ParserState::TERNARY_COLON:
		case ParserState::ELSE_SEARCH:
		case ParserState::DO_WHILE_SEARCH:
			fail("unexpected state in switch"); // these wait for a search
			break;
	}
}
// clang-format on

// The one place where states change.
void ParserMachine::goTo(ParserState state)
{
	if (sTrace) [[unlikely]]
	{
		sTrace(getStateName(fLevel->state), getStateName(state), fDepth);
	}
	fLevel->state = state;
}

// --- Characters

// Passes the character that the state was shown.
void ParserMachine::consume()
{
	if (fIsBlankPending)
	{
		fIsBlankPending = false;
		return;
	}
	fIsSlashKnown = false;
	fStream->passBuffered(1);
}

void ParserMachine::goBackTo(uint64_t position)
{
	fIsBlankPending = false;
	fIsSlashKnown = false;
	if (!fStream->setPos(position))
	{
		fail("cannot go back in inputStream");
	}
}

void ParserMachine::skipBlanks()
{
	if (fIsBlankPending)
	{
		fIsBlankPending = false;
		return;
	}
	fStream->passBuffered(countLeading(fStream->buffered(), BLANK));
}

// True when the character was a blank, which is then passed with those behind it.
bool ParserMachine::skipBlank(int32_t character)
{
	if (!is(character, BLANK))
	{
		return false;
	}
	skipBlanks();
	return true;
}

void ParserMachine::expect(int32_t character, int32_t expected, ParserState next, const char *failure)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character != expected)
	{
		fail(failure);
		return;
	}
	consume();
	goTo(next);
}

uint32_t ParserMachine::getOffset() const
{
	return static_cast<uint32_t>(std::min<uint64_t>(fStream->getPos(), UINT32_MAX));
}

// A line end that ends a statement outside of all brackets.
bool ParserMachine::isStatementLineEnd(int32_t character) const
{
	return fLevel->nestLevel == 0 && is(character, LINE_END) && fStream->isEndOfStatement(character);
}

// --- Levels

void ParserMachine::pushLevel(ParserPurpose purpose, ParseType type, int nestLevel)
{
	if (fDepth == fLevels.size())
	{
		fLevels.push_back(std::make_unique<ParserLevel>());
	}
	fLevel = fLevels[fDepth++].get();
	fLevel->begin(purpose, type, nestLevel);
}

void ParserMachine::popLevel()
{
	fLevel->clear();
	--fDepth;
	fLevel = fDepth > 0 ? fLevels[fDepth - 1].get() : nullptr;
}

void ParserMachine::nest(ParserPurpose purpose)
{
	if (fDepth >= MAX_DEPTH)
	{
		NestingGuard::report("parser");
		fail("nesting limit reached");
		return;
	}
	const Purpose &row = getPurpose(purpose);
	pushLevel(purpose, row.type, fLevel->nestLevel + row.raise);
}

void ParserMachine::nestBehindBlanks(int32_t character, ParserPurpose purpose)
{
	if (!skipBlank(character))
	{
		nest(purpose);
	}
}

int ParserMachine::getOpenCount() const
{
	if (fDepth != 1)
	{
		return static_cast<int>(fDepth);
	}
	const ParserLevel &level = *fLevels[0];
	const bool hasBegun = level.state != ParserState::OPERAND || !level.operands.empty() || !level.prefixes.empty();
	return hasBegun ? 1 : 0;
}

// --- Searches

void ParserMachine::search(Need need, std::string_view text, ParserState state)
{
	goTo(state);
	fIsBlankPending = false;
	fIsSlashKnown = false;
	fSearchedText = text;
	fNeed = need;
}

bool ParserMachine::doesSearchEndWithLine() const
{
	return fLevel->state == ParserState::ELSE_SEARCH && fLevel->nestLevel == 0 && fStream->isConsole();
}

void ParserMachine::takeSearchResult(bool isFound)
{
	fNeed = Need::CHARACTERS;
	if (fLevel->state == ParserState::ELSE_SEARCH)
	{
		isFound ? nest(ParserPurpose::ELSE_BRANCH) : finishIf(nullptr);
	}
	else if (fLevel->state == ParserState::DO_WHILE_SEARCH)
	{
		isFound ? nest(ParserPurpose::DO_CONDITION) : fail("missing while");
	}
	else
	{
		isFound ? nest(ParserPurpose::TERNARY_SECOND) : fail("missing : in ?:");
	}
}

// --- Failure

// Ends the parse: the message, then those of the levels around, from inside out.
void ParserMachine::fail(const char *message)
{
	if (fNeed == Need::NOTHING)
	{
		return;
	}
	if (message)
	{
		fContext->addError(message, *fStream);
	}
	for (size_t depth = fDepth; depth > 1; --depth)
	{
		fContext->addError(getPurpose(fLevels[depth - 1]->purpose).failure, *fStream);
	}
	fIsSuccess = false;
	fResult = Value();
	fNeed = Need::NOTHING;
}

// The factory has refused: its reason, then the message of the state.
void ParserMachine::failInFactory(const char *message)
{
	fContext->addError(fFactoryMessage, *fStream);
	fail(message);
}
}
