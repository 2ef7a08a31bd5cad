#include "MrvPlatform/windows/MrvConsoleKeys.h"

#include "MrvPlatform/MrvKeyDecoder.h"

#include <algorithm>
#include <optional>

namespace Mrv::Platform::Windows
{
namespace
{
constexpr wchar_t kEndOfInputKey = 26; // Ctrl-Z

std::optional<Key> keyOf(WORD virtualKey, bool isWithControl)
{
	switch (virtualKey)
	{
		case VK_LEFT:
			return isWithControl ? Key::WORD_LEFT : Key::LEFT;
		case VK_RIGHT:
			return isWithControl ? Key::WORD_RIGHT : Key::RIGHT;
		case VK_UP:
			return Key::PREVIOUS;
		case VK_DOWN:
			return Key::NEXT;
		case VK_HOME:
			return Key::HOME;
		case VK_END:
			return Key::END;
		case VK_DELETE:
			return Key::ERASE_FORWARD;
		case VK_BACK:
			return isWithControl ? Key::ERASE_WORD : Key::ERASE_BACK;
		case VK_ESCAPE:
			return Key::ERASE_TO_START;
		default:
			return std::nullopt;
	}
}

void appendCharacter(wchar_t character, std::wstring &pending, std::deque<KeyEvent> &keys)
{
	if (character == kEndOfInputKey)
	{
		keys.push_back({Key::END_OF_INPUT, {}});
		return;
	}
	if (IS_HIGH_SURROGATE(character))
	{
		pending = character;
		return;
	}
	const std::wstring whole = (IS_LOW_SURROGATE(character) ? pending : std::wstring()) + character;
	pending.clear();
	// Control characters mean the same as those of other terminals.
	KeyDecoder decoder;
	for (const char byte : toUtf8(whole))
	{
		decoder.accept(byte, keys);
	}
}
}

void appendKeys(const INPUT_RECORD &record, std::wstring &pending, std::deque<KeyEvent> &keys)
{
	if (record.EventType != KEY_EVENT || !record.Event.KeyEvent.bKeyDown)
	{
		return;
	}
	const KEY_EVENT_RECORD &event = record.Event.KeyEvent;
	const bool isWithControl = (event.dwControlKeyState & (LEFT_CTRL_PRESSED | RIGHT_CTRL_PRESSED)) != 0;
	const std::optional<Key> key = keyOf(event.wVirtualKeyCode, isWithControl);
	for (WORD count = 0; count < std::max<WORD>(event.wRepeatCount, 1); ++count)
	{
		if (key)
		{
			keys.push_back({*key, {}});
		}
		else if (event.uChar.UnicodeChar != 0)
		{
			appendCharacter(event.uChar.UnicodeChar, pending, keys);
		}
	}
}
}
