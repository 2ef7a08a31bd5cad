#pragma once

#include "MrvLogger/MrvILogger.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Mrv::Test
{
struct LogLine
{
	std::string label; // "ERROR", "WARN ", "NOTE ", "TRACE"; empty for a line of another form
	std::string text;  // without time, label and function
};

// What is logged during a test. Each test starts with a logger of its own at level WARNING. An error line that nobody expected
// fails the test in which it appears; lines of other levels don't.
class TestLog
{
public:
	// Called by main, once, before the tests. Lines are also written to a file in `folder`, which must exist.
	static void install(const std::string &folder);

	// Also listens to a logger that the code under test made for itself. It must not outlive the test as the current one.
	static void watch(ILogger &logger);

	// The lines of this test that have not been taken yet, in order. They count as expected from now on.
	static std::vector<LogLine> take();

	// Takes the lines that contain the text and gives their number.
	static std::size_t take(const std::string &text);
};

// Demands a log line: `const ExpectLog expected("insufficient arguments");`. Fails the test when the scope ends and no line, or
// not the given number of lines, contains the text. The lines that do contain it are expected, at whatever level.
class ExpectLog
{
public:
	static constexpr std::size_t AT_LEAST_ONE = 0;

	explicit ExpectLog(std::string text, std::size_t count = AT_LEAST_ONE);
	~ExpectLog();
	ExpectLog(const ExpectLog &) = delete;
	ExpectLog &operator=(const ExpectLog &) = delete;

private:
	const std::string fText;
	const std::size_t fCount;
};
}
