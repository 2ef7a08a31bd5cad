#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv
{
// Operations on text. Strings are byte strings, UTF-8 by convention; letters and digits are those of ASCII. Nothing here depends on a
// locale, and nothing throws but `stoll` and `stoull`.
class Utils
{
public:
	// --- Characters and patterns ---

	// Without tabs, line feeds, carriage returns and blanks at both ends.
	static std::string trim(const std::string &text);

	// At least one digit, and nothing else.
	static bool isNumeric(std::string_view text);

	// `$`, `_` or a letter, then the same or digits.
	static bool isIdentifierName(std::string_view text);

	// Whether all of `text` matches: `?` stands for one byte, `*` for any run of bytes, also an empty one.
	static bool isWildCardMatch(std::string_view text, std::string_view pattern);

	// Every occurrence of `from`, left to right, replaced; what was put in isn't looked at again. An empty `from` occurs nowhere.
	static std::string replaceSubStr(const std::string &text, std::string_view from, std::string_view to);

	// The pieces between the separators, one more than there are separators.
	static std::vector<std::string> split(std::string_view text, char separator);

	// --- Names of coordinators ---

	// Pieces joined by dots: the first one an identifier, the others made of `$`, `_`, letters and digits, none empty.
	static bool isCoordinatorName(std::string_view name);

	// The name with the prefix that every coordinator's own name carries. A name that has it, and an empty one, stay as they are.
	static std::string normaliseCoordinatorName(const std::string &name);

	// --- UTF-8 ---

	// The first code point of a text that ends with a NUL, and how many bytes it takes. A text that doesn't begin with UTF-8: 0, with
	// `utf8Length` 0 and a log line. Halves of surrogate pairs pass, since escapes can make them.
	static char32_t UTF8ToUTF(const char *text, std::uint64_t &utf8Length);

	// Appends a code point as UTF-8. One above 0x10FFFF becomes U+FFFD.
	static void appendUTF8(std::string &text, char32_t codePoint);

	// --- Escapes like those of source text ---

	// Escapes control bytes, bytes from 0x7F upward, `\` and the quote character: `\r \t \n \\`, `\` and the quote, otherwise `\xHH`.
	static std::string encodeString(std::string_view text, char quote = '"');

	// Understands what `encodeString` and `encodeWString` write, and `\b` and `\f`. Two `\uHHHH` that are a surrogate pair give one code
	// point; half a pair gives its three bytes. Any other escape gives the character behind the `\`; a last lone `\` gives nothing.
	static std::string decodeString(std::string_view text);

	// The same for code points: from 0x80 upward `\uHHHH`, above 0xFFFF a pair of them.
	static std::string encodeWString(const std::wstring &text);

	// Decodes the escapes, then UTF-8. At a sequence that isn't UTF-8, and at a code point that `wchar_t` can't hold, a log line
	// and the text up to there.
	static std::wstring decodeWString(std::string_view text);

	// `encodeString` between quotes; and back. Text without a quote at both ends is decoded as it is.
	static std::string enquote(std::string_view text, char quote = '"');
	static std::string dequote(std::string_view text, char quote = '"');

	// --- Escapes of the wire ---

	// With `-` as escape character, so that a message fits on one line: line feed and NUL. An unknown pair gives its second character, a
	// last lone escape character nothing.
	static std::string escapeIPC(std::string_view text);
	static std::string unescapeIPC(std::string_view text);

	// With `\` as escape character: control bytes, `"` and `'`, each as `\` and one character of a table.
	static std::string escapeSerializer(std::string_view text);
	static std::string unescapeSerializer(std::string_view text);

	// --- Dates ---

	// Seconds since 1970 taken apart, in UTC; month and day count from 1. False, with a log line and nothing changed, for a date whose
	// year can't be expressed.
	static bool convertFromOMDate(const std::int64_t &date, int &year, int &month, int &day, int &hours, int &minutes, int &seconds);

	// "DD-MM-YYYY HH:MM:SS" in UTC, empty for such a date.
	static std::string dateToString(std::int64_t date);

	// Seconds since 1970 of the moment at which this was built, as far as the compiler tells: its local time taken as UTC.
	static std::int64_t getBuildTime();

	// The same for texts in the compiler's form, "Nov 30 2022" and "00:50:30". 0, with a log line, for others.
	static std::int64_t getBuildTime(const std::string &date, const std::string &time);

	// --- Numbers and truth ---

	// As the standard library's, with texts of our own: `std::invalid_argument` and `std::out_of_range`. For text whose form is known to be
	// good; what comes from outside goes through the checked forms below.
	static std::int64_t stoll(const std::string &text);
	static std::uint64_t stoull(const std::string &text);

	// The number that all of `text` is, decimal, with `-` in front for a negative one. False, with `value` unchanged, for anything else
	// and for one out of range.
	static bool toInt64(std::string_view text, std::int64_t &value);
	static bool toUInt64(std::string_view text, std::uint64_t &value);

	// The decimal number that `text` begins with, an optional sign, fraction and exponent included: how many bytes it takes, 0 when there
	// is none. Correctly rounded; beyond the range of a double an infinity or a zero. No blanks, no names such as "inf".
	static std::size_t parseDouble(std::string_view text, double &value);

	// With six decimals and as many digits before them as it takes; "nan", "inf", "-inf".
	static std::string doubleToString(double value);
	static std::string boolToString(bool value) { return value ? "true" : "false"; }

	// --- Diagnosis ---

	// Prints the length and the bytes, 16 a line, to standard output.
	static void hexDump(std::string_view bytes);
};
}
