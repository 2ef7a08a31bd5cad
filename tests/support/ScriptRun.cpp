#include "support/ScriptRun.h"

#include "support/MemoryConsole.h"
#include "support/Mode.h"
#include "support/TestLog.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Task/MrvEvalScriptTask.h"
#include "MrvPlatform/MrvFileSystem.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <sstream>

namespace Mrv::Test
{
namespace
{
constexpr auto TIME_LIMIT = std::chrono::seconds(300); // with sanitizers, and where every step suspends

std::optional<std::string> behind(const std::string &line, const std::string &mark)
{
	const size_t at = line.find(mark);
	if (at == std::string::npos)
	{
		return std::nullopt;
	}
	std::string text = line.substr(at + mark.size());
	if (!text.empty() && text[0] == ' ')
	{
		text.erase(0, 1);
	}
	return text;
}

std::vector<std::string> splitLines(const std::string &text)
{
	std::vector<std::string> lines;
	std::istringstream stream(text);
	for (std::string line; std::getline(stream, line);)
	{
		if (!line.empty() && line.back() == '\r')
		{
			line.pop_back();
		}
		lines.push_back(line);
	}
	return lines;
}

// A coordinator for one script.
class Coordinator
{
public:
	Coordinator()
	{
		Task::setAlwaysYield(Mode::alwaysYield);
		InternalCoordinator::changeSettings().eventLoopSleepMicroseconds = 100; // waits of scripts are short
		fIsReady = InternalCoordinator::init(0, nullptr);
		InternalCoordinator::instance()->setSiblingDirectory(nullptr); // a script's test is alone
		InternalCoordinator::setInputKind(InternalCoordinator::InputKind::STANDARD_INPUT);
	}
	~Coordinator()
	{
		InternalCoordinator::release();
		Object::createMaps(); // other tests have objects without a coordinator
		Task::setAlwaysYield(false);
	}
	bool isReady() const { return fIsReady; }

private:
	bool fIsReady = false;
};
}

std::string readWholeFile(const std::string &path)
{
	std::string text;
	if (std::FILE *file = Platform::openFile(path, Platform::OpenMode::READ))
	{
		char bytes[4096];
		for (size_t count = 0; (count = std::fread(bytes, 1, sizeof bytes, file)) > 0;)
		{
			text.append(bytes, count);
		}
		std::fclose(file);
	}
	return text;
}

ScriptExpectations ScriptExpectations::read(const std::string &script)
{
	ScriptExpectations expectations;
	for (const std::string &line : splitLines(script))
	{
		if (const auto output = behind(line, "// expect:"))
		{
			expectations.output.push_back(*output);
		}
		else if (const auto logLine = behind(line, "// log:"))
		{
			expectations.logLines.push_back(*logLine);
		}
		else if (const auto anyLogLine = behind(line, "// logs:"))
		{
			expectations.repeatedLogLines.push_back(*anyLogLine);
		}
		else if (const auto input = behind(line, "// stdin:"))
		{
			expectations.input += *input + "\n";
		}
		else if (const auto yieldDepth = behind(line, "// always-yield depth:"))
		{
			expectations.depth = Mode::alwaysYield ? std::stol(*yieldDepth) : expectations.depth;
		}
		else if (const auto depth = behind(line, "// depth:"))
		{
			expectations.depth = std::stol(*depth);
		}
		expectations.endsInError = expectations.endsInError || behind(line, "// expect error");
		expectations.isRefused = expectations.isRefused || behind(line, "// expect no parse");
	}
	return expectations;
}

void runAndCheckScript(const std::string &name, const std::string &script, const std::string &scriptFilePath)
{
	SCOPED_TRACE(name);
	const ScriptExpectations expected = ScriptExpectations::read(script);
	MemoryConsole console;
	console.input = expected.input;
	bool isParsed = false;
	bool isCompleted = false;
	bool isError = false;
	std::string note;
	{
		const Coordinator coordinator;
		ASSERT_TRUE(coordinator.isReady());
		const auto scope = InternalCoordinator::getCoordinatorScope();
		scope->getEnvironment().create(Name("depth")) = Value::integer(expected.depth);
		const auto task = scriptFilePath.empty() ? EvalScriptTask::streamFactory(
		                                               scope, std::make_shared<InputStreamString>(script), name, HandleReturnValue::UNWRAP)
		                                         : EvalScriptTask::factory(scope, scriptFilePath, HandleReturnValue::UNWRAP);
		Task::startTask(task);
		const auto end = std::chrono::steady_clock::now() + TIME_LIMIT;
		InternalCoordinator::instance()->runEventLoop(
		    -1, [&] { return task->isTaskCompleted() || InternalCoordinator::isTerminating() || std::chrono::steady_clock::now() > end; });
		isCompleted = task->isTaskCompleted() || InternalCoordinator::isTerminating();
		isParsed = task->isParsed() || task->isExitRequested();
		note = task->fErrorNote;
		isError = isParsed && task->hasResult() && task->getResult()->getType() == OMType::Error;
		Platform::console().flush();
	}
	EXPECT_TRUE(isCompleted) << "the script did not end in time";
	EXPECT_EQ(expected.isRefused, !isParsed) << console.errorOutput;
	EXPECT_EQ(expected.endsInError, isError) << note;
	EXPECT_EQ(expected.output, splitLines(console.output));
	for (const std::string &logLine : expected.logLines)
	{
		EXPECT_LOG(logLine);
	}
	for (const std::string &logLine : expected.repeatedLogLines)
	{
		EXPECT_LOG(logLine);
		while (takeLogLine(logLine))
		{
		}
	}
	if (testing::Test::HasFailure())
	{
		takeLogLines();
	}
}
}
