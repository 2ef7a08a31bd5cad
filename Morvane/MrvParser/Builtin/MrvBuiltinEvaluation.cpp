// `eval` and `evalScript` run their code as a child of the running task, so that `exit` ends the code alone. The child is driven inside the
// slices of its parent: an evaluation costs no round of the scheduler.
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvTask/MrvOperationTask.h"
#include "MrvUtils/MrvDirs.h"

namespace Mrv::Builtins
{
namespace
{
enum class Origin : uint8_t
{
	TEXT,
	FILE,
};

// One evaluation, as its parent and its child know it.
struct Evaluated
{
	Origin origin = Origin::TEXT;
	std::string textOrPath;
	Ref<Environment> environment;
	std::shared_ptr<OMScope> scope; // of a Map that is evaluated into
	Value result;
	bool isParsed = false;
};

void evaluate_yielding(Task &task, bool &success, Evaluated &evaluated)
{
	if (evaluated.origin == Origin::TEXT)
	{
		ScriptEvaluation::evalText_yielding(
		    task, evaluated.result, evaluated.isParsed, evaluated.textOrPath, "eval", *evaluated.environment);
	}
	else
	{
		ScriptEvaluation::evalScript_yielding(task, evaluated.result, evaluated.isParsed, evaluated.textOrPath, *evaluated.environment);
	}
	success = evaluated.isParsed;
}

const char *refusalOf(Origin origin)
{
	return origin == Origin::TEXT ? "cannot evaluate string" : "evalScript: cannot evaluate string";
}

// Reads the options. False with the Error in `result` for one that can't be followed.
bool readOptions(const BuiltinCall &call, Evaluated &evaluated, Value &result)
{
	evaluated.environment = Ref<Environment>(&call.environment);
	for (size_t index = 1; index < call.getArgumentCount(); ++index)
	{
		const Value &option = call.getArgument(index);
		if (option.isMap())
		{
			evaluated.scope = OMScope::factory();
			const bool isSet = evaluated.scope->setValue(option);
			SANITY_CHECK_AS(isSet, "thisScope->set(evalIntoNode)", result = Value::error(); return false);
			evaluated.environment = Ref<Environment>(&evaluated.scope->getEnvironment());
		}
		else if (option.isString() && !option.text().empty())
		{
			result = Evaluation::fail(call.place, std::string(refusalOf(evaluated.origin)) + ": remote targets are not available");
			return false;
		}
		else if (!option.isString() && option.type() != OMType::Undefined)
		{
			result = Evaluation::fail(call.place, std::string(refusalOf(evaluated.origin)) + ": unexpected argument");
			return false;
		}
	}
	return true;
}

// What the first argument and the options say; null with the Error in `result` when nothing can be run.
std::shared_ptr<Evaluated> prepare(const BuiltinCall &call, Origin origin, Value &result)
{
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		result = failText(call);
		return nullptr;
	}
	auto evaluated = std::make_shared<Evaluated>();
	evaluated->origin = origin;
	evaluated->textOrPath = text.view();
	if (!readOptions(call, *evaluated, result))
	{
		return nullptr;
	}
	if (origin == Origin::FILE)
	{
		// From the script that calls, whatever scope the file is to run in.
		evaluated->textOrPath = ScriptEvaluation::resolvePath(evaluated->textOrPath, *call.environment.getScope());
		if (!Dirs::fileExists(evaluated->textOrPath))
		{
			result = Evaluation::fail(call.place, "does not exist: " + evaluated->textOrPath);
			return nullptr;
		}
	}
	return evaluated;
}

// The value of a child that has ended: that given to `exit`, or its result.
Value takeResult(const BuiltinCall &call, const Task &child, Evaluated &evaluated)
{
	if (child.hasResult())
	{
		return Value::fromNode(child.getResult());
	}
	if (!evaluated.isParsed)
	{
		return Evaluation::fail(call.place, refusalOf(evaluated.origin));
	}
	if (evaluated.result.isError() && !child.fErrorNote.empty())
	{
		call.task.fErrorNote = child.fErrorNote;
	}
	return std::move(evaluated.result);
}

void ftn_evaluate_yielding(const BuiltinCall &call, Value &result, Origin origin)
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<Evaluated> evaluated;
		std::shared_ptr<Task> child;
	};
	enum At : int32_t
	{
		START = 0,
		CHILD_MADE = 1,
		CHILD_ENDED = 1000001,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(call.task, result, NestingGuard::SCRIPT_CALL);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const auto evaluated = hasArguments(call, 1) ? prepare(call, origin, result) : nullptr;
				if (!evaluated)
				{
					frame.finish();
					break;
				}
				frame->evaluated = evaluated;
				frame->child = OperationTask::factory(
				    [evaluated](Task &task, bool &success) { evaluate_yielding(task, success, *evaluated); }, Task::NO_TIMEOUT);
				frame.goTo(CHILD_MADE);
				break;
			}
			case CHILD_MADE:
				frame.call(CHILD_ENDED, [&] { driveChildTask_yielding(call.task, frame->child); });
				break;
			case CHILD_ENDED:
				result = takeResult(call, *frame->child, *frame->evaluated);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}

void ftn_eval_yielding(const BuiltinCall &call, Value &result)
{
	ftn_evaluate_yielding(call, result, Origin::TEXT);
}

void ftn_evalScript_yielding(const BuiltinCall &call, Value &result)
{
	ftn_evaluate_yielding(call, result, Origin::FILE);
}

Value ftn_scriptFilePath(const BuiltinCall &call)
{
	return Value::string(ScriptEvaluation::toSystemPath(call.environment.getScope()->getScriptFilePath()));
}
}
