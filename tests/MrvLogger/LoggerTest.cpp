#include "MrvLogger/MrvChecks.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "support/MemoryConsole.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>

namespace Mrv
{
namespace
{
using Test::logLines;
using Test::MemoryConsole;
using Test::takeLogLines;

std::vector<std::string> sLines;

void keepLine(const std::string &line)
{
	sLines.push_back(line);
}

// A logger of the test's own, the current one as long as the test runs; its lines go to a console in memory.
class LoggerTest : public testing::Test
{
protected:
	LoggerTest()
	{
		sLines.clear();
		fLogger->addCallback(keepLine);
		fLogger->addCallback(nullptr);
		setCurrentLogger(fLogger);
	}

	// Which of the four levels write a line.
	std::string writtenAt(std::int32_t logLevel)
	{
		sLines.clear();
		fLogger->setLogLevel(logLevel);
		logError("", 0, "f", "E");
		logWarning("", 0, "f", "W");
		logNote("", 0, "f", "N");
		logTrace("", 0, "f", "T");
		std::string written;
		for (const std::string &line : sLines)
		{
			written += line.back();
		}
		return written;
	}

	std::shared_ptr<Logger> fLogger = std::make_shared<Logger>();
	MemoryConsole fConsole;
};

TEST_F(LoggerTest, LevelsDecideWhatIsWritten)
{
	const std::pair<std::int32_t, std::string> expected[] = {{-1, ""}, {0, ""}, {1, "E"}, {2, "EW"}, {3, "EWN"}, {4, "EWNT"}, {99, "EWNT"}};
	for (const auto &[level, written] : expected)
	{
		EXPECT_EQ(writtenAt(level), written) << level;
		EXPECT_EQ(isLogged(LogLevel::ERROR_LINES), level >= 1);
		EXPECT_EQ(isLogged(LogLevel::TRACE), level >= 4);
	}
	EXPECT_EQ(Logger().getLogLevel(), 2);
}

TEST_F(LoggerTest, TheFormOfALine)
{
	fLogger->setLogLevel(4);
	LOG_WARNING("the text");
	logNote("file", 1, "function", "");
	const std::regex form("\\d\\d-\\d\\d-\\d{4} \\d\\d:\\d\\d:\\d\\d (.*)");
	std::smatch match;
	ASSERT_EQ(sLines.size(), 2U);
	ASSERT_TRUE(std::regex_match(sLines[0], match, form)) << sLines[0];
	EXPECT_EQ(match[1], "WARN : in TestBody the text");
	ASSERT_TRUE(std::regex_match(sLines[1], match, form)) << sLines[1];
	EXPECT_EQ(match[1], "NOTE : in function ");
	EXPECT_EQ(fConsole.errorOutput, sLines[0] + '\n' + sLines[1] + '\n');
}

TEST_F(LoggerTest, AFileIsOpenForOneLineOnly)
{
	const std::string path = *Platform::wellKnownFolder(Platform::WellKnownFolder::TEMPORARY) + Platform::pathSeparator() + "lögs.txt";
	fLogger->setLogFilePath(path);
	LOG_ERROR("one");
	EXPECT_TRUE(Platform::renameReplacing(path, path + ".old"));
	LOG_ERROR("two");
	LOG_ERROR("three");
	EXPECT_EQ(Platform::fileInfo(path).size, static_cast<std::int64_t>(sLines[1].size() + sLines[2].size() + 2));
	EXPECT_EQ(fConsole.errorOutput, "");
	EXPECT_TRUE(Platform::removeFile(path));
	EXPECT_TRUE(Platform::removeFile(path + ".old"));
	fLogger->setLogFilePath(path + Platform::pathSeparator() + "nowhere" + Platform::pathSeparator() + "log");
	LOG_ERROR("four");
	EXPECT_EQ(sLines.size(), 4U);
	EXPECT_EQ(fConsole.errorOutput, "");
}

TEST_F(LoggerTest, EntryExitAndTimingObeyTheirFlags)
{
	logEntry("", 0, "f");
	logTime("", 0, "f", ILogger::TimingEvent::START, "x");
	EXPECT_TRUE(sLines.empty());
	fLogger->setIsLogEntryExit(false);
	fLogger->setIsLogTiming(false);
	EXPECT_TRUE(sLines.empty());
	fLogger->setIsLogEntryExit(true);
	fLogger->setIsLogTiming(true);
	ASSERT_EQ(sLines.size(), 2U);
	EXPECT_TRUE(sLines[0].ends_with("code is not instrumented with entry/exit code. Change ADD_LOG_ENTRY_EXIT_CODE and recompile."));
	EXPECT_TRUE(sLines[1].ends_with("EXPECTED failed: '! isLogTiming' evaluates to false"));
	fLogger->setLogLevel(0);
	logEntry("", 0, "f");
	logExit("", 0, "f");
	EXPECT_TRUE(sLines[2].ends_with(" ENTRY >>>: in f "));
	EXPECT_TRUE(sLines[3].ends_with(" <<<  EXIT: in f "));
	logTime("", 0, "outer", ILogger::TimingEvent::START, "a");
	logTime("", 0, "inner", ILogger::TimingEvent::START, "b");
	logTime("", 0, "inner", ILogger::TimingEvent::ELAPSED, "1 s");
	EXPECT_TRUE(sLines[4].ends_with("in outer: start (a)"));
	EXPECT_TRUE(sLines[6].ends_with("in inner: elapsed (1 s)"));
	EXPECT_EQ(sLines[5].find("           ") != std::string::npos, sLines[6].find("           ") != std::string::npos);
	EXPECT_EQ(sLines[4].find("          "), std::string::npos);
}

TEST_F(LoggerTest, WithoutALoggerNothingIsWrittenAndTheFailurePathIsTaken)
{
	setCurrentLogger(nullptr);
	bool isTextMade = false;
	const auto text = [&isTextMade]
	{
		isTextMade = true;
		return std::string("text");
	};
	LOG_ERROR(text());
	const auto fails = []
	{
		SANITY_CHECK(false, return 1);
		return 0;
	};
	EXPECT_EQ(fails(), 1);
	EXPECT_FALSE(isTextMade);
	EXPECT_TRUE(sLines.empty());
	EXPECT_EQ(fConsole.errorOutput, "");
	EXPECT_EQ(getCurrentLogger(), nullptr);
}

// The line that the check in `check` writes, and what it returns.
template <typename Check>
std::pair<std::string, int> outcomeOf(Check check)
{
	takeLogLines();
	const int result = check();
	const std::string line = logLines().empty() ? "() " : logLines().front();
	takeLogLines();
	return {line.substr(line.find("() ") + 3), result};
}

struct Base
{
	virtual ~Base() = default;
};
struct Derived : Base
{
};

// NOLINTBEGIN(bugprone-lambda-function-name): the name is cut off
TEST(ChecksTest, EachLogsItsTextAndLeaves)
{
	using Outcome = std::pair<std::string, int>;
	const std::shared_ptr<Base> base = std::make_shared<Base>();
	const std::shared_ptr<const Base> derived = std::make_shared<Derived>();
	std::shared_ptr<Base> assigned;
	EXPECT_EQ(outcomeOf(
	              []
	              {
		              SANITY_CHECK(1 + 1 == 3, return 1);
		              return 0;
	              }),
	    Outcome("SANITY_CHECK failed: '1 + 1 == 3' evaluates to false", 1));
	EXPECT_EQ(outcomeOf(
	              []
	              {
		              VERIFY_AS(false, "::Call( x)", return 1);
		              return 0;
	              }),
	    Outcome("VERIFY failed: '::Call( x)' evaluates to false", 1));
	EXPECT_EQ(outcomeOf(
	              []
	              {
		              EXPECTED(false);
		              return 0;
	              }),
	    Outcome("EXPECTED failed: 'false' evaluates to false", 0));
	EXPECT_EQ(outcomeOf(
	              [&]
	              {
		              ASSIGN(assigned, nullptr, return 1);
		              return 0;
	              }),
	    Outcome("ASSIGN failed: 'assigned = nullptr;'", 1));
	EXPECT_EQ(outcomeOf(
	              [&]
	              {
		              ASSIGN_TYPED(Derived, object, base, return 1);
		              return 0;
	              }),
	    Outcome("ASSIGN_TYPED failed: 'Derived object = base;'", 1));
	EXPECT_EQ(outcomeOf(
	              [&]
	              {
		              ASSIGN_CONST_TYPED(Derived, object, derived, return 1);
		              EXPECT_EQ(object, derived);
		              return 0;
	              }),
	    Outcome("", 0));
}

// NOLINTEND(bugprone-lambda-function-name)

TEST(ChecksTest, TheFailureStatementBelongsToTheCallersLoop)
{
	int rounds = 0;
	for (int i = 0; i < 5; ++i)
	{
		SANITY_CHECK(i != 1, continue);
		SANITY_CHECK(i < 3, break);
		++rounds;
	}
	EXPECT_EQ(rounds, 2);
	EXPECT_LOG("ERROR: in TestBody SANITY_CHECK failed: 'i != 1' evaluates to false");
	EXPECT_LOG("SANITY_CHECK failed: 'i < 3' evaluates to false");
}
}
}
