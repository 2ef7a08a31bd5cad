#pragma once

#include "MrvParser/Language/MrvSourceText.h"
#include "MrvParser/Stream/MrvInputStream.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
class ParserMachine;

// Why a parse failed, and where.
struct ParseError
{
	std::vector<std::string> messages; // the innermost first, then what it stood in
	size_t offset = 0;                 // bytes from the beginning of the stream
	size_t line = 0;                   // both from 1
	size_t column = 0;
};

// What the parses of one text share. Owned by the caller; lives until the last of them has ended, suspensions included.
class ParseContext
{
public:
	enum class FirstLine : uint8_t
	{
		CODE,
		MAY_BE_DIRECTIVE, // one that begins with `#!` names the interpreter and is passed over: script files, standard input
	};

	// name: what messages call the text, as a rule its path.
	explicit ParseContext(std::string name = "script", FirstLine firstLine = FirstLine::CODE);
	ParseContext(const ParseContext &) = delete;
	ParseContext &operator=(const ParseContext &) = delete;
	~ParseContext();

	const std::string &getName() const { return fSource->getName(); }
	// What the parsed program keeps, to tell places in the text at run time.
	const Ref<SourceText> &getSource() const { return fSource; }
	// Tells the source of the lines that were read.
	void updateSource(InputStream &stream);
	FirstLine getFirstLine() const { return fFirstLine; }

	// The first message of a failure notes the place where the stream stands. A chain beyond MAX_MESSAGES is cut off.
	void addError(const std::string &message, InputStream &stream);
	const ParseError &getError() const { return fError; }
	bool hasError() const { return !fError.messages.empty(); }
	// Before the next expression of the same text.
	void clearError() { fError = ParseError(); }

	// What parses, but probably not as meant: lines "FILE:LINE:COLUMN: warning: text". They also go to the debug output.
	void addWarning(const std::string &message, InputStream &stream);
	const std::vector<std::string> &getWarnings() const { return fWarnings; }

	// Whether the last expression that was parsed had anything in it but blanks, comments and stray separators.
	bool hasOperand() const { return fHasOperand; }
	void setHasOperand(bool hasOperand) { fHasOperand = hasOperand; }

	// The lines that tell of the error: "FILE:LINE:COLUMN: text" for each message, each with a line end. Empty without an error.
	std::string getErrorText() const;

	static constexpr size_t MAX_MESSAGES = 32;
	static constexpr size_t MAX_WARNINGS = 100;

	// Kept between the statements of a text, for its buffers.
	std::unique_ptr<ParserMachine> fSpareMachine;

private:
	Ref<SourceText> fSource;
	size_t fSourceLineCount = 1;
	FirstLine fFirstLine;
	ParseError fError;
	std::vector<std::string> fWarnings;
	bool fHasOperand = false;
};
}
