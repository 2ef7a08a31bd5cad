#pragma once

#include <string>
#include <vector>

// The test program as another process: started with `--helper NAME ARGUMENTS...` it does one small thing instead of running tests.
namespace Mrv::Test
{
// The arguments that start a helper.
std::vector<std::string> helperArguments(const std::vector<std::string> &arguments);

// Whether this process is a helper; then it has done its work, and `status` is its exit status.
bool runHelper(int argc, const char *const *argv, int &status);

// Starts a helper and gives its process id; 0, and a failed test, when that fails.
unsigned startHelper(const std::vector<std::string> &arguments);
}
