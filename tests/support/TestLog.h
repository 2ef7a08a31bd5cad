#pragma once

#include "MrvLogger/MrvILogger.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Mrv::Test
{
// Each test begins with a logger of its own as the current one: it keeps its lines instead of writing them, at level WARNING. A line
// at error level that the test hasn't taken by its end fails the test.

// What was logged and not taken yet, oldest first, each as "ERROR: in function text".
const std::vector<std::string> &logLines();

// Takes the oldest line that contains `text`; false when there is none.
bool takeLogLine(const std::string &text);

// Takes all lines.
void takeLogLines();

// The level of the logger of this test.
void setTestLogLevel(std::int32_t logLevel);

// Also keeps the lines of a logger that the code under test has made for itself.
void watchLog(ILogger &logger);
}

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): the failure is to be reported where it stands.
#define EXPECT_LOG(text) EXPECT_TRUE(::Mrv::Test::takeLogLine(text)) << "not logged: " << (text)
