// Operands: prefix operators, names and keywords, numbers, and the chains of calls, members and indexes behind a name or parentheses.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"

#include <algorithm>

namespace Mrv
{
using namespace ParserCharacters;

void ParserMachine::onOperand(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (is(character, IDENTIFIER_START))
	{
		fText.clear();
		fLevel->currentOffset = getOffset();
		goTo(ParserState::NAME);
		return;
	}
	if (is(character, DIGIT) || character == '.')
	{
		beginNumber();
		return;
	}
	switch (character)
	{
		case '!':
			beginPrefix(UnOp::BOOL_NOT);
			break;
		case '~':
			beginPrefix(UnOp::BIT_NOT);
			break;
		case '+':
			beginOperator(ParserState::PREFIX_PLUS);
			break;
		case '-':
			beginOperator(ParserState::PREFIX_MINUS);
			break;
		case '"':
		case '\'':
			beginString(ParserState::STRING);
			break;
		case '<':
			consume();
			goTo(ParserState::HEREDOC);
			break;
		case '{':
			consume();
			goTo(ParserState::BRACE);
			break;
		case '[':
			consume();
			fLevel->array = makeRef<ArrayContainer>();
			fLevel->isData = true;
			goTo(ParserState::ARRAY_ELEMENT);
			break;
		case '(':
			fLevel->currentOffset = getOffset();
			consume();
			nest(ParserPurpose::PARENTHESIZED);
			break;
		case InputStream::END_OF_INPUT:
		case ')':
		case '}':
			endLevel(LevelEnd::SKIP_BLANKS);
			break;
		case ',':
			if (!fLevel->operands.empty())
			{
				endLevel(LevelEnd::SKIP_BLANKS);
				break;
			}
			fLevel->lastSkipped = ',';
			consume();
			break;
		case ';':
			takeSemicolon();
			break;
		default:
			fail("unexpected character");
			break;
	}
}

void ParserMachine::beginPrefix(UnOp unOp)
{
	fLevel->prefixes.push_back({unOp, getOffset()});
	consume();
}

void ParserMachine::onPrefix(int32_t character, int32_t same, UnOp doubled, UnOp single)
{
	if (character == same)
	{
		consume();
	}
	fLevel->prefixes.push_back({character == same ? doubled : single, fOperatorOffset});
	goTo(ParserState::OPERAND);
}

bool ParserMachine::pushOperandOnStack(
    Value &&operand, std::vector<ParserPrefix> &prefixes, std::vector<Value> &operands, ExpressionFactory &factory)
{
	if (operand.isAbsent())
	{
		return false;
	}
	while (!prefixes.empty())
	{
		Value result;
		const ParserPrefix prefix = prefixes.back();
		if (!factory.registerUnaryOperation(result, prefix.unOp, operand, prefix.offset))
		{
			return false;
		}
		prefixes.pop_back();
		operand = std::move(result);
	}
	operands.push_back(std::move(operand));
	return true;
}

void ParserMachine::pushOperand(Value &&operand, ParserState next)
{
	fLevel->isLineEndPassed = false;
	if (fLevel->prefixes.empty() && !operand.isAbsent()) [[likely]]
	{
		fLevel->operands.push_back(std::move(operand));
	}
	else if (!pushOperandOnStack(std::move(operand), fLevel->prefixes, fLevel->operands, *fFactory))
	{
		failInFactory("failed to push to operand task");
		return;
	}
	goTo(next);
}

// --- Numbers

void ParserMachine::beginNumber()
{
	if (takeShortNumber())
	{
		return;
	}
	fNumber = NumberScanner(NumberScanner::AUTO);
	goTo(ParserState::NUMBER);
}

// The usual case: some digits that lie in the buffer together with what ends them.
bool ParserMachine::takeShortNumber()
{
	constexpr size_t MAX_DIGITS = 18; // as many as always fit an Int
	const std::string_view bytes = fStream->buffered();
	const size_t count = countLeading(bytes.substr(0, MAX_DIGITS + 1), DIGIT);
	if (fIsBlankPending || count == 0 || count > MAX_DIGITS || count == bytes.size() || is(bytes[count], IDENTIFIER_START) ||
	    bytes[count] == '.')
	{
		return false;
	}
	int64_t number = 0;
	for (const char digit : bytes.substr(0, count))
	{
		number = number * 10 + (digit - '0');
	}
	fStream->passBuffered(count);
	pushOperand(Value::integer(number), ParserState::OPERATOR);
	return true;
}

void ParserMachine::onNumber(int32_t character)
{
	while (character != InputStream::END_OF_INPUT && !fIsBlankPending && fNumber.accept(character))
	{
		fStream->passBuffered(1);
		if (!fStream->hasBuffered())
		{
			return;
		}
		character = fStream->getChar();
	}
	if (character == '/' && !fIsSlashKnown)
	{
		return; // perhaps a comment, which is passed first
	}
	bool isNumber = false;
	Value number = fNumber.finish(isNumber);
	if (!isNumber)
	{
		fail("number parse failed");
		return;
	}
	pushOperand(std::move(number), ParserState::OPERATOR);
}

// --- Names and keywords

void ParserMachine::onName(int32_t character)
{
	if (is(character, IDENTIFIER))
	{
		const std::string_view bytes = fStream->buffered();
		const size_t count = countLeading(bytes, IDENTIFIER);
		fText.append(bytes.substr(0, count));
		fStream->passBuffered(count);
		checkTextLength();
		return;
	}
	const Token token = findToken(fText);
	Value primary;
	if (token == Token::NONE)
	{
		if (!fFactory->makeName(primary, Value::absent(), fText, fLevel->currentOffset))
		{
			failInFactory(nullptr);
			return;
		}
	}
	else if (isFunctionToken(token))
	{
		if (!fFactory->makeToken(primary, Value::absent(), token, fLevel->currentOffset))
		{
			failInFactory(nullptr);
			return;
		}
	}
	else
	{
		takeKeyword(token);
		return;
	}
	fLevel->current = std::move(primary);
	fLevel->isBracketed = false;
	goTo(ParserState::PRIMARY);
}

// The literal that a word stands for; absent for all other words.
static Value getLiteral(Token token)
{
	if (token == Token::TRUE_VALUE || token == Token::FALSE_VALUE)
	{
		return Value::boolean(token == Token::TRUE_VALUE);
	}
	if (token == Token::NULL_VALUE)
	{
		return Value::null();
	}
	if (token == Token::NAN_VALUE)
	{
		return Value::nan();
	}
	return token == Token::UNDEFINED ? Value() : Value::absent();
}

void ParserMachine::takeKeyword(Token token)
{
	Value literal = getLiteral(token);
	if (!literal.isAbsent())
	{
		pushOperand(std::move(literal), ParserState::OPERATOR);
	}
	else if (token == Token::IF)
	{
		goTo(ParserState::IF);
	}
	else if (token == Token::RETURN)
	{
		fOperatorOffset = fLevel->currentOffset;
		nest(ParserPurpose::RETURN_VALUE);
	}
	else if (token == Token::VAR)
	{
		takeVar();
	}
	else if (token == Token::FUNCTION)
	{
		fText.clear();
		goTo(ParserState::FUNCTION);
	}
	else if (token == Token::FOR)
	{
		goTo(ParserState::FOR);
	}
	else if (token == Token::WHILE)
	{
		goTo(ParserState::WHILE);
	}
	else if (token == Token::DO)
	{
		goTo(ParserState::DO);
	}
	else if (token == Token::TYPEOF)
	{
		fLevel->prefixes.push_back({UnOp::TYPEOF, fLevel->currentOffset});
		goTo(ParserState::OPERAND);
	}
	else if (token == Token::BREAK || token == Token::DEBUGGER)
	{
		takeKeywordOperand(token, ParserState::AFTER_KEYWORD);
	}
	else
	{
		fail("unexpected keyword");
	}
}

bool ParserMachine::takeKeywordOperand(Token token, ParserState next)
{
	Value keyword;
	if (!fFactory->registerKeywordOperation(keyword, token, fLevel->currentOffset))
	{
		failInFactory("failed to register keyword operation");
		return false;
	}
	pushOperand(std::move(keyword), next);
	return fNeed == Need::CHARACTERS;
}

// Where statements may follow, the keyword is one of its own and its declarations are the next.
void ParserMachine::takeVar()
{
	const ParseType type = fLevel->type;
	if (!takeKeywordOperand(Token::VAR, ParserState::OPERATOR))
	{
		return;
	}
	if (type == ParseType::EXPRESSION || type == ParseType::FOR_CLAUSE || type == ParseType::COMMA_LIST)
	{
		fOperatorOffset = fLevel->currentOffset;
		pushOperator(BinOp::SEQUENCE, ParserState::OPERAND);
		return;
	}
	if (type == ParseType::BRANCH || type == ParseType::FOR_BODY)
	{
		fContext->addWarning("only the word 'var' belongs to the body here, its declarations do not", *fStream);
	}
	endLevel(LevelEnd::SKIP_BLANKS);
}

// Nothing can follow on `break` but what ends the expression.
void ParserMachine::onAfterKeyword(int32_t character)
{
	if (isStatementLineEnd(character))
	{
		endLevel(LevelEnd::STATEMENT_ENDED);
	}
	else if (character == ';')
	{
		takeSemicolon();
	}
	else if (!skipBlank(character))
	{
		endLevel(LevelEnd::SKIP_BLANKS);
	}
}

// --- Primaries

void ParserMachine::pushPrimary(ParserState next)
{
	pushOperand(std::exchange(fLevel->current, Value()), next);
}

void ParserMachine::onPrimary(int32_t character)
{
	if (is(character, BLANK))
	{
		if (!is(character, LINE_END) || (!fStream->isEndOfStatement(character) && fLevel->nestLevel > 0))
		{
			consume();
			return;
		}
		pushPrimary(ParserState::OPERATOR);
		return;
	}
	if (isWithinClosedCondition())
	{
		pushPrimary(ParserState::OPERATOR);
		return;
	}
	switch (character)
	{
		case '(':
			consume();
			fLevel->arguments.clear();
			goTo(ParserState::ARGUMENT);
			break;
		case '.':
			consume();
			goTo(ParserState::MEMBER_DOT);
			break;
		case '[':
			fLevel->currentOffset = getOffset();
			consume();
			goTo(ParserState::INDEX);
			break;
		default:
			pushPrimary(ParserState::OPERATOR);
			break;
	}
}

void ParserMachine::onParenthesesEnd(int32_t character)
{
	if (character == ')')
	{
		const bool isFirst = fLevel->operands.empty() && fLevel->operators.empty() && fLevel->prefixes.empty();
		fLevel->isConditionClosed = isFirst && isCondition(fLevel->purpose);
	}
	expect(character, ')', ParserState::PRIMARY, "expected closing ')'");
}

bool ParserMachine::isCondition(ParserPurpose purpose)
{
	return purpose == ParserPurpose::IF_CONDITION || purpose == ParserPurpose::WHILE_CONDITION || purpose == ParserPurpose::DO_CONDITION;
}

void ParserMachine::takeParenthesized(Child &child)
{
	fLevel->current = std::move(child.value);
	fLevel->isBracketed = true;
	goTo(ParserState::PARENTHESES_END);
}

void ParserMachine::onArgument(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ')')
	{
		finishCall();
		return;
	}
	nest(ParserPurpose::CALL_ARGUMENT);
}

