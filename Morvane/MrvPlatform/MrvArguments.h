#pragma once

#include <string>
#include <vector>

namespace Mrv::Platform
{
// The process's arguments as UTF-8, the program's own name first. Takes what `main` was given; on Windows that text has been
// through the code page, so the command line is asked instead.
std::vector<std::string> processArguments(int argc, const char *const *argv);
}
