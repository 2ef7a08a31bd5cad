#include "MrvPlatform/MrvKeyDecoder.h"

namespace Mrv::Platform
{
namespace
{
constexpr char ESCAPE_BYTE = '\x1b';
constexpr char DELETE_BYTE = '\x7f';
constexpr const char *REPLACEMENT = "\xEF\xBF\xBD"; // U+FFFD
constexpr size_t LONGEST_PARAMETERS = 32;           // of a sequence that means anything

void push(std::deque<KeyEvent> &keys, Key key)
{
	keys.push_back({key, {}});
}

void pushControlCharacter(std::deque<KeyEvent> &keys, char byte)
{
	switch (byte)
	{
		case '\t':
			keys.push_back({Key::TEXT, "\t"});
			break;
		case '\r':
		case '\n':
			push(keys, Key::ENTER);
			break;
		case '\b':
		case DELETE_BYTE:
			push(keys, Key::ERASE_BACK);
			break;
		case 'A' - '@':
			push(keys, Key::HOME);
			break;
		case 'B' - '@':
			push(keys, Key::LEFT);
			break;
		case 'C' - '@':
			push(keys, Key::INTERRUPT);
			break;
		case 'D' - '@':
			push(keys, Key::END_OF_INPUT);
			break;
		case 'E' - '@':
			push(keys, Key::END);
			break;
		case 'F' - '@':
			push(keys, Key::RIGHT);
			break;
		case 'K' - '@':
			push(keys, Key::ERASE_TO_END);
			break;
		case 'L' - '@':
			push(keys, Key::CLEAR_SCREEN);
			break;
		case 'N' - '@':
			push(keys, Key::NEXT);
			break;
		case 'P' - '@':
			push(keys, Key::PREVIOUS);
			break;
		case 'U' - '@':
			push(keys, Key::ERASE_TO_START);
			break;
		case 'W' - '@':
			push(keys, Key::ERASE_WORD);
			break;
		default:
			break;
	}
}

// How many bytes follow this first one of a character; 4 when none can begin so.
size_t followingBytes(char byte)
{
	const auto value = static_cast<unsigned char>(byte);
	return value >= 0xC2 && value < 0xE0 ? 1U : value >= 0xE0 && value < 0xF0 ? 2U : value >= 0xF0 && value < 0xF5 ? 3U : 4U;
}
}

void KeyDecoder::accept(char byte, std::deque<KeyEvent> &keys)
{
	switch (fState)
	{
		case State::GROUND:
			acceptGround(byte, keys);
			break;
		case State::CHARACTER:
			acceptCharacter(byte, keys);
			break;
		case State::ESCAPE:
			acceptEscape(byte, keys);
			break;
		case State::CONTROL:
			acceptControl(byte, keys);
			break;
		case State::SINGLE_SHIFT:
			endSequence(byte, keys);
			break;
	}
}

void KeyDecoder::giveUpEscape()
{
	if (isInEscape())
	{
		fState = State::GROUND;
	}
}

void KeyDecoder::acceptGround(char byte, std::deque<KeyEvent> &keys)
{
	const auto value = static_cast<unsigned char>(byte);
	if (byte == ESCAPE_BYTE)
	{
		fState = State::ESCAPE;
	}
	else if (value < ' ' || byte == DELETE_BYTE)
	{
		pushControlCharacter(keys, byte);
	}
	else if (value < 0x80)
	{
		keys.push_back({Key::TEXT, std::string(1, byte)});
	}
	else
	{
		fMissing = followingBytes(byte);
		if (fMissing > 3)
		{
			keys.push_back({Key::TEXT, REPLACEMENT});
			return;
		}
		fCharacter = byte;
		fState = State::CHARACTER;
	}
}

void KeyDecoder::acceptCharacter(char byte, std::deque<KeyEvent> &keys)
{
	if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80U)
	{
		fState = State::GROUND;
		keys.push_back({Key::TEXT, REPLACEMENT});
		acceptGround(byte, keys);
		return;
	}
	fCharacter += byte;
	if (--fMissing == 0)
	{
		fState = State::GROUND;
		keys.push_back({Key::TEXT, fCharacter});
	}
}

void KeyDecoder::acceptEscape(char byte, std::deque<KeyEvent> &keys)
{
	fState = State::GROUND;
	fParameters.clear();
	switch (byte)
	{
		case '[':
			fState = State::CONTROL;
			break;
		case 'O':
			fState = State::SINGLE_SHIFT;
			break;
		case 'b':
			push(keys, Key::WORD_LEFT);
			break;
		case 'f':
			push(keys, Key::WORD_RIGHT);
			break;
		case '\b':
		case DELETE_BYTE:
			push(keys, Key::ERASE_WORD);
			break;
		case ESCAPE_BYTE:
			fState = State::ESCAPE;
			break;
		default:
			if (static_cast<unsigned char>(byte) < ' ')
			{
				acceptGround(byte, keys); // the Escape key, and then another one
			}
			break;
	}
}

void KeyDecoder::acceptControl(char byte, std::deque<KeyEvent> &keys)
{
	if (byte >= '@' && byte <= '~')
	{
		endSequence(byte, keys);
	}
	else if (static_cast<unsigned char>(byte) < ' ')
	{
		fState = State::GROUND;
		acceptGround(byte, keys);
	}
	else if (fParameters.size() < LONGEST_PARAMETERS)
	{
		fParameters += byte;
	}
}

void KeyDecoder::endSequence(char finalByte, std::deque<KeyEvent> &keys)
{
	fState = State::GROUND;
	// ";3" and ";5" behind a key's number: with Alt, with Ctrl.
	const bool isByWords = fParameters.ends_with(";5") || fParameters.ends_with(";3");
	switch (finalByte)
	{
		case 'A':
			push(keys, Key::PREVIOUS);
			break;
		case 'B':
			push(keys, Key::NEXT);
			break;
		case 'C':
			push(keys, isByWords ? Key::WORD_RIGHT : Key::RIGHT);
			break;
		case 'D':
			push(keys, isByWords ? Key::WORD_LEFT : Key::LEFT);
			break;
		case 'F':
			push(keys, Key::END);
			break;
		case 'H':
			push(keys, Key::HOME);
			break;
		case '~':
			if (fParameters == "1" || fParameters == "7")
			{
				push(keys, Key::HOME);
			}
			else if (fParameters == "4" || fParameters == "8")
			{
				push(keys, Key::END);
			}
			else if (fParameters == "3")
			{
				push(keys, Key::ERASE_FORWARD);
			}
			break;
		default:
			break;
	}
}
}
