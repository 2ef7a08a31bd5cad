#pragma once

#include <cstddef>
#include <string_view>

// How much room text takes on a terminal, whose rows are divided into cells.
namespace Mrv::Platform
{
// Cells of a character: 0 for one that is drawn over the character before it, 2 for wide ones (East Asian scripts, emoji), else 1.
size_t cellWidth(char32_t character);

// Takes the first character off a text of UTF-8. A byte that begins none is taken as U+FFFD. The text must not be empty.
char32_t takeCharacter(std::string_view &text);

// Cells of a text; control sequences that set colours and the like take none, other control characters neither.
size_t cellsOf(std::string_view text);
}
