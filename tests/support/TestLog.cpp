#include "support/TestLog.h"

#include "MrvLogger/MrvLogger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace Mrv::Test
{
namespace
{
class KeepingLogger final : public Logger
{
public:
	void writeLine(const char *label, const char *, int, const char *functionName, const std::string &text) override
	{
		lines.push_back(std::string(label) + ": in " + functionName + ' ' + text);
	}

	std::vector<std::string> lines;
};

std::shared_ptr<KeepingLogger> &testLogger()
{
	static std::shared_ptr<KeepingLogger> sLogger = std::make_shared<KeepingLogger>();
	return sLogger;
}

class LogListener final : public testing::EmptyTestEventListener
{
	void OnTestStart(const testing::TestInfo &) override
	{
		testLogger() = std::make_shared<KeepingLogger>();
		setCurrentLogger(testLogger());
	}

	void OnTestEnd(const testing::TestInfo &) override
	{
		for (const std::string &line : testLogger()->lines)
		{
			if (line.starts_with("ERROR"))
			{
				ADD_FAILURE() << "unexpected log line: " << line;
			}
		}
		setCurrentLogger(nullptr);
	}
};

// The framework takes listeners at any time, and owns them from then on.
const bool sIsListening = []
{
	testing::UnitTest::GetInstance()->listeners().Append(new LogListener);
	return true;
}();
}

const std::vector<std::string> &logLines()
{
	return testLogger()->lines;
}

bool takeLogLine(const std::string &text)
{
	std::vector<std::string> &lines = testLogger()->lines;
	const auto found =
	    std::find_if(lines.begin(), lines.end(), [&text](const std::string &line) { return line.find(text) != std::string::npos; });
	if (found == lines.end())
	{
		return false;
	}
	lines.erase(found);
	return true;
}

void takeLogLines()
{
	testLogger()->lines.clear();
}

void setTestLogLevel(std::int32_t logLevel)
{
	testLogger()->setLogLevel(logLevel);
}

void watchLog(ILogger &logger)
{
	// A call-back gets the finished line, which begins with the date and the time.
	logger.addCallback(
	    [](const std::string &line)
	    {
		    constexpr std::size_t timeLength = sizeof("31-12-2024 23:59:59 ") - 1;
		    testLogger()->lines.push_back(line.size() > timeLength ? line.substr(timeLength) : line);
	    });
}
}
