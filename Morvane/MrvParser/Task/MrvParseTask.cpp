#include "MrvParser/Task/MrvParseTask.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
namespace
{
ScriptEvaluation::Source sourceOf(std::string text)
{
	return {std::make_shared<InputStreamString>(std::move(text)), std::make_unique<ParseContext>("text")};
}
}

ParseTask::ParseTask(std::shared_ptr<OMStored> target, ScriptEvaluation::Source source, int64_t timeoutMicroseconds)
    : Task(timeoutMicroseconds),
      fTarget(std::move(target)),
      fSource(std::move(source))
{
}

std::shared_ptr<ParseTask> ParseTask::factory(const std::shared_ptr<OMStored> &target, std::string text)
{
	return sourceFactory(target, sourceOf(std::move(text)), NO_TIMEOUT);
}

std::shared_ptr<ParseTask> ParseTask::sourceFactory(
    const std::shared_ptr<OMStored> &target, ScriptEvaluation::Source source, int64_t timeoutMicroseconds)
{
	SANITY_CHECK(target, return nullptr);
	auto task = std::make_shared<ParseTask>(target, std::move(source), timeoutMicroseconds);
	registerTask(task);
	return task;
}

bool ParseTask::call(const std::shared_ptr<OMStored> &target, std::string text, int64_t timeoutMicroseconds)
{
	const auto parse = sourceFactory(target, sourceOf(std::move(text)), timeoutMicroseconds);
	SANITY_CHECK_AS(parse, "task", return false);
	SANITY_CHECK(parse->runToCompletion(), return false);
	return parse->isSuccess();
}

void ParseTask::timeslice()
{
	struct LocalVariableState : OMFunctionState
	{
		bool isParsed = false;
		Value program;
	};
	enum At : int32_t
	{
		START = 0,
		PARSED = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*this, fSuccess);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(PARSED, [&]
				    { Parser::parseExpressionList_yielding(*this, frame->isParsed, frame->program, *fSource.stream, *fSource.context); });
				break;
			case PARSED:
				fSuccess = fTarget->setValue(frame->isParsed ? std::move(frame->program) : Value()) && frame->isParsed;
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
