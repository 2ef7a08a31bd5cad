#pragma once

#include <string>

namespace Mrv::Platform
{
// What a key means to somebody who edits a line.
enum class Key
{
	TEXT, // a character to insert
	ENTER,
	ERASE_BACK,
	ERASE_FORWARD,
	ERASE_WORD,
	ERASE_TO_START,
	ERASE_TO_END,
	LEFT,
	RIGHT,
	WORD_LEFT,
	WORD_RIGHT,
	HOME,
	END,
	PREVIOUS, // in the history
	NEXT,
	CLEAR_SCREEN,
	REDRAW,       // the screen was somebody else's for a while
	INTERRUPT,    // Ctrl-C
	END_OF_INPUT, // Ctrl-D: the end on an empty line, else it erases forward
};

struct KeyEvent
{
	Key key = Key::TEXT;
	std::string text; // of TEXT: one character as UTF-8
};
}
