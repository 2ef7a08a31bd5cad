#pragma once

#include "MrvParser/Node/MrvValue.h"

#include <string>
#include <string_view>

namespace Mrv
{
class NodeWalk;

// What values are worth as other types, and their two renderings. None of them suspends.

bool getAsBool(const Value &value);
// NaN for what is no number; a String is parsed, and one that holds no number logs a line.
double getAsNum(const Value &value);
// The value as 64 bits; -1 for what is no integer.
int64_t getAsBits(const Value &value);

// The text of a value as `+` and `toString` of the language use it: Strings bare, the elements of an Array joined with commas. Appends to
// `text`; false when a limit of the walk was reached (the text then ends somewhere).
bool appendAsString(std::string &text, const Value &value, NodeWalk &walk);
// The same in one go; false and a log line when a limit was reached.
bool getAsString(const Value &value, std::string &text);
// Appends the text of a value to a String that is being built up; false and a log line when it would be too long or a limit was reached
// (the text is as before then).
bool appendInPlace(std::string &text, const Value &value);
// For log lines and program code: the text, or "error" when a limit was reached.
std::string getAsString(const Value &value);

// The literal rendering: Strings in quotes, Arrays and Maps as literals, Maps in the byte order of their keys.
bool appendToString(std::string &text, const Value &value, NodeWalk &walk);

// Where the text of an Expression is to stand; other values read the same everywhere.
enum class TextPlace : uint8_t
{
	WHOLE,
	LIST,     // an element, argument, property or index: a comma would end it
	BLOCK,    // all that stands between two braces
	BRACKETS, // an operand that needs them: they are added
};
bool appendToString(std::string &text, const Value &value, TextPlace place, NodeWalk &walk);
bool toString(const Value &value, std::string &text);
std::string toString(const Value &value);
// Appends the literal for another process, where a Date and a GUID are Strings. False and a log line when a limit was reached; the text is
// as before then.
bool appendForTransfer(std::string &text, const Value &value);

// A decimal number without sign that fits: the position that an attribute name addresses in an Array.
bool parseIndex(std::string_view text, size_t &index);

// What `typeof` answers.
const char *getTypeText(const Value &value);

// 64-bit FNV-1a of the value: equal for values that are equal under `==` (but Undefined and Null differ). A cycle, and what
// lies beyond the nesting limit, does not count.
uint64_t computeHash(const Value &value);
uint64_t computeHash(const Value &value, NodeWalk &walk);

// A copy whose containers are its own down to `level` levels: 0 shares the container, ALL_LEVELS shares nothing. A limit
// gives an Error and a log line.
constexpr size_t ALL_LEVELS = static_cast<size_t>(-1);
Value cloneValue(const Value &value, size_t level);
}
