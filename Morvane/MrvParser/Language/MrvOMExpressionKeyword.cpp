#include "MrvParser/Language/MrvOMExpressionKeyword.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvExpressionText.h"

namespace Mrv
{
OMExpressionKeyword::OMExpressionKeyword(Token token) : fToken(token)
{
	finishConstruction(true, token != Token::DEBUGGER);
}

bool OMExpressionKeyword::evaluateDirect(Value &result, Environment &) const
{
	if (fToken == Token::DEBUGGER)
	{
		LOG_NOTE("debugger triggered");
	}
	result = fToken == Token::BREAK ? Value::breakValue() : Value();
	return true;
}

void OMExpressionKeyword::evaluate_yielding(Task &, Value &result, Environment &environment) const
{
	evaluateDirect(result, environment);
}

bool OMExpressionKeyword::appendText(std::string &text, NodeWalk &) const
{
	text += getTokenText(fToken);
	return true;
}

// In brackets `var` would begin a declaration.
bool OMExpressionKeyword::appendBracketedText(std::string &text, NodeWalk &) const
{
	const bool isVar = fToken == Token::VAR;
	text += isVar ? '{' : '(';
	text += getTokenText(fToken);
	text += isVar ? '}' : ')';
	return true;
}

uint64_t OMExpressionKeyword::computeHash(NodeWalk &) const
{
	return fnvHash(static_cast<uint64_t>(fToken));
}

int OMExpressionKeyword::compare(const IExpression &other, NodeWalk &) const
{
	const auto *keyword = ExpressionText::sameClass<OMExpressionKeyword>(*this, other);
	return keyword ? ExpressionText::compareNumbers(fToken, keyword->fToken) : ExpressionText::compareClasses(*this, other);
}
}
