#include "support/TestLog.h"

#include "MrvLogger/MrvLogger.h"

#include <gtest/gtest.h>

#include <memory>
#include <string_view>
#include <utility>

// The logger's call-backs are plain functions, so the lines of the present test are kept in one place for the whole program.

namespace Mrv::Test
{
namespace
{
struct Recorder
{
	std::string folder;
	std::vector<LogLine> lines;
};

Recorder &recorder()
{
	static Recorder instance;
	return instance;
}

// Takes "31-12-2024 23:59:59 ERROR: in function text" apart.
LogLine parse(const std::string &line)
{
	constexpr std::size_t LABEL_AT = 20;
	constexpr std::size_t LABEL_SIZE = 5;
	constexpr std::string_view IN = ": in ";
	if (line.size() > LABEL_AT && line.compare(LABEL_AT + LABEL_SIZE, IN.size(), IN) == 0)
	{
		const std::size_t nameEnd = line.find(' ', LABEL_AT + LABEL_SIZE + IN.size());
		if (nameEnd != std::string::npos)
		{
			return {line.substr(LABEL_AT, LABEL_SIZE), line.substr(nameEnd + 1)};
		}
	}
	return {"", line};
}

void record(const std::string &line)
{
	recorder().lines.push_back(parse(line));
}

class LogListener : public testing::EmptyTestEventListener
{
	void OnTestStart(const testing::TestInfo &) override
	{
		recorder().lines.clear();
		const auto logger = std::make_shared<Logger>();
		logger->setLogFilePath(recorder().folder + "/tests.log");
		TestLog::watch(*logger);
		setCurrentLogger(logger);
	}

	void OnTestEnd(const testing::TestInfo &) override
	{
		for (const LogLine &line : TestLog::take())
		{
			if (line.label == "ERROR")
			{
				ADD_FAILURE() << "unexpected log line: " << line.text;
			}
		}
	}

	// What logs after this finds nobody listening.
	void OnTestProgramEnd(const testing::UnitTest &) override { setCurrentLogger(nullptr); }
};
}

void TestLog::install(const std::string &folder)
{
	recorder().folder = folder;
	// The framework owns it, and tells it of a test's end before it reports the result.
	testing::UnitTest::GetInstance()->listeners().Append(new LogListener);
}

void TestLog::watch(ILogger &logger)
{
	logger.addCallback(record);
}

std::vector<LogLine> TestLog::take()
{
	return std::exchange(recorder().lines, {});
}

std::size_t TestLog::take(const std::string &text)
{
	return std::erase_if(recorder().lines, [&text](const LogLine &line) { return line.text.find(text) != std::string::npos; });
}

ExpectLog::ExpectLog(std::string text, std::size_t count) : fText(std::move(text)), fCount(count) {}

ExpectLog::~ExpectLog()
{
	const std::size_t found = TestLog::take(fText);
	if (fCount == AT_LEAST_ONE)
	{
		EXPECT_GT(found, 0U) << "nothing was logged that contains: " << fText;
	}
	else
	{
		EXPECT_EQ(found, fCount) << "log lines that contain: " << fText;
	}
}
}
