#include "MrvParser/Node/MrvNumberScanner.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace Mrv
{
namespace
{
constexpr int HEXADECIMAL = 16;

bool isBlank(int character)
{
	return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

int digitValue(int character)
{
	if (character >= '0' && character <= '9')
	{
		return character - '0';
	}
	if (character >= 'a' && character <= 'z')
	{
		return character - 'a' + 10;
	}
	return character >= 'A' && character <= 'Z' ? character - 'A' + 10 : std::numeric_limits<int>::max();
}

// The double nearest to the text. Beyond the range of doubles it is infinite or zero, as the exponent says.
double parseDouble(const std::string &text)
{
	double value = 0;
	const auto outcome = std::from_chars(text.data(), text.data() + text.size(), value);
	if (outcome.ec == std::errc::result_out_of_range)
	{
		// Small or large? The first digit that counts, and the exponent, tell.
		const size_t exponentAt = text.find_first_of("eE");
		const size_t firstDigit = text.find_first_of("123456789");
		const size_t pointAt = std::min(text.find('.'), std::min(exponentAt, text.size()));
		const bool isNegativeExponent = exponentAt != std::string::npos && text[exponentAt + 1] == '-';
		const bool isBelowOne = firstDigit > pointAt;
		return isNegativeExponent || (isBelowOne && exponentAt == std::string::npos) ? 0.0 : std::numeric_limits<double>::infinity();
	}
	return value;
}
}

int NumberScanner::getRadix() const
{
	return fBase > 0 ? fBase : 10;
}

bool NumberScanner::isDigitOfBase(int character) const
{
	return digitValue(character) < getRadix();
}

bool NumberScanner::take(int character, State next)
{
	fDigits.push_back(static_cast<char>(character));
	fState = next;
	return true;
}

bool NumberScanner::acceptStart(int character)
{
	if (fState == State::BEFORE)
	{
		if (isBlank(character))
		{
			return true;
		}
		if (character == '+' || character == '-')
		{
			fIsNegative = character == '-';
			fState = State::SIGN;
			return true;
		}
	}
	if (character == '0' && fBase == AUTO)
	{
		return take(character, State::ZERO);
	}
	if (isDigitOfBase(character))
	{
		return take(character, State::DIGITS);
	}
	return character == '.' && fBase < 0 && take(character, State::POINT);
}

bool NumberScanner::acceptAfterDigits(int character)
{
	if (fState == State::DIGITS && isDigitOfBase(character))
	{
		return take(character, State::DIGITS);
	}
	if (fBase > 0)
	{
		return false;
	}
	if (character == '.')
	{
		return fState != State::FRACTION_PART && take(character, State::FRACTION_PART);
	}
	return (character == 'e' || character == 'E') && take(character, State::EXPONENT);
}

bool NumberScanner::accept(int character)
{
	const bool isDecimal = character >= '0' && character <= '9';
	switch (fState)
	{
		case State::BEFORE:
		case State::SIGN:
			return acceptStart(character);
		case State::ZERO:
			if (character == 'x' || character == 'X')
			{
				fBase = HEXADECIMAL;
				fDigits.clear();
				fState = State::HEX;
				return true;
			}
			fState = State::DIGITS;
			return acceptAfterDigits(character);
		case State::HEX:
			return isDigitOfBase(character) && take(character, State::HEX);
		case State::DIGITS:
			return acceptAfterDigits(character);
		case State::POINT:
			return isDecimal && take(character, State::FRACTION_PART);
		case State::FRACTION_PART:
			return isDecimal ? take(character, State::FRACTION_PART) : acceptAfterDigits(character);
		case State::EXPONENT:
			if (character == '+' || character == '-')
			{
				return take(character, State::EXPONENT_SIGN);
			}
			return isDecimal && take(character, State::EXPONENT_DIGITS);
		case State::EXPONENT_SIGN:
		case State::EXPONENT_DIGITS:
			return isDecimal && take(character, State::EXPONENT_DIGITS);
	}
	return false;
}

Value NumberScanner::finishInRadix() const
{
	const int radix = getRadix();
	uint64_t whole = 0;
	double approximate = 0;
	bool isExact = true;
	for (const char digit : fDigits)
	{
		const auto value = static_cast<uint64_t>(digitValue(static_cast<unsigned char>(digit)));
		const auto factor = static_cast<uint64_t>(radix);
		isExact = isExact && whole <= (static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) - value) / factor;
		whole = whole * factor + value;
		approximate = approximate * static_cast<double>(radix) + static_cast<double>(value);
	}
	if (isExact)
	{
		const auto magnitude = static_cast<int64_t>(whole);
		return Value::integer(fIsNegative ? -magnitude : magnitude);
	}
	if (radix == 10)
	{
		approximate = parseDouble(fDigits);
	}
	else if (radix == HEXADECIMAL)
	{
		const auto outcome = std::from_chars(fDigits.data(), fDigits.data() + fDigits.size(), approximate, std::chars_format::hex);
		if (outcome.ec == std::errc::result_out_of_range)
		{
			approximate = std::numeric_limits<double>::infinity();
		}
	}
	return Value::number(fIsNegative ? -approximate : approximate);
}

Value NumberScanner::finish(bool &isNumber) const
{
	isNumber = false;
	switch (fState)
	{
		case State::BEFORE:
		case State::SIGN:
		case State::POINT:
		case State::EXPONENT:
		case State::EXPONENT_SIGN:
			return Value::nan();
		case State::HEX:
			if (fDigits.empty())
			{
				return Value::nan();
			}
			[[fallthrough]];
		case State::ZERO:
		case State::DIGITS:
			isNumber = true;
			return finishInRadix();
		case State::FRACTION_PART:
		case State::EXPONENT_DIGITS:
			break;
	}
	isNumber = true;
	const double magnitude = parseDouble(fDigits);
	return Value::number(fIsNegative ? -magnitude : magnitude);
}

// "12e" and "0x" hold a number all the same where something may follow it: 12 and 0.
void NumberScanner::dropIncompleteTail()
{
	if (fState == State::EXPONENT || fState == State::EXPONENT_SIGN)
	{
		fDigits.erase(fDigits.find_first_of("eE"));
		fState = State::FRACTION_PART;
	}
	else if (fState == State::HEX && fDigits.empty())
	{
		fDigits = "0";
	}
}

bool NumberScanner::parse(std::string_view text, int base, bool mayHaveRest, Value &result)
{
	NumberScanner scanner(base);
	size_t position = 0;
	while (position < text.size() && scanner.accept(static_cast<unsigned char>(text[position])))
	{
		++position;
	}
	if (mayHaveRest)
	{
		scanner.dropIncompleteTail();
	}
	bool isNumber = false;
	result = scanner.finish(isNumber);
	while (isNumber && position < text.size() && isBlank(static_cast<unsigned char>(text[position])))
	{
		++position;
	}
	if (!isNumber || (!mayHaveRest && position < text.size()))
	{
		result = Value::nan();
		return false;
	}
	return true;
}
}
