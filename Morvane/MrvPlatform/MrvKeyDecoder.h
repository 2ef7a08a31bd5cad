#pragma once

#include "MrvPlatform/MrvKeyEvent.h"

#include <cstdint>
#include <deque>
#include <string>

namespace Mrv::Platform
{
// Turns the bytes that a terminal sends into keys: UTF-8 characters, control characters, and the escape sequences of the ANSI terminals
// (ECMA-48 control sequences with the usual keys, and their SS3 forms). An unknown sequence is passed over as a whole; what isn't UTF-8
// becomes U+FFFD.
class KeyDecoder
{
public:
	void accept(char byte, std::deque<KeyEvent> &keys);

	// An escape sequence has begun and may go on. A person's Escape key looks the same, so that whoever feeds the decoder gives up after
	// a while.
	bool isInEscape() const { return fState == State::ESCAPE || fState == State::CONTROL || fState == State::SINGLE_SHIFT; }
	void giveUpEscape();

private:
	enum class State : uint8_t
	{
		GROUND,
		CHARACTER,    // in the middle of a UTF-8 character
		ESCAPE,       // behind ESC
		CONTROL,      // behind ESC [
		SINGLE_SHIFT, // behind ESC O
	};

	void acceptGround(char byte, std::deque<KeyEvent> &keys);
	void acceptCharacter(char byte, std::deque<KeyEvent> &keys);
	void acceptEscape(char byte, std::deque<KeyEvent> &keys);
	void acceptControl(char byte, std::deque<KeyEvent> &keys);
	void endSequence(char finalByte, std::deque<KeyEvent> &keys);

	State fState = State::GROUND;
	std::string fCharacter;  // so far
	std::string fParameters; // of the control sequence so far
	size_t fMissing = 0;     // bytes of the character
};
}
