#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// The character classes of the language. Only ASCII belongs to any; the end of the input (negative) belongs to none.
namespace Mrv::ParserCharacters
{
constexpr uint8_t BLANK = 1;    // TAB, LF, CR, SPACE
constexpr uint8_t LINE_END = 2; // LF, CR
constexpr uint8_t DIGIT = 4;
constexpr uint8_t IDENTIFIER_START = 8; // letters, `_`, `$`
constexpr uint8_t PERCENT = 16;         // stands in names of attributes only

constexpr uint8_t IDENTIFIER = IDENTIFIER_START | DIGIT;
constexpr uint8_t KEY_START = IDENTIFIER_START | PERCENT;
constexpr uint8_t KEY = IDENTIFIER | PERCENT;

constexpr std::array<uint8_t, 256> makeClasses()
{
	std::array<uint8_t, 256> classes{};
	classes['\t'] = classes[' '] = BLANK;
	classes['\n'] = classes['\r'] = BLANK | LINE_END;
	classes['%'] = PERCENT;
	classes['_'] = classes['$'] = IDENTIFIER_START;
	for (size_t i = 0; i < 10; ++i)
	{
		classes['0' + i] = DIGIT;
	}
	for (size_t i = 0; i < 26; ++i)
	{
		classes['a' + i] = classes['A' + i] = IDENTIFIER_START;
	}
	return classes;
}
inline constexpr std::array<uint8_t, 256> CLASSES = makeClasses();

constexpr bool is(int32_t character, uint8_t classes)
{
	return character >= 0 && (CLASSES[static_cast<uint8_t>(character)] & classes) != 0;
}

// How many bytes at the beginning of a text belong to these classes.
constexpr size_t countLeading(std::string_view text, uint8_t classes)
{
	size_t count = 0;
	while (count < text.size() && (CLASSES[static_cast<uint8_t>(text[count])] & classes) != 0)
	{
		++count;
	}
	return count;
}
}
