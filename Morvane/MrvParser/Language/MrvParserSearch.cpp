#include "MrvParser/Language/MrvParserSearch.h"

#include "MrvParser/Language/MrvParserCharacters.h"

namespace Mrv
{
using namespace ParserCharacters;

ParserSearch::Outcome ParserSearch::take(int32_t character, InputStream &stream, std::string_view text, bool isKeyword, bool isWithinLine)
{
	switch (fState)
	{
		case State::BLANKS:
			if (character == '/' || is(character, BLANK))
			{
				return takeBlank(character, stream, isWithinLine);
			}
			fTextPosition = stream.getPos();
			fState = State::TEXT;
			return takeText(character, stream, text, isKeyword);
		case State::SLASH:
		case State::LINE_COMMENT:
		case State::BLOCK_COMMENT:
		case State::BLOCK_STAR:
			return takeComment(character, stream);
		case State::TEXT:
		case State::TEXT_END:
			break;
	}
	return takeText(character, stream, text, isKeyword);
}

ParserSearch::Outcome ParserSearch::takeBlank(int32_t character, InputStream &stream, bool isWithinLine)
{
	if (isWithinLine && is(character, LINE_END))
	{
		return Outcome::MISSING;
	}
	stream.advance();
	if (character == '/')
	{
		fState = State::SLASH;
	}
	return Outcome::SEARCHING;
}

ParserSearch::Outcome ParserSearch::takeComment(int32_t character, InputStream &stream)
{
	if (fState == State::SLASH && character != '/' && character != '*')
	{
		stream.setPos(stream.getPos() - 1);
		return Outcome::MISSING;
	}
	if (character == InputStream::END_OF_INPUT)
	{
		return Outcome::MISSING;
	}
	if (fState == State::SLASH)
	{
		fState = character == '/' ? State::LINE_COMMENT : State::BLOCK_COMMENT;
	}
	else if (fState == State::LINE_COMMENT && is(character, LINE_END))
	{
		fState = State::BLANKS;
		return Outcome::SEARCHING; // the line end is one of the blanks
	}
	else if (character == 0 || (fState == State::BLOCK_STAR && character == '/'))
	{
		fState = State::BLANKS;
	}
	else if (fState != State::LINE_COMMENT)
	{
		fState = character == '*' ? State::BLOCK_STAR : State::BLOCK_COMMENT;
	}
	stream.advance();
	return Outcome::SEARCHING;
}

ParserSearch::Outcome ParserSearch::takeText(int32_t character, InputStream &stream, std::string_view text, bool isKeyword)
{
	if (fState == State::TEXT && character == static_cast<unsigned char>(text[fMatched]))
	{
		stream.advance();
		if (++fMatched < text.size())
		{
			return Outcome::SEARCHING;
		}
		fState = State::TEXT_END;
		return isKeyword ? Outcome::SEARCHING : Outcome::FOUND;
	}
	if (fState == State::TEXT_END && !is(character, IDENTIFIER))
	{
		return Outcome::FOUND;
	}
	if (fMatched > 0)
	{
		stream.setPos(fTextPosition);
	}
	return Outcome::MISSING;
}
}
