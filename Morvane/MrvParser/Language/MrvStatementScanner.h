#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// Splits the text of a script into top-level statements, character by character, without parsing it: it only has to know where a
// statement ends. Comments are dropped (a block comment leaves a blank), and so is the indentation of lines. Lines that are directives, a
// comment that begins with `//@` or anything behind `#`, stay in the text as they stand, but for two that steer the scan: `yieldon` lets
// each statement be handed on at once, `yieldoff` ends that.
class StatementScanner
{
public:
	enum class Outcome : uint8_t
	{
		MORE,       // go on with the next character
		AGAIN,      // the same character once more
		BOUNDARY,   // a statement is complete: hand it on now (take) or let it grow (keep); then the next character
		RUN,        // hand on what there is now, then the same character once more
		UNBALANCED, // a closing bracket too many: give up
	};

	// character: 0 to 255, or -1 at the end of the text.
	Outcome accept(int32_t character);

	// The text so far, which begins anew.
	std::string take();
	// The text goes on behind the boundary.
	void keep();
	// Nothing but blanks and line ends so far.
	bool isBlank() const;
	// Each statement is to be handed on at its boundary, whatever may follow.
	bool isYieldOn() const { return fIsYieldOn; }

private:
	enum class State : uint8_t
	{
		CODE = 0,
		SLASH = 1, // what it begins is open, nothing is stored yet
		BLOCK_COMMENT = 2,
		DOUBLE_QUOTED = 3,
		DOUBLE_QUOTED_ESCAPE = 4,
		SINGLE_QUOTED = 5,
		SINGLE_QUOTED_ESCAPE = 6,
		LINE_COMMENT_START = 7,
		BLOCK_COMMENT_STAR = 8, // the comment may end here
		LINE_COMMENT = 9,
		COMMENT_DIRECTIVE = 10, // behind `//@`
		HASH_DIRECTIVE = 11,    // behind `#`
		LESS = 12,              // a second `<` begins a heredoc
		HEREDOC_NAME = 13,      // the rest of the line that names the heredoc
		HEREDOC = 14,           // its lines, up to one that begins with the name
	};

	Outcome acceptCode(int32_t character);
	Outcome acceptSlash(int32_t character);
	Outcome acceptBlockComment(int32_t character);
	Outcome acceptQuoted(int32_t character, char quote, State escape);
	Outcome acceptLineComment(int32_t character);
	Outcome acceptDirective(int32_t character);
	Outcome acceptHeredocName(int32_t character);
	Outcome acceptHeredoc(int32_t character);
	Outcome store(int32_t character, State next);
	Outcome goTo(State next, Outcome outcome);
	Outcome endAtLine();
	bool isInBrackets() const { return fParensCountGlobal > 0 || fBraceCount > 0; }
	bool isAtLineStart() const;

	State fState = State::CODE;
	std::string fText;
	std::string fNextText;  // what the text begins with once this one is taken
	std::string fKeptEnd;   // what stands between this text and what follows, if it is kept
	std::string fDirective; // behind its mark
	std::string fHeredocName;
	std::string fHeredocLine; // so far
	int64_t fParensCountGlobal = 0;
	int64_t fBraceCount = 0;
	bool fIsYieldOn = false;
};
}
