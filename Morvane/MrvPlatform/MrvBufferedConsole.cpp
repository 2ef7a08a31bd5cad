#include "MrvPlatform/MrvBufferedConsole.h"

#include "MrvPlatform/MrvCellWidth.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvSignals.h"

#include <algorithm>

namespace Mrv::Platform
{
namespace
{
// More than this isn't held back; large enough that a system call costs nothing beside the bytes.
constexpr std::size_t kMostHeldBack = 65536;
// More than a row takes isn't remembered of it.
constexpr std::size_t kLongestRow = 4096;
// A terminal sends the bytes of an escape sequence together; a person's Escape key comes alone.
constexpr std::int64_t kEscapeTimeout = 50'000'000;
}

WriteOutcome BufferedConsole::write(StandardStream stream, std::string_view text)
{
	if (stream == StandardStream::ERROR_OUTPUT)
	{
		if (!fHeldBack.empty() && isTerminal(StandardStream::OUTPUT))
		{
			// On a terminal both streams meet: what was said first stands first.
			flush();
		}
		return writeAroundLine(stream, text);
	}
	if (stream != StandardStream::OUTPUT || fOutputOutcome != WriteOutcome::WRITTEN)
	{
		return stream == StandardStream::OUTPUT ? fOutputOutcome : WriteOutcome::FAILED;
	}
	fHeldBack += text;
	const bool lineEnded = text.find('\n') != std::string_view::npos;
	return fHeldBack.size() >= kMostHeldBack || (lineEnded && isTerminal(StandardStream::OUTPUT)) ? flush() : fOutputOutcome;
}

WriteOutcome BufferedConsole::flush()
{
	if (!fHeldBack.empty())
	{
		fOutputOutcome = writeAroundLine(StandardStream::OUTPUT, fHeldBack);
		fHeldBack.clear();
	}
	return fOutputOutcome;
}

InputState BufferedConsole::pollInput()
{
	flush();
	if (fInputPos < fInput.size())
	{
		return InputState::READY;
	}
	if (fInputEnded)
	{
		return InputState::END;
	}
	fInput.clear();
	fInputPos = 0;
	const InputState state = fetchInput(fInput);
	fInputEnded = state == InputState::END;
	return state;
}

InputState BufferedConsole::readInput(std::string &bytes, std::size_t maximum)
{
	const InputState state = pollInput();
	if (state == InputState::READY)
	{
		const std::size_t size = std::min(maximum, fInput.size() - fInputPos);
		bytes.append(fInput, fInputPos, size);
		fInputPos += size;
	}
	return state;
}

// --- The editing of lines

WriteOutcome BufferedConsole::writeOut(std::string_view text)
{
	return text.empty() ? fOutputOutcome : fOutputOutcome = writeThrough(StandardStream::OUTPUT, text);
}

// Keeps what stands in the terminal's last row.
void BufferedConsole::noteRow(std::string_view text)
{
	const std::size_t rowStart = text.find_last_of("\r\n");
	if (rowStart != std::string_view::npos)
	{
		fRow.clear();
		text.remove_prefix(rowStart + 1);
	}
	if (fRow.size() + text.size() <= kLongestRow)
	{
		fRow += text;
	}
}

// What others write while a line is edited goes in rows of its own above the line.
WriteOutcome BufferedConsole::writeAroundLine(StandardStream stream, std::string_view text)
{
	if (!isTerminal(stream))
	{
		return writeThrough(stream, text);
	}
	if (!fIsEditing)
	{
		noteRow(text);
		return writeThrough(stream, text);
	}
	fEditor.erase();
	const std::size_t promptCells = cellsOf(fRow);
	writeOut(fEditor.takeOutput() + "\r" + std::string(promptCells, ' ') + "\r");
	const WriteOutcome outcome = writeThrough(stream, text);
	if (!text.ends_with('\n'))
	{
		writeOut("\r\n");
	}
	drawAgain();
	return outcome;
}

void BufferedConsole::drawAgain()
{
	fEditor.forgetScreen();
	fEditor.draw();
	writeOut(fRow + fEditor.takeOutput());
}

void BufferedConsole::clearScreen()
{
	writeOut("\x1b[H\x1b[2J");
}

InputState BufferedConsole::fetchKeys(std::deque<KeyEvent> &keys)
{
	std::string bytes;
	const InputState state = readInput(bytes, kMostHeldBack);
	for (const char byte : bytes)
	{
		fDecoder.accept(byte, keys);
	}
	if (!fDecoder.isInEscape())
	{
		fEscapeSince = 0;
	}
	else if (fEscapeSince == 0 || !bytes.empty())
	{
		fEscapeSince = steadyNanoseconds();
	}
	else if (steadyNanoseconds() - fEscapeSince > kEscapeTimeout)
	{
		fDecoder.giveUpEscape();
	}
	return state;
}

void BufferedConsole::endEditing()
{
	if (fIsEditing)
	{
		fIsEditing = false;
		fRow.clear();
		setInterruptKeyIsInput(false);
	}
}

InputState BufferedConsole::readLine(std::string &line)
{
	flush();
	if (!isInKeyMode())
	{
		return readInput(line, kMostHeldBack);
	}
	if (!fIsEditing)
	{
		fIsEditing = true;
		setInterruptKeyIsInput(true);
		fEditor.begin(columns(), cellsOf(fRow));
	}
	const InputState fetched = fKeys.empty() ? fetchKeys(fKeys) : InputState::READY;
	const InputState state = acceptKeys(line);
	writeOut(fEditor.takeOutput());
	if (state == InputState::NOTHING_YET && fetched == InputState::END && fKeys.empty())
	{
		endEditing();
		return InputState::END; // the terminal has gone
	}
	return state;
}

InputState BufferedConsole::acceptKeys(std::string &line)
{
	while (!fKeys.empty())
	{
		const KeyEvent event = std::move(fKeys.front());
		fKeys.pop_front();
		switch (fEditor.accept(event))
		{
			case LineEditor::Outcome::EDITING:
				break;
			case LineEditor::Outcome::LINE:
				endEditing();
				line += fEditor.takeLine() + "\n";
				return InputState::READY;
			case LineEditor::Outcome::INTERRUPTED:
				endEditing();
				noteInterrupt();
				return InputState::NOTHING_YET;
			case LineEditor::Outcome::ENDED:
				endEditing();
				return InputState::END;
			case LineEditor::Outcome::CLEAR_SCREEN:
				clearScreen();
				drawAgain();
				break;
			case LineEditor::Outcome::REDRAW:
				writeOut("\r\n");
				drawAgain();
				break;
		}
	}
	return InputState::NOTHING_YET;
}
}
