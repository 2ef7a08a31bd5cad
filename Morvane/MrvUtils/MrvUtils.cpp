#include "MrvUtils/MrvUtils.h"

#include "MrvPlatform/MrvConsole.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr std::string_view kBlanks = "\t\n\r ";
constexpr std::string_view kCoordinatorPrefix = "net.morvane.coordinator.";

bool isDigit(char character)
{
	return character >= '0' && character <= '9';
}

// A character that may begin an identifier.
bool isIdentifierStart(char character)
{
	return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_' || character == '$';
}

bool isIdentifierPart(char character)
{
	return isIdentifierStart(character) || isDigit(character);
}
}

std::string Utils::trim(const std::string &text)
{
	const std::size_t first = text.find_first_not_of(kBlanks);
	return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool Utils::isNumeric(std::string_view text)
{
	return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

bool Utils::isIdentifierName(std::string_view text)
{
	return !text.empty() && isIdentifierStart(text.front()) && std::all_of(text.begin(), text.end(), isIdentifierPart);
}

// A mismatch goes back to the last `*` alone and lets it swallow one byte more. Earlier ones need no second try: what they could
// still swallow, the last one can as well. So the time is at most the product of both lengths.
bool Utils::isWildCardMatch(std::string_view text, std::string_view pattern)
{
	std::size_t textPos = 0;
	std::size_t patternPos = 0;
	std::size_t lastStar = std::string_view::npos;
	std::size_t swallowedUpTo = 0;
	while (textPos < text.size())
	{
		if (patternPos < pattern.size() && pattern[patternPos] == '*')
		{
			lastStar = patternPos++;
			swallowedUpTo = textPos;
		}
		else if (patternPos < pattern.size() && (pattern[patternPos] == '?' || pattern[patternPos] == text[textPos]))
		{
			++textPos;
			++patternPos;
		}
		else if (lastStar != std::string_view::npos)
		{
			patternPos = lastStar + 1;
			textPos = ++swallowedUpTo;
		}
		else
		{
			return false;
		}
	}
	return pattern.find_first_not_of('*', patternPos) == std::string_view::npos;
}

std::string Utils::replaceSubStr(const std::string &text, std::string_view from, std::string_view to)
{
	if (from.empty())
	{
		return text;
	}
	std::string result;
	std::size_t pos = 0;
	for (std::size_t found = text.find(from); found != std::string::npos; found = text.find(from, pos))
	{
		result.append(text, pos, found - pos).append(to);
		pos = found + from.size();
	}
	return result.append(text, pos);
}

std::vector<std::string> Utils::split(std::string_view text, char separator)
{
	std::vector<std::string> pieces;
	for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator))
	{
		pieces.emplace_back(text.substr(0, end));
		text.remove_prefix(end + 1);
	}
	pieces.emplace_back(text);
	return pieces;
}

bool Utils::isCoordinatorName(std::string_view name)
{
	if (!isIdentifierName(name.substr(0, name.find('.'))))
	{
		return false;
	}
	char before = '.';
	for (const char character : name)
	{
		if (character == '.' ? before == '.' : !isIdentifierPart(character))
		{
			return false;
		}
		before = character;
	}
	return before != '.';
}

std::string Utils::normaliseCoordinatorName(const std::string &name)
{
	return name.empty() || name.starts_with(kCoordinatorPrefix) ? name : std::string(kCoordinatorPrefix) + name;
}

void Utils::hexDump(std::string_view bytes)
{
	constexpr std::string_view kDigits = "0123456789ABCDEF";
	constexpr std::size_t kBytesPerLine = 16;
	std::string text = "dump length = " + std::to_string(bytes.size());
	for (std::size_t i = 0; i < bytes.size(); ++i)
	{
		const auto byte = static_cast<unsigned char>(bytes[i]);
		text += i % kBytesPerLine == 0 ? '\n' : ' ';
		text += kDigits[byte >> 4];
		text += kDigits[byte & 0xF];
	}
	text += '\n';
	Platform::console().write(Platform::StandardStream::OUTPUT, text);
}
}
