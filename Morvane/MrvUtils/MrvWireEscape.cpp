#include "MrvUtils/MrvWireEscape.h"

#include <cstdint>
#include <cstring>

namespace Mrv
{
namespace
{
using Block [[gnu::vector_size(16)]] = unsigned char; // one register of the baseline of all our machines

// Whether none of the next bytes has an escape in any table: none is a control character or one of `"'\\-`.
bool isPlain(const char *bytes)
{
	Block block{};
	std::memcpy(&block, bytes, sizeof block);
	const auto found = (block < ' ') | (block == '"') | (block == '\'') | (block == '\\') | (block == '-');
	std::array<std::uint64_t, 2> halves{};
	static_assert(sizeof halves == sizeof found);
	std::memcpy(halves.data(), &found, sizeof found);
	return (halves[0] | halves[1]) == 0;
}
}

constexpr WireEscape::WireEscape(char escape) : fEscape(escape)
{
	fLetters.fill(NONE);
	fBytes.fill(NONE);
	add(static_cast<unsigned char>(escape), escape);
}

constexpr void WireEscape::add(unsigned char byte, char letter)
{
	fLetters[byte] = static_cast<signed char>(letter);
	fBytes[static_cast<unsigned char>(letter)] = static_cast<signed char>(byte);
}

constexpr WireEscape WireEscape::makeLines()
{
	WireEscape escape('-');
	escape.add('\n', 'n');
	escape.add('\0', 'z');
	return escape;
}

constexpr WireEscape WireEscape::makeItems()
{
	WireEscape escape('\\');
	escape.add('"', '"');
	escape.add('\'', '\'');
	// What stands for the bytes from 0 to 31, in their order.
	constexpr std::string_view CONTROL_LETTERS = "zSseETAb<tnVfrOIL1234KYPDRC!UFWX";
	static_assert(CONTROL_LETTERS.size() == 32);
	for (std::size_t byte = 0; byte < CONTROL_LETTERS.size(); ++byte)
	{
		escape.add(static_cast<unsigned char>(byte), CONTROL_LETTERS[byte]);
	}
	return escape;
}

const WireEscape &WireEscape::ofLines()
{
	static constexpr WireEscape ESCAPE = makeLines();
	return ESCAPE;
}

const WireEscape &WireEscape::ofItems()
{
	static constexpr WireEscape ESCAPE = makeItems();
	return ESCAPE;
}

// The first byte from there on that has an escape; the size when there is none.
std::size_t WireEscape::findEscaped(std::string_view text, std::size_t pos) const
{
	for (; pos < text.size(); ++pos)
	{
		while (pos + sizeof(Block) <= text.size() && isPlain(text.data() + pos))
		{
			pos += sizeof(Block);
		}
		if (pos < text.size() && fLetters[static_cast<unsigned char>(text[pos])] != NONE)
		{
			break;
		}
	}
	return pos;
}

template <typename Take>
bool WireEscape::handOver(std::string_view text, const Take &take) const
{
	std::size_t begin = 0;
	for (std::size_t i = findEscaped(text, 0); i < text.size(); i = findEscaped(text, i + 1))
	{
		const std::array<char, 2> pair{fEscape, static_cast<char>(fLetters[static_cast<unsigned char>(text[i])])};
		if (!take(text.substr(begin, i - begin)) || !take(std::string_view(pair.data(), pair.size())))
		{
			return false;
		}
		begin = i + 1;
	}
	return take(text.substr(begin));
}

std::string WireEscape::escape(std::string_view text) const
{
	std::string result;
	result.reserve(text.size() + text.size() / 16 + 1);
	handOver(text,
	    [&](std::string_view piece)
	    {
		    result.append(piece);
		    return true;
	    });
	return result;
}

bool WireEscape::write(std::streambuf &stream, std::string_view text) const
{
	return handOver(text,
	    [&](std::string_view piece)
	    {
		    const auto size = static_cast<std::streamsize>(piece.size());
		    return stream.sputn(piece.data(), size) == size;
	    });
}

std::string WireEscape::unescape(std::string text) const
{
	std::size_t at = text.find(fEscape);
	if (at == std::string::npos)
	{
		return text;
	}
	std::size_t end = at; // of what is done
	while (at != std::string::npos && at + 1 < text.size())
	{
		const signed char byte = fBytes[static_cast<unsigned char>(text[at + 1])];
		text[end++] = byte != NONE ? static_cast<char>(byte) : text[at + 1];
		const std::size_t begin = at + 2;
		at = text.find(fEscape, begin);
		const std::size_t size = (at == std::string::npos ? text.size() : at) - begin;
		std::memmove(text.data() + end, text.data() + begin, size);
		end += size;
	}
	text.resize(end);
	return text;
}
}
