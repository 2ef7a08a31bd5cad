#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvOutputStreamStdErr.h"
#include "MrvParser/Stream/MrvOutputStreamStdOut.h"

namespace Mrv::Builtins
{
namespace
{
enum class Output : uint8_t
{
	OF_TASK,
	STANDARD_ERROR,
};

std::shared_ptr<OutputStream> findOutput(Output output, Task &task)
{
	static const auto STANDARD_OUTPUT = std::make_shared<OutputStreamStdOut>();
	static const auto STANDARD_ERROR = std::make_shared<OutputStreamStdErr>();
	if (output == Output::STANDARD_ERROR)
	{
		return STANDARD_ERROR;
	}
	const auto prompted = std::dynamic_pointer_cast<IOStreamPrompted>(task.getInputStream());
	if (prompted && prompted->getNestedOutputStream())
	{
		return prompted;
	}
	return STANDARD_OUTPUT;
}

void ftn_stdErrOrOut_yielding(const BuiltinCall &call, Value &result, Output output)
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<OutputStream> stream;
		std::string text; // of what is no String
		bool success = false;
	};
	enum At : int32_t
	{
		START = 0,
		TEXT_KNOWN = 1,
		WRITTEN = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(call.task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (!hasArguments(call, 1))
				{
					frame.finish();
					break;
				}
				if (!call.getArgument(0).isString() && !getAsString(call.getArgument(0), frame->text))
				{
					result = failText(call);
					frame.finish();
					break;
				}
				frame->stream = findOutput(output, call.task);
				frame.goTo(TEXT_KNOWN);
				[[fallthrough]];
			case TEXT_KNOWN:
				frame.call(WRITTEN,
				    [&]
				    {
					    const Value &argument = call.getArgument(0);
					    frame->stream->write_yielding(
					        call.task, frame->success, argument.isString() ? argument.text() : std::string_view(frame->text));
				    });
				break;
			case WRITTEN:
				EXPECTED_AS(frame->success, "success");
				call.task.readClockSoon();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}

void ftn_stdOut_yielding(const BuiltinCall &call, Value &result)
{
	ftn_stdErrOrOut_yielding(call, result, Output::OF_TASK);
}

void ftn_stdErr_yielding(const BuiltinCall &call, Value &result)
{
	ftn_stdErrOrOut_yielding(call, result, Output::STANDARD_ERROR);
}

void ftn_stdIn_yielding(const BuiltinCall &call, Value &result)
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<InputStream> stream;
		std::string line;
		bool success = false;
	};
	enum At : int32_t
	{
		START = 0,
		STREAM_KNOWN = 1,
		LINE_KNOWN = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(call.task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->stream = std::dynamic_pointer_cast<InputStream>(call.task.getInputStream());
				if (!frame->stream)
				{
					frame.finish(); // nowhere to read from is the end of the input
					break;
				}
				frame.goTo(STREAM_KNOWN);
				[[fallthrough]];
			case STREAM_KNOWN:
				frame.call(LINE_KNOWN, [&] { frame->stream->takeLine_yielding(call.task, frame->success, frame->line); });
				break;
			case LINE_KNOWN:
				if (frame->success)
				{
					result = makeString(call, std::move(frame->line));
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
