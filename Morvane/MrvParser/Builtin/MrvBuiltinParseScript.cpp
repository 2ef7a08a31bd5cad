// `parseScript` takes a text apart into statements (ScriptInstrumentation), between two streams in memory. The scan is a task of its own,
// so that a time-out ends it alone; the call-back is called by whoever waits for the scan.
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvScriptInstrumentation.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Stream/MrvOutputStreamString.h"
#include "MrvTask/MrvOperationTask.h"

#include <algorithm>

namespace Mrv::Builtins
{
namespace
{
// One call, as the built-in and its tasks know it.
struct Parsing
{
	std::string prompt;
	int64_t timeoutMicroseconds = Task::NO_TIMEOUT;
	bool isWaitedFor = true;
	Value callBackFunction; // or Undefined
	Ref<Environment> environment;
	std::shared_ptr<OutputStreamString> outputStreamString;
	std::shared_ptr<Task> scan;
	ValueList arguments; // of the call-back
	Value answer;        // and what it gave
};

bool refuseOption(const BuiltinCall &call, const char *name, Value &result)
{
	result = Evaluation::fail(call.place, std::string("parseScript: unexpected ") + name);
	return false;
}

// An option that is left out or undefined; else a place that holds it.
const Value *findOption(const Value &options, const char *name)
{
	const Value *place = options.map()->get(name);
	return place && place->inPlace().type() != OMType::Undefined ? &place->inPlace() : nullptr;
}

bool readOptions(const BuiltinCall &call, const Value &options, Parsing &parsing, Value &result)
{
	if (const Value *prompt = findOption(options, "prompt"))
	{
		if (!prompt->isString())
		{
			return refuseOption(call, "prompt", result);
		}
		parsing.prompt = prompt->text();
	}
	if (const Value *timeOut = findOption(options, "timeOut"))
	{
		if (!timeOut->isInt())
		{
			return refuseOption(call, "timeOut", result);
		}
		parsing.timeoutMicroseconds = timeOut->intPayload();
	}
	if (const Value *noWait = findOption(options, "noWait"))
	{
		if (!noWait->isBool())
		{
			return refuseOption(call, "noWait", result);
		}
		parsing.isWaitedFor = !noWait->boolPayload();
	}
	return true;
}

// Reads the arguments and makes the scan, which isn't started; null with the value of the call in `result` when nothing is to be done.
std::shared_ptr<Parsing> prepare(const BuiltinCall &call, Value &result)
{
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		result = failText(call);
		return nullptr;
	}
	auto parsing = std::make_shared<Parsing>();
	for (size_t index = 1; index < call.getArgumentCount(); ++index)
	{
		const Value &argument = call.getArgument(index);
		if (argument.isFunction())
		{
			parsing->callBackFunction = argument;
		}
		else if (argument.isMap())
		{
			if (!readOptions(call, argument, *parsing, result))
			{
				return nullptr;
			}
		}
		else if (argument.type() != OMType::Undefined)
		{
			refuseOption(call, "argument", result);
			return nullptr;
		}
	}
	if (!parsing->isWaitedFor)
	{
		// Nobody else would ever see the outcome.
		const bool callBackFunction = parsing->callBackFunction.isFunction();
		EXPECTED(callBackFunction);
		if (!callBackFunction)
		{
			return nullptr;
		}
	}
	const auto lineCount = static_cast<size_t>(std::count(text.view().begin(), text.view().end(), '\n')) + 1;
	if (text.view().size() + lineCount * parsing->prompt.size() > NodeWalk::MAX_TEXT)
	{
		result = Evaluation::fail(call.place, "text too long");
		return nullptr;
	}
	parsing->environment = Ref<Environment>(&call.environment);
	const auto inputStreamString = std::make_shared<InputStreamString>(text.view());
	parsing->outputStreamString = std::make_shared<OutputStreamString>();
	const auto ioStream = std::make_shared<IOStreamPrompted>(inputStreamString, parsing->outputStreamString);
	ioStream->setPrompt(parsing->prompt);
	ioStream->setContinuationPrompt(parsing->prompt);
	const auto instrumentation = std::make_shared<ScriptInstrumentation>("parseScript");
	parsing->scan =
	    OperationTask::factory([instrumentation](Task &task, bool &success) { instrumentation->instrumentScript_yielding(task, success); },
	        parsing->timeoutMicroseconds, ioStream);
	return parsing;
}

Value takeText(const BuiltinCall *call, Task &task, const Parsing &parsing)
{
	if (parsing.scan->isSuccess() && !parsing.scan->isTimedOut())
	{
		return Value::string(std::string_view(parsing.outputStreamString->getText()));
	}
	static constexpr const char *REASON = "cannot parse script";
	task.fErrorNote = parsing.scan->fErrorNote;
	if (!task.fErrorNote.empty() || !call)
	{
		LOG_ERROR(REASON);
		return Value::error();
	}
	return Evaluation::fail(call->place, REASON);
}

// Waits for the scan and calls the call-back. `call` is null when the call has returned already.
void finish_yielding(Task &task, Value &result, const BuiltinCall *call, Parsing &parsing)
{
	struct LocalVariableState : OMFunctionState
	{
		Value text;
	};
	enum At : int32_t
	{
		START = 0,
		TEXT_KNOWN = 1,
		SCANNED = 1000000,
		CALLED_BACK = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(SCANNED, [&] { driveChildTask_yielding(task, parsing.scan); });
				break;
			case SCANNED:
				frame->text = takeText(call, task, parsing);
				if (!parsing.callBackFunction.isFunction())
				{
					frame.goTo(CALLED_BACK);
					break;
				}
				parsing.arguments.push_back(frame->text);
				frame.goTo(TEXT_KNOWN);
				[[fallthrough]];
			case TEXT_KNOWN:
				frame.call(CALLED_BACK,
				    [&]
				    {
					    Evaluation::callFunction_yielding(
					        task, parsing.answer, parsing.callBackFunction, Value::lazy(), parsing.arguments, *parsing.environment);
				    });
				break;
			case CALLED_BACK:
				result = std::move(frame->text);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// Lets the scan and its call-back go on beside the running task, which doesn't end before them.
void startInBackground(Task &parent, const std::shared_ptr<Parsing> &parsing)
{
	const auto task = OperationTask::factory(
	    [parsing, ignored = Value()](Task &self, bool &success) mutable
	    {
		    success = true;
		    finish_yielding(self, ignored, nullptr, *parsing);
	    },
	    Task::NO_TIMEOUT);
	task->setParentTask(parent.shared_from_this());
	parent.registerChildTask(task);
	Task::startTask(task);
}
}

void ftn_parseScript_yielding(const BuiltinCall &call, Value &result)
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<Parsing> parsing;
	};
	enum At : int32_t
	{
		START = 0,
		SCAN_MADE = 1,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(call.place, call.task, result, NestingGuard::SCRIPT_CALL);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const auto parsing = hasArguments(call, 1) ? prepare(call, result) : nullptr;
				if (!parsing)
				{
					frame.finish();
					break;
				}
				if (!parsing->isWaitedFor)
				{
					startInBackground(call.task, parsing);
					frame.finish();
					break;
				}
				frame->parsing = parsing;
				frame.goTo(SCAN_MADE);
				break;
			}
			case SCAN_MADE:
				frame.call(DONE, [&] { finish_yielding(call.task, result, &call, *frame->parsing); });
				break;
			case DONE:
				break;
		}
	}
}
}
