#pragma once

#include <optional>
#include <string>

namespace Mrv::Platform
{
// The absolute path of the file that this code was loaded from: the program, or the library when a host has loaded it as one.
// None when the system can't tell.
std::optional<std::string> modulePath();
}