void ParserMachine::takeArgument(Child &child)
{
	fLevel->arguments.push_back(std::move(child.value));
	goTo(ParserState::AFTER_ARGUMENT);
}

void ParserMachine::onAfterArgument(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ')')
	{
		finishCall();
	}
	else if (character == ',')
	{
		consume();
		goTo(ParserState::ARGUMENT);
	}
	else
	{
		fail("expected ',' or ')'; argument list parse failed");
	}
}

void ParserMachine::finishCall()
{
	consume();
	Value call;
	const bool isBracketed = std::exchange(fLevel->isBracketed, false);
	if (!fFactory->makeCall(call, fLevel->current, isBracketed, std::exchange(fLevel->arguments, {}), fLevel->currentOffset))
	{
		failInFactory(nullptr);
		return;
	}
	fLevel->current = std::move(call);
	goTo(ParserState::PRIMARY);
}

void ParserMachine::takeIndexValue(Child &child)
{
	if (child.value.isInt() && child.value.intPayload() < 0)
	{
		fail("negative index value");
		return;
	}
	Value element;
	if (!fFactory->makeIndex(element, fLevel->current, child.value, fLevel->currentOffset))
	{
		failInFactory(nullptr);
		return;
	}
	fLevel->current = std::move(element);
	fLevel->isBracketed = false;
	goTo(ParserState::INDEX_END);
}

void ParserMachine::onMemberDot(int32_t character)
{
	if (!skipBlank(character))
	{
		fText.clear();
		fLevel->currentOffset = getOffset();
		goTo(ParserState::MEMBER_NAME);
	}
}

void ParserMachine::onMemberName(int32_t character)
{
	if (is(character, IDENTIFIER))
	{
		const std::string_view bytes = fStream->buffered();
		const size_t count = countLeading(bytes, IDENTIFIER);
		fText.append(bytes.substr(0, count));
		fStream->passBuffered(count);
		checkTextLength();
		return;
	}
	if (fText.empty())
	{
		fail("unexpected character");
		return;
	}
	const Token token = findToken(fText);
	Value member;
	const bool isMade = isFunctionToken(token) ? fFactory->makeToken(member, fLevel->current, token, fLevel->currentOffset)
	                                           : fFactory->makeName(member, fLevel->current, fText, fLevel->currentOffset);
	if (!isMade)
	{
		failInFactory(nullptr);
		return;
	}
	fLevel->current = std::move(member);
	fLevel->isBracketed = false;
	goTo(ParserState::PRIMARY);
}
}
