// Once the keys at hand have changed the line, `refresh` works out what the row should show and sends the difference to what it shows.
#include "MrvPlatform/MrvLineEditor.h"

#include "MrvPlatform/MrvCellWidth.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Mrv::Platform
{
namespace
{
constexpr size_t LEAST_ROOM = 10; // cells; with less the line begins in a row of its own

bool isWordCharacter(char character)
{
	return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
	       character == '_' || character == '$' || static_cast<unsigned char>(character) >= 0x80;
}
}

void LineEditor::begin(size_t columns, size_t usedColumns)
{
	fLine.clear();
	fCursor = 0;
	fStart = 0;
	fHistoryIndex = fHistory.size();
	fTyped.clear();
	forgetScreen();
	if (columns < usedColumns + LEAST_ROOM)
	{
		fOutput += "\r\n";
		usedColumns = 0;
	}
	// The last cell stays free: terminals differ in what they do behind it.
	fRoom = std::max(columns, LEAST_ROOM) - usedColumns - 1;
}

std::string LineEditor::takeLine()
{
	fHistory.add(fLine);
	return std::exchange(fLine, {});
}

std::string LineEditor::takeOutput()
{
	if (fIsChanged)
	{
		refresh();
	}
	return std::exchange(fOutput, {});
}

LineEditor::Outcome LineEditor::finish(Outcome outcome, const char *end)
{
	fCursor = fLine.size();
	refresh();
	fOutput += end;
	forgetScreen();
	return outcome;
}

LineEditor::Outcome LineEditor::accept(const KeyEvent &event)
{
	switch (event.key)
	{
		case Key::TEXT:
			insert(event.text);
			break;
		case Key::ENTER:
			return finish(Outcome::LINE, "\r\n");
		case Key::INTERRUPT:
			finish(Outcome::INTERRUPTED, "^C\r\n");
			fLine.clear();
			return Outcome::INTERRUPTED;
		case Key::END_OF_INPUT:
			if (fLine.empty())
			{
				return finish(Outcome::ENDED, "\r\n");
			}
			eraseRange(fCursor, nextPosition(fCursor));
			break;
		case Key::ERASE_BACK:
			eraseRange(previousPosition(fCursor), fCursor);
			break;
		case Key::ERASE_FORWARD:
			eraseRange(fCursor, nextPosition(fCursor));
			break;
		case Key::ERASE_WORD:
			eraseRange(wordStart(), fCursor);
			break;
		case Key::ERASE_TO_START:
			eraseRange(0, fCursor);
			break;
		case Key::ERASE_TO_END:
			eraseRange(fCursor, fLine.size());
			break;
		case Key::LEFT:
			fCursor = previousPosition(fCursor);
			break;
		case Key::RIGHT:
			fCursor = nextPosition(fCursor);
			break;
		case Key::WORD_LEFT:
			fCursor = wordStart();
			break;
		case Key::WORD_RIGHT:
			fCursor = wordEnd();
			break;
		case Key::HOME:
			fCursor = 0;
			break;
		case Key::END:
			fCursor = fLine.size();
			break;
		case Key::PREVIOUS:
			recall(fHistoryIndex == 0 ? 0 : fHistoryIndex - 1);
			break;
		case Key::NEXT:
			recall(std::min(fHistoryIndex + 1, fHistory.size()));
			break;
		case Key::CLEAR_SCREEN:
			return Outcome::CLEAR_SCREEN;
		case Key::REDRAW:
			return Outcome::REDRAW;
	}
	fIsChanged = true;
	return Outcome::EDITING;
}

void LineEditor::insert(const std::string &text)
{
	if (fLine.size() + text.size() <= MAX_LINE)
	{
		fLine.insert(fCursor, text);
		fCursor += text.size();
	}
}

void LineEditor::eraseRange(size_t from, size_t to)
{
	fLine.erase(from, to - from);
	fCursor = from;
}

// The position in front of the character before this one, with what is drawn over it.
size_t LineEditor::previousPosition(size_t position) const
{
	while (position > 0)
	{
		--position;
		if ((static_cast<unsigned char>(fLine[position]) & 0xC0U) == 0x80U)
		{
			continue;
		}
		std::string_view rest = std::string_view(fLine).substr(position);
		if (cellWidth(takeCharacter(rest)) > 0)
		{
			break;
		}
	}
	return position;
}

size_t LineEditor::nextPosition(size_t position) const
{
	std::string_view rest = std::string_view(fLine).substr(position);
	if (!rest.empty())
	{
		takeCharacter(rest);
	}
	while (!rest.empty())
	{
		std::string_view behind = rest;
		if (cellWidth(takeCharacter(behind)) > 0)
		{
			break;
		}
		rest = behind;
	}
	return fLine.size() - rest.size();
}

size_t LineEditor::wordStart() const
{
	size_t position = fCursor;
	while (position > 0 && !isWordCharacter(fLine[position - 1]))
	{
		--position;
	}
	while (position > 0 && isWordCharacter(fLine[position - 1]))
	{
		--position;
	}
	return position;
}

size_t LineEditor::wordEnd() const
{
	size_t position = fCursor;
	while (position < fLine.size() && !isWordCharacter(fLine[position]))
	{
		++position;
	}
	while (position < fLine.size() && isWordCharacter(fLine[position]))
	{
		++position;
	}
	return position;
}

// Shows a line of the history, or the one that was being typed.
void LineEditor::recall(size_t index)
{
	if (fHistoryIndex == fHistory.size())
	{
		fTyped = fLine;
	}
	fHistoryIndex = index;
	fLine = index == fHistory.size() ? fTyped : fHistory[index];
	fCursor = fLine.size();
}

// --- The screen

std::vector<LineEditor::Glyph> LineEditor::glyphsOf(std::string_view text)
{
	std::vector<Glyph> glyphs;
	while (!text.empty())
	{
		const std::string_view from = text;
		const char32_t character = takeCharacter(text);
		const std::string_view bytes = from.substr(0, from.size() - text.size());
		const size_t cells = cellWidth(character);
		if (cells == 0 && !glyphs.empty())
		{
			glyphs.back().size += bytes.size();
			glyphs.back().text += bytes;
			continue;
		}
		// What has no shape of its own gets a blank to stand on.
		const bool isBlank = character < ' ' || cells == 0;
		glyphs.push_back({bytes.size(), std::max<size_t>(cells, 1), isBlank ? " " : std::string(bytes)});
	}
	return glyphs;
}

void LineEditor::refresh()
{
	fIsChanged = false;
	std::vector<Glyph> glyphs = glyphsOf(fLine);
	size_t cursor = 0;
	for (size_t position = 0; position < fCursor && cursor < glyphs.size(); ++cursor)
	{
		position += glyphs[cursor].size;
	}
	const auto cellsBetween = [&glyphs](size_t from, size_t to)
	{
		return std::accumulate(glyphs.begin() + static_cast<std::ptrdiff_t>(from), glyphs.begin() + static_cast<std::ptrdiff_t>(to),
		    size_t{0}, [](size_t sum, const Glyph &glyph) { return sum + glyph.cells; });
	};
	// Scrolled no further than the cursor needs.
	fStart = std::min(fStart, cursor);
	if (cellsBetween(0, glyphs.size()) <= fRoom)
	{
		fStart = 0;
	}
	size_t cells = cellsBetween(fStart, cursor);
	while (cells > fRoom)
	{
		cells -= glyphs[fStart++].cells;
	}
	size_t end = cursor;
	while (end < glyphs.size() && cells + glyphs[end].cells <= fRoom)
	{
		cells += glyphs[end++].cells;
	}
	glyphs.erase(glyphs.begin() + static_cast<std::ptrdiff_t>(end), glyphs.end());
	glyphs.erase(glyphs.begin(), glyphs.begin() + static_cast<std::ptrdiff_t>(fStart));
	showGlyphs(std::move(glyphs), cursor - fStart);
}

// Moves the terminal's cursor within what is shown.
void LineEditor::moveTo(size_t glyph)
{
	for (; fShownCursor > glyph; --fShownCursor)
	{
		fOutput.append(fShown[fShownCursor - 1].cells, '\b');
	}
	for (; fShownCursor < glyph; ++fShownCursor)
	{
		fOutput += fShown[fShownCursor].text;
	}
}

void LineEditor::showGlyphs(std::vector<Glyph> glyphs, size_t cursor)
{
	const auto sumOf = [](const std::vector<Glyph> &list, size_t from)
	{
		return std::accumulate(list.begin() + static_cast<std::ptrdiff_t>(from), list.end(), size_t{0},
		    [](size_t sum, const Glyph &glyph) { return sum + glyph.cells; });
	};
	size_t same = 0;
	while (same < glyphs.size() && same < fShown.size() && glyphs[same].text == fShown[same].text)
	{
		++same;
	}
	if (same < glyphs.size() || same < fShown.size())
	{
		moveTo(same);
		const size_t oldCells = sumOf(fShown, same);
		const size_t newCells = sumOf(glyphs, same);
		fShown = std::move(glyphs);
		moveTo(fShown.size());
		if (oldCells > newCells)
		{
			fOutput.append(oldCells - newCells, ' ');
			fOutput.append(oldCells - newCells, '\b');
		}
	}
	moveTo(cursor);
}

void LineEditor::erase()
{
	showGlyphs({}, 0);
}

void LineEditor::draw()
{
	refresh();
}

void LineEditor::forgetScreen()
{
	fShown.clear();
	fShownCursor = 0;
}
}
