#pragma once

#include "MrvParser/Node/MrvValue.h"

#include <string>
#include <string_view>

namespace Mrv
{
// Reads a number character by character, so that the parser can stop between any two. Pure digits that fit 64 bits are an
// exact Int; everything else is the correctly rounded double, an Int where that is integral.
class NumberScanner
{
public:
	// Bases from 2 to 36 read digits only; FRACTION also takes a fraction and an exponent; AUTO also a "0x" prefix.
	static constexpr int FRACTION = -1;
	static constexpr int AUTO = -3;

	explicit NumberScanner(int base) : fBase(base) {}

	// Offers the next character (0 to 255, or -1 for the end). True: it belongs to the number. False: the number ended
	// in front of it.
	bool accept(int character);
	// The value; NaN with `isNumber` false when there was no digit where one is needed.
	Value finish(bool &isNumber) const;

	// A whole text: blanks around the number are allowed. With `mayHaveRest` the number may be followed by anything, else that makes it
	// no number. False and NaN when it is none.
	static bool parse(std::string_view text, int base, bool mayHaveRest, Value &result);

private:
	enum class State : uint8_t
	{
		BEFORE,         // blanks before the number
		SIGN,           // after the sign
		ZERO,           // after a leading 0 that may begin "0x"
		HEX,            // after "0x", digits of base 16
		DIGITS,         // whole digits
		POINT,          // after '.' with no digit yet anywhere
		FRACTION_PART,  // digits behind '.'
		EXPONENT,       // after 'e'
		EXPONENT_SIGN,  // after the exponent's sign
		EXPONENT_DIGITS // digits of the exponent
	};

	bool acceptStart(int character);
	bool acceptAfterDigits(int character);
	bool isDigitOfBase(int character) const;
	bool take(int character, State next);
	void dropIncompleteTail();
	int getRadix() const;
	Value finishInRadix() const;

	int fBase;
	State fState = State::BEFORE;
	bool fIsNegative = false;
	std::string fDigits; // everything but the sign and the prefix
};
}
