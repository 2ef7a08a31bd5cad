#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

#include <cstdint>
#include <string_view>

namespace Mrv
{
// Looks for a text behind blanks and comments, character by character. Blanks and comments are passed for good; a text that turns out to be
// another one is put back.
class ParserSearch
{
public:
	enum class Outcome : uint8_t
	{
		SEARCHING,
		FOUND,
		MISSING,
	};

	// The character that the stream stands on, or END_OF_INPUT. `isWithinLine`: a line end is not passed.
	Outcome take(int32_t character, InputStream &stream, std::string_view text, bool isKeyword, bool isWithinLine);

private:
	enum class State : uint8_t
	{
		BLANKS,
		SLASH,        // after a `/` that may begin a comment
		LINE_COMMENT, // in `// ...`
		BLOCK_COMMENT,
		BLOCK_STAR, // after a `*` in a block comment
		TEXT,       // in what may be the text
		TEXT_END,   // behind all of it
	};

	Outcome takeBlank(int32_t character, InputStream &stream, bool isWithinLine);
	Outcome takeComment(int32_t character, InputStream &stream);
	Outcome takeText(int32_t character, InputStream &stream, std::string_view text, bool isKeyword);

	State fState = State::BLANKS;
	size_t fMatched = 0;
	uint64_t fTextPosition = 0;
};
}
