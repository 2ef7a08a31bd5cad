#include "MrvPlatform/MrvCellWidth.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Mrv::Platform
{
namespace
{
struct Range
{
	char32_t first;
	char32_t last;
};

// Blocks of Unicode whose characters combine with the one before them, or aren't drawn at all. In order.
constexpr std::array kCombining{Range{0x0300, 0x036F}, Range{0x0483, 0x0489}, Range{0x0591, 0x05BD}, Range{0x0610, 0x061A},
    Range{0x064B, 0x065F}, Range{0x06D6, 0x06DC}, Range{0x0E31, 0x0E31}, Range{0x0E34, 0x0E3A}, Range{0x0E47, 0x0E4E},
    Range{0x1AB0, 0x1AFF}, Range{0x1DC0, 0x1DFF}, Range{0x200B, 0x200F}, Range{0x202A, 0x202E}, Range{0x2060, 0x2064},
    Range{0x20D0, 0x20FF}, Range{0x302A, 0x302D}, Range{0x3099, 0x309A}, Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F},
    Range{0xFEFF, 0xFEFF}, Range{0x1F3FB, 0x1F3FF}, Range{0xE0100, 0xE01EF}};

// Blocks of wide characters. In order.
constexpr std::array kWide{Range{0x1100, 0x115F}, Range{0x231A, 0x231B}, Range{0x23E9, 0x23EC}, Range{0x2E80, 0x303E},
    Range{0x3041, 0x33FF}, Range{0x3400, 0x4DBF}, Range{0x4E00, 0x9FFF}, Range{0xA000, 0xA4CF}, Range{0xA960, 0xA97F},
    Range{0xAC00, 0xD7A3}, Range{0xF900, 0xFAFF}, Range{0xFE30, 0xFE6F}, Range{0xFF00, 0xFF60}, Range{0xFFE0, 0xFFE6},
    Range{0x1F300, 0x1F64F}, Range{0x1F680, 0x1F6FF}, Range{0x1F900, 0x1F9FF}, Range{0x1FA70, 0x1FAFF}, Range{0x20000, 0x3FFFD}};

template <class Ranges>
bool isIn(const Ranges &ranges, char32_t character)
{
	const auto range =
	    std::lower_bound(ranges.begin(), ranges.end(), character, [](const Range &left, char32_t right) { return left.last < right; });
	return range != ranges.end() && range->first <= character;
}

// Passes a control sequence (ESC [ parameters, final byte) or another escape of two characters.
void passEscape(std::string_view &text)
{
	if (!text.starts_with('['))
	{
		text.remove_prefix(std::min<size_t>(text.size(), 1));
		return;
	}
	text.remove_prefix(1);
	const auto isFinal = [](char character) { return character >= '@' && character <= '~'; };
	const auto final = std::find_if(text.begin(), text.end(), isFinal);
	text.remove_prefix(std::min(text.size(), static_cast<size_t>(std::distance(text.begin(), final)) + 1));
}
}

size_t cellWidth(char32_t character)
{
	if (character < 0x300)
	{
		return 1;
	}
	if (isIn(kCombining, character))
	{
		return 0;
	}
	return isIn(kWide, character) ? 2 : 1;
}

char32_t takeCharacter(std::string_view &text)
{
	constexpr char32_t REPLACEMENT = 0xFFFD;
	const auto first = static_cast<unsigned char>(text.front());
	text.remove_prefix(1);
	if (first < 0x80)
	{
		return first;
	}
	const size_t following = first >= 0xF0 ? 3U : first >= 0xE0 ? 2U : first >= 0xC0 ? 1U : 0U;
	if (following == 0 || text.size() < following)
	{
		return REPLACEMENT;
	}
	char32_t character = first & (0x3FU >> following);
	for (size_t index = 0; index < following; ++index)
	{
		const auto byte = static_cast<unsigned char>(text[index]);
		if ((byte & 0xC0U) != 0x80U)
		{
			return REPLACEMENT;
		}
		character = (character << 6U) | (byte & 0x3FU);
	}
	text.remove_prefix(following);
	return character;
}

size_t cellsOf(std::string_view text)
{
	size_t cells = 0;
	while (!text.empty())
	{
		const char32_t character = takeCharacter(text);
		if (character == '\x1b')
		{
			passEscape(text);
		}
		else if (character >= ' ' && character != 0x7F)
		{
			cells += cellWidth(character);
		}
	}
	return cells;
}
}
