// Quoted strings and heredocs. The text is collected as it stands and decoded at its end.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
using namespace ParserCharacters;

bool ParserMachine::checkTextLength()
{
	if (fText.size() > NodeWalk::MAX_TEXT)
	{
		fail("text too long");
		return false;
	}
	return true;
}

void ParserMachine::beginString(ParserState state)
{
	fQuote = static_cast<char>(fStream->getChar());
	fHasEscape = false;
	fText.clear();
	consume();
	goTo(state);
}

// Collects what is buffered of a string; true when its closing quote was passed.
bool ParserMachine::readString(ParserState escape)
{
	constexpr size_t MAX_RUN = 65536; // a step is short, also in a huge string
	const std::string_view bytes = fStream->buffered().substr(0, MAX_RUN);
	const bool isKey = fLevel->state != ParserState::STRING;
	size_t count = 0;
	while (count < bytes.size() && bytes[count] != fQuote && bytes[count] != '\\' && (bytes[count] != '\0' || isKey))
	{
		++count;
	}
	fText.append(bytes.substr(0, count));
	fStream->passBuffered(count);
	if (!checkTextLength() || count == bytes.size())
	{
		return false;
	}
	if (bytes[count] == '\0')
	{
		fail("unexpected end of string in quoted string");
		return false;
	}
	fStream->passBuffered(1);
	if (bytes[count] == fQuote)
	{
		return true;
	}
	fHasEscape = true;
	fText.push_back('\\');
	goTo(escape);
	return false;
}

void ParserMachine::onString(ParserState escape)
{
	if (!readString(escape))
	{
		return;
	}
	if (fLevel->state == ParserState::STRING)
	{
		finishString();
		return;
	}
	fLevel->key = takeKey();
	goTo(ParserState::KEY_COLON);
}

void ParserMachine::onStringEscape(ParserState string)
{
	fText.push_back(static_cast<char>(fStream->getChar()));
	consume();
	goTo(string);
}

void ParserMachine::finishString()
{
	if (fHasEscape)
	{
		fText = Utils::decodeString(fText);
	}
	pushOperand(Value::string(std::string_view(fText)), ParserState::OPERATOR);
}

Name ParserMachine::takeKey()
{
	return Name(fHasEscape ? Utils::decodeString(fText) : fText);
}

// --- Heredocs

void ParserMachine::onHeredoc(int32_t character)
{
	if (character != '<')
	{
		fail("unexpected character");
		return;
	}
	consume();
	goTo(ParserState::HEREDOC_NAME_START);
}

void ParserMachine::onHeredocNameStart(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (!is(character, IDENTIFIER_START))
	{
		fail("heredoc name expected");
		return;
	}
	fHeredocName.clear();
	goTo(ParserState::HEREDOC_NAME);
}

void ParserMachine::onHeredocName(int32_t character)
{
	if (!is(character, IDENTIFIER))
	{
		goTo(ParserState::HEREDOC_REST);
		return;
	}
	fHeredocName.push_back(static_cast<char>(character));
	consume();
}

void ParserMachine::onHeredocRest(int32_t character)
{
	if (is(character, BLANK))
	{
		consume();
	}
	else
	{
		fail("line end expected after heredoc name");
		return;
	}
	if (is(character, LINE_END))
	{
		fText.clear();
		fHeredocLineStart = 0;
		goTo(character == '\r' ? ParserState::HEREDOC_AFTER_CR : ParserState::HEREDOC_BODY);
	}
}

void ParserMachine::onHeredocAfterCR(int32_t character)
{
	if (character == '\n')
	{
		consume();
	}
	goTo(ParserState::HEREDOC_BODY);
}

// A line that begins with the name, and with nothing that would go on with it, ends the text in front of its own line end.
void ParserMachine::onHeredocBody(int32_t character)
{
	const size_t length = fText.size() - fHeredocLineStart;
	if (length == fHeredocName.size() && !is(character, IDENTIFIER) && fText.compare(fHeredocLineStart, length, fHeredocName) == 0)
	{
		fText.resize(fHeredocLineStart);
		for (const char lineEnd : {'\n', '\r'})
		{
			if (!fText.empty() && fText.back() == lineEnd)
			{
				fText.pop_back();
			}
		}
		pushOperand(Value::string(std::string_view(fText)), ParserState::OPERATOR);
		return;
	}
	if (character == InputStream::END_OF_INPUT)
	{
		fail("unexpected end of inputStream");
		return;
	}
	fText.push_back(static_cast<char>(character));
	consume();
	if (is(character, LINE_END))
	{
		fHeredocLineStart = fText.size();
	}
	checkTextLength();
}
}
