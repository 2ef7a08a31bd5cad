#include "MrvPlatform/windows/MrvConsoleKeys.h"

#include "MrvPlatform/MrvConsole.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Platform::Key;
using Platform::KeyEvent;

INPUT_RECORD keyRecord(WORD virtualKey, wchar_t character, DWORD controlState = 0, WORD repeatCount = 1, BOOL isDown = TRUE)
{
	INPUT_RECORD record{};
	record.EventType = KEY_EVENT;
	record.Event.KeyEvent.bKeyDown = isDown;
	record.Event.KeyEvent.wRepeatCount = repeatCount;
	record.Event.KeyEvent.wVirtualKeyCode = virtualKey;
	record.Event.KeyEvent.uChar.UnicodeChar = character;
	record.Event.KeyEvent.dwControlKeyState = controlState;
	return record;
}

class ConsoleKeysWindowsTest : public testing::Test
{
protected:
	std::deque<KeyEvent> keysOf(const INPUT_RECORD &record)
	{
		std::deque<KeyEvent> keys;
		Platform::Windows::appendKeys(record, fPending, keys);
		return keys;
	}

	std::wstring fPending;
};

TEST_F(ConsoleKeysWindowsTest, KeysByTheirMeaning)
{
	const struct
	{
		WORD virtualKey;
		wchar_t character;
		DWORD controlState;
		Key key;
	} cases[] = {
	    {VK_LEFT, 0, ENHANCED_KEY, Key::LEFT},
	    {VK_LEFT, 0, LEFT_CTRL_PRESSED, Key::WORD_LEFT},
	    {VK_RIGHT, 0, RIGHT_CTRL_PRESSED, Key::WORD_RIGHT},
	    {VK_UP, 0, 0, Key::PREVIOUS},
	    {VK_DOWN, 0, 0, Key::NEXT},
	    {VK_HOME, 0, 0, Key::HOME},
	    {VK_END, 0, 0, Key::END},
	    {VK_DELETE, 0, 0, Key::ERASE_FORWARD},
	    {VK_BACK, L'\b', 0, Key::ERASE_BACK},
	    {VK_BACK, 0x7F, LEFT_CTRL_PRESSED, Key::ERASE_WORD},
	    {VK_RETURN, L'\r', 0, Key::ENTER},
	    {'A', 1, LEFT_CTRL_PRESSED, Key::HOME},
	    {'C', 3, LEFT_CTRL_PRESSED, Key::INTERRUPT},
	    {'D', 4, LEFT_CTRL_PRESSED, Key::END_OF_INPUT},
	    {'Z', 26, LEFT_CTRL_PRESSED, Key::END_OF_INPUT},
	};
	for (const auto &[virtualKey, character, controlState, key] : cases)
	{
		const auto keys = keysOf(keyRecord(virtualKey, character, controlState));
		ASSERT_EQ(keys.size(), 1U) << virtualKey;
		EXPECT_EQ(static_cast<int>(keys[0].key), static_cast<int>(key)) << virtualKey;
	}
}

TEST_F(ConsoleKeysWindowsTest, Characters)
{
	EXPECT_EQ(keysOf(keyRecord('X', L'x')).at(0).text, "x");
	EXPECT_EQ(keysOf(keyRecord('X', L'x', 0, 3)).size(), 3U);
	EXPECT_TRUE(keysOf(keyRecord('X', L'x', 0, 1, FALSE)).empty());
	EXPECT_TRUE(keysOf(keyRecord(VK_SHIFT, 0)).empty());
	EXPECT_EQ(keysOf(keyRecord(0, 0x65E5)).at(0).text, "\xe6\x97\xa5");
	// With AltGr, which the system tells as Ctrl and Alt.
	EXPECT_EQ(keysOf(keyRecord('Q', L'@', LEFT_CTRL_PRESSED | RIGHT_ALT_PRESSED)).at(0).text, "@");
	// A character in two events.
	EXPECT_TRUE(keysOf(keyRecord(0, 0xD83D)).empty());
	EXPECT_EQ(keysOf(keyRecord(0, 0xDE00)).at(0).text, "\xf0\x9f\x98\x80");
	INPUT_RECORD mouse{};
	mouse.EventType = MOUSE_EVENT;
	EXPECT_TRUE(keysOf(mouse).empty());
}
}
}
