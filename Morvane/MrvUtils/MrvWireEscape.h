#pragma once

#include <array>
#include <cstddef>
#include <streambuf>
#include <string>
#include <string_view>

namespace Mrv
{
// An escape of the wire: an escape character, and for some bytes the character that stands behind it for the byte. What has no escape goes
// in one piece, since these functions carry whole documents.
class WireEscape
{
public:
	// For a message that is to fit on a line, with `-`; and for the items that a message is made of, with `\`.
	static const WireEscape &ofLines();
	static const WireEscape &ofItems();

	std::string escape(std::string_view text) const;
	// The same to a stream. False when it doesn't take all of it.
	bool write(std::streambuf &stream, std::string_view text) const;
	// An unknown pair gives its second character, a last lone escape character nothing. In place.
	std::string unescape(std::string text) const;

private:
	static constexpr signed char NONE = -1;

	constexpr explicit WireEscape(char escape);
	constexpr void add(unsigned char byte, char letter);
	static constexpr WireEscape makeLines();
	static constexpr WireEscape makeItems();

	// Hands over the escaped text piece by piece, as long as `take` is true.
	template <typename Take>
	bool handOver(std::string_view text, const Take &take) const;
	std::size_t findEscaped(std::string_view text, std::size_t pos) const;

	char fEscape;
	std::array<signed char, 256> fLetters{};
	std::array<signed char, 256> fBytes{};
};
}
