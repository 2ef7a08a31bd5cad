#pragma once

#include "MrvParser/Language/MrvParseContext.h"
#include "MrvParser/Language/MrvParseType.h"
#include "MrvParser/Node/MrvValue.h"

#include <string>
#include <string_view>

namespace Mrv
{
class Task;

// Turns the characters of a stream into values and expressions. Reading may suspend between any two characters, so a script may come from
// a keyboard or a pipe; the task keeps all that was read. Texts of data alone (JSON, for instance) give plain values.
//
// Failures don't throw: `success` is false then, the result is Undefined, and the context holds the messages and their place.
class Parser
{
public:
	Parser() = delete;

	// One expression; a statement of a script is one too. The stream is left standing on what ends it.
	//
	// nestLevel: the brackets that stand open around the text, 0 outside of all: only there a line end ends a statement.
	static void parseExpression_yielding(
	    Task &task, bool &success, Value &result, InputStream &stream, int nestLevel, ParseType parseType, ParseContext &context);

	// All statements of a text up to its end, as one sequence; a text that holds none is Undefined.
	static void parseExpressionList_yielding(Task &task, bool &success, Value &result, InputStream &stream, ParseContext &context);

	// Passes blanks and comments, then exactly this text. When something else stands there, `success` is false and the stream stands on
	// it; blanks and comments remain passed.
	static void parseChars_yielding(Task &task, bool &success, InputStream &stream, std::string_view text);

	// The same for a word that no identifier character follows.
	enum class SearchRange : uint8_t
	{
		TEXT,
		LINE, // not beyond the end of the line, which is left unread
	};
	static void parseKeyword_yielding(
	    Task &task, bool &success, InputStream &stream, std::string_view keyword, SearchRange range = SearchRange::TEXT);

	// Passes a line that begins with `#!`, its end excluded, if the context says that there may be one and the stream stands at its
	// beginning. For callers that parse expression by expression; the list does it itself.
	static void passFirstLine_yielding(Task &task, InputStream &stream, ParseContext &context);

	// Writes the error of the context to standard error, a line for each message: "FILE:LINE:COLUMN: text".
	static void writeError(const ParseContext &context);

	// The debug output, off at first: a line for each message and warning at the moment when it arises, to the file, or to standard
	// error while no file is set.
	static void setDebugOutput(bool isOn);
	static void setDebugLogFile(std::string path);
	static void reportDebugLine(const std::string &line);

private:
	static constexpr int STEPS_AT_ONCE = 32; // between two questions whether the task has to give way

	static void parseText_yielding(
	    Task &task, bool &success, InputStream &stream, std::string_view text, bool isKeyword, SearchRange range);
};
}
