// A line is put together in fTypedLine, where it can be edited; once it has ended it becomes the buffer that is read from. Both outlive a
// task that gives up in mid-line.

#include "MrvParser/Stream/MrvIOStreamPrompted.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
namespace
{
constexpr std::string_view ERASE_ONE_CELL = "\b \b";
}

IOStreamPrompted::IOStreamPrompted(std::shared_ptr<InputStream> nestedInputStream, std::shared_ptr<OutputStream> nestedOutputStream)
    : fNestedInputStream(std::move(nestedInputStream)),
      fNestedOutputStream(std::move(nestedOutputStream))
{
	EXPECTED(fNestedInputStream);
}

std::string &IOStreamPrompted::promptText()
{
	static std::string text = "> ";
	return text;
}

std::string &IOStreamPrompted::continuationPromptText()
{
	static std::string text = ". ";
	return text;
}

void IOStreamPrompted::setPromptTexts(std::string prompt, std::string continuationPrompt)
{
	promptText() = std::move(prompt);
	continuationPromptText() = std::move(continuationPrompt);
}

bool IOStreamPrompted::isEndOfStatement(int32_t character) const
{
	return fNestedInputStream ? fNestedInputStream->isEndOfStatement(character) : InputStream::isEndOfStatement(character);
}

void IOStreamPrompted::showPrompt(int parsingNestLevel)
{
	if (fIsPromptShown || !fNestedOutputStream)
	{
		return;
	}
	fIsPromptShown = true;
	const std::optional<std::string> &own = parsingNestLevel == 0 ? fPrompt : fContinuationPrompt;
	fNestedOutputStream->write(own ? *own : parsingNestLevel == 0 ? promptText() : continuationPromptText());
	fNestedOutputStream->flush();
}

void IOStreamPrompted::echo(int32_t character)
{
	if (!fNestedOutputStream || !fNestedInputStream->isConsole() || fNestedInputStream->isEdited())
	{
		return;
	}
	if (character == '\r')
	{
		fNestedOutputStream->write("\r\n");
	}
	else if (character == BACKSPACE)
	{
		fNestedOutputStream->write(ERASE_ONE_CELL);
	}
	else
	{
		const char byte = static_cast<char>(character);
		fNestedOutputStream->write(std::string_view(&byte, 1));
	}
}

// Takes a character of the nested input into the line. True when the line has ended.
bool IOStreamPrompted::takeCharacter(int32_t character)
{
	if (character == END_OF_INPUT)
	{
		fIsInputEnded = true;
		return true;
	}
	fNestedInputStream->advance();
	if (character == BACKSPACE || character == DELETE_KEY)
	{
		if (!fTypedLine.empty())
		{
			fTypedLine.pop_back();
			echo(BACKSPACE);
		}
		return false;
	}
	fTypedLine.push_back(static_cast<char>(character));
	echo(character);
	return isEndOfStatement(character);
}

void IOStreamPrompted::readLine_yielding(Task &task, std::string &line)
{
	struct LocalVariableState : OMFunctionState
	{
		int32_t character = NOTHING_YET;
	};
	enum At : int32_t
	{
		START = 0,
		CHARACTER_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, line);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				SANITY_CHECK(fNestedInputStream, frame.finish(); break);
				showPrompt(task.getParsingNestLevel());
				frame.call(CHARACTER_KNOWN, [&] { fNestedInputStream->getChar_yielding(task, frame->character); });
				break;
			case CHARACTER_KNOWN:
				if (!takeCharacter(frame->character))
				{
					frame.goTo(START);
					break;
				}
				flush();
				line = std::move(fTypedLine);
				fTypedLine.clear();
				fIsPromptShown = false;
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void IOStreamPrompted::dropLine()
{
	discardBuffered();
	if (fNestedInputStream)
	{
		fNestedInputStream->discardBuffered();
	}
	fTypedLine.clear();
	fIsPromptShown = false;
}

void IOStreamPrompted::beginLine(const std::string &line)
{
	if (!isBufferActive())
	{
		dropFront(buffer().size());
	}
	append(line, Passed::KEEP);
	if (fIsInputEnded)
	{
		setEOF();
	}
}

void IOStreamPrompted::waitForChar_yielding(Task &task, int32_t &character)
{
	struct LocalVariableState : OMFunctionState
	{
		std::string line;
	};
	enum At : int32_t
	{
		START = 0,
		LINE_KNOWN = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, character);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (hasBuffered() || InputStream::atEOF())
				{
					character = getChar();
					frame.finish();
					break;
				}
				frame.call(LINE_KNOWN, [&] { readLine_yielding(task, frame->line); });
				break;
			case LINE_KNOWN:
				beginLine(frame->line);
				if (!hasBuffered() && !fIsInputEnded)
				{
					setEOF(); // there is no nested input
				}
				frame.goTo(START);
				break;
			case DONE:
				break;
		}
	}
}

InputStream::Fetched IOStreamPrompted::fetch()
{
	SANITY_CHECK(fNestedInputStream, return Fetched::END);
	showPrompt(0);
	for (;;)
	{
		const int32_t character = fNestedInputStream->getChar();
		if (character == NOTHING_YET)
		{
			return Fetched::NOTHING;
		}
		if (takeCharacter(character))
		{
			break;
		}
	}
	flush();
	const std::string line = std::exchange(fTypedLine, {});
	fIsPromptShown = false;
	beginLine(line);
	return line.empty() ? Fetched::END : Fetched::MORE;
}

bool IOStreamPrompted::setPos(uint64_t position)
{
	SANITY_CHECK(fNestedInputStream, return false);
	return position < getBufferPosition() + buffer().size() && InputStream::setPos(position);
}

bool IOStreamPrompted::flush()
{
	const bool isInputFlushed = !fNestedInputStream || fNestedInputStream->flushOutput();
	const bool isOutputFlushed = !fNestedOutputStream || fNestedOutputStream->flush();
	return isInputFlushed && isOutputFlushed;
}

bool IOStreamPrompted::write(std::string_view text)
{
	SANITY_CHECK(fNestedOutputStream, return false);
	return fNestedOutputStream->write(text);
}

void IOStreamPrompted::write_yielding(Task &task, bool &success, std::string_view text)
{
	SANITY_CHECK(fNestedOutputStream, success = false; return );
	fNestedOutputStream->write_yielding(task, success, text);
}
}
