// A state for each kind of text, a function for each state. A line end behind a comment or a directive is left to the state CODE, which
// alone decides whether a statement ends there.
#include "MrvParser/Language/MrvStatementScanner.h"

#include "MrvUtils/MrvUtils.h"

#include <utility>

namespace Mrv
{
namespace
{
constexpr int32_t END = -1;

bool isLineEnd(int32_t character)
{
	return character == '\n' || character == '\r';
}

bool isBlankCharacter(int32_t character)
{
	return character == ' ' || character == '\t';
}

bool isNameCharacter(int32_t character)
{
	return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
	       character == '_' || character == '$' || character == '%';
}

std::string toLowerCase(std::string text)
{
	for (char &character : text)
	{
		if (character >= 'A' && character <= 'Z')
		{
			character = static_cast<char>(character - 'A' + 'a');
		}
	}
	return text;
}
}

StatementScanner::Outcome StatementScanner::goTo(State next, Outcome outcome)
{
	fState = next;
	return outcome;
}

StatementScanner::Outcome StatementScanner::store(int32_t character, State next)
{
	fText.push_back(static_cast<char>(character));
	return goTo(next, Outcome::MORE);
}

std::string StatementScanner::take()
{
	fKeptEnd.clear();
	return std::exchange(fText, std::exchange(fNextText, {}));
}

void StatementScanner::keep()
{
	fText += std::exchange(fKeptEnd, {});
}

bool StatementScanner::isBlank() const
{
	return fText.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool StatementScanner::isAtLineStart() const
{
	return fText.empty() || isLineEnd(fText.back());
}

StatementScanner::Outcome StatementScanner::accept(int32_t character)
{
	switch (fState)
	{
		case State::CODE:
			return acceptCode(character);
		case State::SLASH:
			return acceptSlash(character);
		case State::BLOCK_COMMENT:
		case State::BLOCK_COMMENT_STAR:
			return acceptBlockComment(character);
		case State::DOUBLE_QUOTED:
			return acceptQuoted(character, '"', State::DOUBLE_QUOTED_ESCAPE);
		case State::SINGLE_QUOTED:
			return acceptQuoted(character, '\'', State::SINGLE_QUOTED_ESCAPE);
		case State::DOUBLE_QUOTED_ESCAPE:
			return character == END ? Outcome::MORE : store(character, State::DOUBLE_QUOTED);
		case State::SINGLE_QUOTED_ESCAPE:
			return character == END ? Outcome::MORE : store(character, State::SINGLE_QUOTED);
		case State::LINE_COMMENT_START:
		case State::LINE_COMMENT:
			return acceptLineComment(character);
		case State::COMMENT_DIRECTIVE:
		case State::HASH_DIRECTIVE:
			return acceptDirective(character);
		case State::LESS:
			return character == '<' ? store(character, State::HEREDOC_NAME) : goTo(State::CODE, Outcome::AGAIN);
		case State::HEREDOC_NAME:
			return acceptHeredocName(character);
		case State::HEREDOC:
			return acceptHeredoc(character);
	}
	return Outcome::MORE;
}

StatementScanner::Outcome StatementScanner::acceptCode(int32_t character)
{
	switch (character)
	{
		case END:
			return Outcome::MORE;
		case '/':
			return goTo(State::SLASH, Outcome::MORE);
		case '"':
			return store(character, State::DOUBLE_QUOTED);
		case '\'':
			return store(character, State::SINGLE_QUOTED);
		case '<':
			return store(character, State::LESS);
		case '#':
			return goTo(State::HASH_DIRECTIVE, Outcome::MORE);
		case ' ':
		case '\t':
			return isAtLineStart() ? Outcome::MORE : store(character, State::CODE);
		case '(':
			++fParensCountGlobal;
			break;
		case '{':
			++fBraceCount;
			break;
		case ')':
			--fParensCountGlobal;
			break;
		case '}':
			--fBraceCount;
			break;
		case ';':
			store(character, State::CODE);
			return isInBrackets() ? Outcome::MORE : Outcome::BOUNDARY;
		case '\n':
		case '\r':
			if (isInBrackets())
			{
				return store(character, State::CODE);
			}
			fKeptEnd = static_cast<char>(character);
			return Outcome::BOUNDARY;
		default:
			break;
	}
	store(character, State::CODE);
	return fParensCountGlobal < 0 || fBraceCount < 0 ? Outcome::UNBALANCED : Outcome::MORE;
}

StatementScanner::Outcome StatementScanner::acceptSlash(int32_t character)
{
	if (character == '/')
	{
		return goTo(State::LINE_COMMENT_START, Outcome::MORE);
	}
	if (character == '*')
	{
		return goTo(State::BLOCK_COMMENT, Outcome::MORE);
	}
	store('/', State::CODE);
	return Outcome::AGAIN;
}

StatementScanner::Outcome StatementScanner::acceptBlockComment(int32_t character)
{
	if (fState == State::BLOCK_COMMENT_STAR && character == '/')
	{
		return isAtLineStart() ? goTo(State::CODE, Outcome::MORE) : store(' ', State::CODE);
	}
	return goTo(character == '*' ? State::BLOCK_COMMENT_STAR : State::BLOCK_COMMENT, Outcome::MORE);
}

StatementScanner::Outcome StatementScanner::acceptQuoted(int32_t character, char quote, State escape)
{
	if (character == END)
	{
		return Outcome::MORE;
	}
	if (character == '\\')
	{
		return store(character, escape);
	}
	return store(character, character == quote ? State::CODE : fState);
}

StatementScanner::Outcome StatementScanner::acceptLineComment(int32_t character)
{
	if (isLineEnd(character))
	{
		return goTo(State::CODE, Outcome::AGAIN);
	}
	if (fState == State::LINE_COMMENT_START && character == '@')
	{
		return goTo(State::COMMENT_DIRECTIVE, Outcome::MORE);
	}
	const bool isStillStart = fState == State::LINE_COMMENT_START && isBlankCharacter(character);
	return goTo(isStillStart ? fState : State::LINE_COMMENT, Outcome::MORE);
}

StatementScanner::Outcome StatementScanner::acceptDirective(int32_t character)
{
	if (character != END && !isLineEnd(character))
	{
		fDirective.push_back(static_cast<char>(character));
		return Outcome::MORE;
	}
	const std::string line = (fState == State::HASH_DIRECTIVE ? "#" : "//@") + fDirective;
	const std::string word = toLowerCase(Utils::trim(std::exchange(fDirective, {})));
	fState = State::CODE;
	if (word == "yieldon" || word == "yieldoff")
	{
		fIsYieldOn = word == "yieldon";
		return Outcome::AGAIN;
	}
	if (fIsYieldOn || isInBrackets() || character == END)
	{
		// Part of the statement that it stands in or before; its line end comes along.
		fText += line;
		fText += character == END ? "" : "\n";
		return character == END ? Outcome::AGAIN : Outcome::MORE;
	}
	if (isBlank())
	{
		fText = line;
		return Outcome::AGAIN;
	}
	fNextText = line;
	return Outcome::RUN;
}

StatementScanner::Outcome StatementScanner::acceptHeredocName(int32_t character)
{
	const bool isNamed = !fHeredocName.empty() && !isNameCharacter(static_cast<unsigned char>(fText.back()));
	if (isNameCharacter(character) && !isNamed)
	{
		fHeredocName.push_back(static_cast<char>(character));
		return store(character, fState);
	}
	if (isBlankCharacter(character))
	{
		return store(character, fState);
	}
	if (character == '\n' && !fHeredocName.empty())
	{
		return store(character, State::HEREDOC);
	}
	if (character == '\r' && !fHeredocName.empty())
	{
		return store(character, fState);
	}
	fHeredocName.clear(); // no heredoc after all
	return goTo(State::CODE, Outcome::AGAIN);
}

StatementScanner::Outcome StatementScanner::acceptHeredoc(int32_t character)
{
	if (fHeredocLine == fHeredocName && !isNameCharacter(character))
	{
		fHeredocLine.clear();
		fHeredocName.clear();
		return goTo(State::CODE, Outcome::AGAIN);
	}
	if (character == END)
	{
		return Outcome::MORE;
	}
	if (isLineEnd(character))
	{
		fHeredocLine.clear();
	}
	else if (fHeredocLine.size() <= fHeredocName.size())
	{
		fHeredocLine.push_back(static_cast<char>(character)); // more of it is not looked at
	}
	return store(character, fState);
}
}
