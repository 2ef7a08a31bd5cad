// Escapes and UTF-8. Runs of bytes that stand for themselves are appended in one piece: these functions carry whole documents.
#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvUtils.h"
#include "MrvUtils/MrvWireEscape.h"

#include <limits>

namespace Mrv
{
namespace
{
constexpr std::string_view kHexDigits = "0123456789ABCDEF";
constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;

bool isHighSurrogate(char32_t codePoint)
{
	return codePoint >= 0xD800 && codePoint <= 0xDBFF;
}

bool isLowSurrogate(char32_t codePoint)
{
	return codePoint >= 0xDC00 && codePoint <= 0xDFFF;
}

// One code point of UTF-8; its length, 0 when `text` doesn't begin with one. Longer forms than needed aren't accepted.
std::size_t decodeUTF8(std::string_view text, char32_t &codePoint)
{
	const auto byteAt = [text](std::size_t pos) { return static_cast<unsigned char>(text[pos]); };
	const unsigned lead = text.empty() ? 0xFFU : byteAt(0);
	if (lead < 0x80)
	{
		codePoint = lead;
		return 1;
	}
	const std::size_t length = lead >= 0xF8 || lead < 0xC0 ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
	if (length == 0 || length > text.size())
	{
		return 0;
	}
	char32_t value = lead & (0x7FU >> length);
	for (std::size_t i = 1; i < length; ++i)
	{
		if ((byteAt(i) & 0xC0U) != 0x80U)
		{
			return 0;
		}
		value = (value << 6) | (byteAt(i) & 0x3FU);
	}
	constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
	if (value < kSmallest[length] || value > kLastCodePoint)
	{
		return 0;
	}
	codePoint = value;
	return length;
}

void appendHex(std::string &text, char32_t value, int digitCount)
{
	for (int shift = 4 * (digitCount - 1); shift >= 0; shift -= 4)
	{
		text += kHexDigits[(value >> shift) & 0xF];
	}
}

void appendUnicodeEscape(std::string &text, char32_t value)
{
	text += "\\u";
	appendHex(text, value, 4);
}

// Appends what stands for a code point below 0x80, or for a byte.
void appendEncoded(std::string &text, unsigned char byte, char quote)
{
	switch (byte)
	{
		case '\r':
			text += "\\r";
			return;
		case '\t':
			text += "\\t";
			return;
		case '\n':
			text += "\\n";
			return;
		case '\\':
			text += "\\\\";
			return;
		default:
			break;
	}
	if (byte == static_cast<unsigned char>(quote))
	{
		text += '\\';
		text += quote;
	}
	else if (byte < 0x20 || byte >= 0x7F)
	{
		text += "\\x";
		appendHex(text, byte, 2);
	}
	else
	{
		text += static_cast<char>(byte);
	}
}

// The value of exactly `count` hexadecimal digits at `pos`; false when they aren't there.
bool readHex(std::string_view text, std::size_t pos, std::size_t count, char32_t &value)
{
	if (text.size() < pos || text.size() - pos < count)
	{
		return false;
	}
	char32_t result = 0;
	for (std::size_t i = pos; i < pos + count; ++i)
	{
		const char character = text[i];
		const char upper = static_cast<char>(character & ~0x20);
		if (character >= '0' && character <= '9')
		{
			result = result * 16 + static_cast<char32_t>(character - '0');
		}
		else if (upper >= 'A' && upper <= 'F')
		{
			result = result * 16 + static_cast<char32_t>(upper - 'A' + 10);
		}
		else
		{
			return false;
		}
	}
	value = result;
	return true;
}

// Appends what the escape means whose `\` stands before `pos`; the position behind it.
std::size_t decodeEscape(std::string_view text, std::size_t pos, std::string &result)
{
	constexpr std::size_t kUnicodeDigits = 4;
	char32_t value = 0;
	switch (text[pos])
	{
		case 'r':
			result += '\r';
			return pos + 1;
		case 't':
			result += '\t';
			return pos + 1;
		case 'n':
			result += '\n';
			return pos + 1;
		case 'b':
			result += '\b';
			return pos + 1;
		case 'f':
			result += '\f';
			return pos + 1;
		case 'x':
			if (readHex(text, pos + 1, 2, value))
			{
				result += static_cast<char>(value);
				return pos + 3;
			}
			break;
		case 'u':
			if (readHex(text, pos + 1, kUnicodeDigits, value))
			{
				pos += 1 + kUnicodeDigits;
				char32_t low = 0;
				if (isHighSurrogate(value) && text.substr(pos, 2) == "\\u" && readHex(text, pos + 2, kUnicodeDigits, low) &&
				    isLowSurrogate(low))
				{
					value = 0x10000 + ((value - 0xD800) << 10) + (low - 0xDC00);
					pos += 2 + kUnicodeDigits;
				}
				Utils::appendUTF8(result, value);
				return pos;
			}
			break;
		default:
			break;
	}
	result += text[pos];
	return pos + 1;
}
}

char32_t Utils::UTF8ToUTF(const char *text, std::uint64_t &utf8Length)
{
	// The NUL at the end is no continuation byte, so nothing behind it is looked at.
	std::string_view bytes(text, 1);
	while (bytes.size() < 4 && bytes.back() != '\0')
	{
		bytes = std::string_view(text, bytes.size() + 1);
	}
	char32_t codePoint = 0;
	utf8Length = decodeUTF8(bytes, codePoint);
	SANITY_CHECK(utf8Length > 0, return 0);
	return codePoint;
}

void Utils::appendUTF8(std::string &text, char32_t codePoint)
{
	if (codePoint > kLastCodePoint)
	{
		codePoint = kReplacementCharacter;
	}
	const auto continuation = [codePoint](int shift) { return static_cast<char>(0x80U | ((codePoint >> shift) & 0x3FU)); };
	if (codePoint < 0x80)
	{
		text += static_cast<char>(codePoint);
	}
	else if (codePoint < 0x800)
	{
		text += {static_cast<char>(0xC0U | (codePoint >> 6)), continuation(0)};
	}
	else if (codePoint < 0x10000)
	{
		text += {static_cast<char>(0xE0U | (codePoint >> 12)), continuation(6), continuation(0)};
	}
	else
	{
		text += {static_cast<char>(0xF0U | (codePoint >> 18)), continuation(12), continuation(6), continuation(0)};
	}
}

std::string Utils::encodeString(std::string_view text, char quote)
{
	std::string result;
	result.reserve(text.size() + 2);
	for (const char character : text)
	{
		appendEncoded(result, static_cast<unsigned char>(character), quote);
	}
	return result;
}

std::string Utils::decodeString(std::string_view text)
{
	std::string result;
	result.reserve(text.size());
	std::size_t pos = 0;
	for (std::size_t escape = text.find('\\'); escape != std::string_view::npos; escape = text.find('\\', pos))
	{
		result.append(text, pos, escape - pos);
		pos = escape + 1;
		if (pos == text.size())
		{
			return result;
		}
		pos = decodeEscape(text, pos, result);
	}
	return result.append(text, pos);
}

std::string Utils::encodeWString(const std::wstring &text)
{
	std::string result;
	for (const wchar_t character : text)
	{
		char32_t codePoint = static_cast<char32_t>(character);
		if (codePoint > kLastCodePoint)
		{
			codePoint = kReplacementCharacter;
		}
		if (codePoint < 0x80)
		{
			appendEncoded(result, static_cast<unsigned char>(codePoint), '"');
		}
		else if (codePoint <= 0xFFFF)
		{
			appendUnicodeEscape(result, codePoint);
		}
		else
		{
			const char32_t offset = codePoint - 0x10000;
			appendUnicodeEscape(result, 0xD800 + (offset >> 10));
			appendUnicodeEscape(result, 0xDC00 + (offset & 0x3FF));
		}
	}
	return result;
}

std::wstring Utils::decodeWString(std::string_view text)
{
	const std::string decoded = decodeString(text);
	std::wstring result;
	for (std::string_view rest = decoded; !rest.empty();)
	{
		char32_t codePoint = 0;
		const std::size_t length = decodeUTF8(rest, codePoint);
		if (length == 0)
		{
			LOG_ERROR("cannot decode UTF8");
			return result;
		}
		if (std::uint64_t{codePoint} > static_cast<std::uint64_t>(std::numeric_limits<wchar_t>::max()))
		{
			LOG_ERROR("UTF char does not fit in wchar_t");
			return result;
		}
		result += static_cast<wchar_t>(codePoint);
		rest.remove_prefix(length);
	}
	return result;
}

std::string Utils::enquote(std::string_view text, char quote)
{
	std::string result;
	result.reserve(text.size() + 2);
	result += quote;
	for (const char character : text)
	{
		appendEncoded(result, static_cast<unsigned char>(character), quote);
	}
	return result += quote;
}

std::string Utils::dequote(std::string_view text, char quote)
{
	if (text.size() >= 2 && text.front() == quote && text.back() == quote)
	{
		text = text.substr(1, text.size() - 2);
	}
	return decodeString(text);
}

std::string Utils::escapeIPC(std::string_view text)
{
	return WireEscape::ofLines().escape(text);
}

std::string Utils::unescapeIPC(std::string_view text)
{
	return WireEscape::ofLines().unescape(std::string(text));
}

std::string Utils::escapeSerializer(std::string_view text)
{
	return WireEscape::ofItems().escape(text);
}

std::string Utils::unescapeSerializer(std::string_view text)
{
	return WireEscape::ofItems().unescape(std::string(text));
}
}
