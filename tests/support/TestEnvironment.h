#pragma once

#include <string>

namespace Mrv::Test
{

/** Sets a variable of this process's environment, and so of the processes it starts; name and value are UTF-8. False when the system
    refuses. An empty value removes the variable on Windows and leaves it empty elsewhere. */
bool setEnvironmentVariable(const std::string &name, const std::string &value);

} // namespace Mrv::Test
