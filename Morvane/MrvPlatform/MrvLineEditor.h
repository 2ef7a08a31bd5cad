#pragma once

#include "MrvPlatform/MrvKeyEvent.h"
#include "MrvPlatform/MrvLineHistory.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv::Platform
{
// Edits one line after the other: keys go in, what the terminal is to be sent comes out. It knows no terminal and no clock.
//
// The line stands in one row behind the prompt. What doesn't fit is scrolled sideways, so that backspaces and blanks are all it takes to
// draw; no terminal is too simple for that, and none needs to be asked what it can do.
class LineEditor
{
public:
	static constexpr size_t MAX_LINE = size_t{1} << 18; // bytes; what is typed beyond that is dropped

	enum class Outcome : uint8_t
	{
		EDITING,
		LINE,         // finished: `takeLine`
		INTERRUPTED,  // dropped by Ctrl-C
		ENDED,        // Ctrl-D on an empty line
		CLEAR_SCREEN, // to be done, and everything to be drawn again
		REDRAW,       // the same in a new row
	};

	// Begins a line. columns: of the terminal's row; usedColumns: what stands there already, the prompt.
	void begin(size_t columns, size_t usedColumns);
	Outcome accept(const KeyEvent &event);
	// The finished line without its end; it goes to the history.
	std::string takeLine();
	// What is to be written after the keys since it was asked last. Many keys at once cost one drawing.
	std::string takeOutput();

	// Takes the line off the screen: back to where it began. `draw` puts it there again.
	void erase();
	void draw();
	// The row is as it was when the line began.
	void forgetScreen();

	LineHistory &history() { return fHistory; }

private:
	// A character with what is drawn over it.
	struct Glyph
	{
		size_t size;  // bytes in the line
		size_t cells; // on the screen
		std::string text;
	};

	static std::vector<Glyph> glyphsOf(std::string_view text);
	void insert(const std::string &text);
	void eraseRange(size_t from, size_t to);
	size_t previousPosition(size_t position) const;
	size_t nextPosition(size_t position) const;
	size_t wordStart() const;
	size_t wordEnd() const;
	void recall(size_t index);
	void refresh();
	void showGlyphs(std::vector<Glyph> glyphs, size_t cursor);
	void moveTo(size_t glyph);
	Outcome finish(Outcome outcome, const char *end);

	LineHistory fHistory;
	size_t fHistoryIndex = 0; // of the line that is shown; the history's size for the one that is being typed
	std::string fTyped;       // that one, while another is shown
	std::string fLine;
	size_t fCursor = 0;      // byte of the line
	size_t fRoom = 0;        // cells for the line
	size_t fStart = 0;       // glyph of the line that the row begins with
	bool fIsChanged = false; // since the row was drawn

	std::vector<Glyph> fShown; // in the row
	size_t fShownCursor = 0;   // a glyph of the row, or behind the last one
	std::string fOutput;
};
}
