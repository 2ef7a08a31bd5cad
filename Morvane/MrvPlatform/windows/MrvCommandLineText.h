#pragma once

#include <string>
#include <vector>

namespace Mrv::Platform::Windows
{
// The command line that the runtime of a started program takes apart into these arguments again: each in quotes, separated by a blank.
// A backslash is doubled only in front of a quote, as that runtime's rule has it.
std::string commandLineOf(const std::vector<std::string> &arguments);
}
