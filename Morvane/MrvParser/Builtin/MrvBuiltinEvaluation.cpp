// `eval` and `evalScript` run their code as a child of the running task, so that `exit` ends the code alone. The child is driven inside the
// slices of its parent: an evaluation costs no round of the scheduler. Code that is to run elsewhere is a child too, which waits.
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"
#include "MrvParser/Builtin/MrvBuiltinRemote.h"

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
	Value callback;                 // to be called with the value, if it is a function
	Value result;
	bool isParsed = false;
	bool isRemote = false; // nothing of the above but the text
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

// What stands behind the first argument.
struct Options
{
	std::string target; // empty: here
	bool hasTarget = false;
	const Value *map = nullptr; // to evaluate into
	bool hasRemoteOption = false;
	IRemoteScripts::Options remote;
};

// False with the Error in `result` for an option that can't be followed.
bool readOptions(const BuiltinCall &call, Options &options, Origin origin, Value &result)
{
	for (size_t index = 1; index < call.getArgumentCount(); ++index)
	{
		const Value &option = call.getArgument(index);
		if (option.isMap())
		{
			options.map = &option;
		}
		else if (option.isString())
		{
			options.target = option.text();
			options.hasTarget = true;
		}
		else if (readRemoteOption(option, options.remote))
		{
			options.hasRemoteOption = true;
		}
		else if (option.type() != OMType::Undefined)
		{
			result = Evaluation::fail(call.place, std::string(refusalOf(origin)) + ": unexpected argument");
			return false;
		}
	}
	return true;
}

// The environment of code that runs here.
bool prepareHere(const BuiltinCall &call, const Options &options, Evaluated &evaluated, Value &result)
{
	// Where an address may lead elsewhere, what is fit for that is fit for here.
	if (options.hasRemoteOption && !options.hasTarget)
	{
		result = Evaluation::fail(call.place, std::string(refusalOf(evaluated.origin)) + ": unexpected argument");
		return false;
	}
	evaluated.callback = options.remote.callback;
	evaluated.environment = Ref<Environment>(&call.environment);
	if (options.map)
	{
		evaluated.scope = OMScope::factory();
		const bool isSet = evaluated.scope->setValue(*options.map);
		SANITY_CHECK_AS(isSet, "thisScope->set(evalIntoNode)", result = Value::error(); return false);
		evaluated.environment = Ref<Environment>(&evaluated.scope->getEnvironment());
	}
	return true;
}

// From the script that calls, whatever scope the file is to run in. A host of its own has files of its own.
bool prepareFile(const BuiltinCall &call, Evaluated &evaluated, const IRemoteScripts::Target &target, Value &result)
{
	if (target.place == IRemoteScripts::Target::Place::ELSEWHERE && !target.isOnThisHost)
	{
		return true;
	}
	evaluated.textOrPath = ScriptEvaluation::resolvePath(evaluated.textOrPath, *call.environment.getScope());
	if (!Dirs::fileExists(evaluated.textOrPath))
	{
		result = Evaluation::fail(call.place, "evalScript: script file does not exist: " + evaluated.textOrPath);
		return false;
	}
	return true;
}

int64_t timeoutHere(const Options &options)
{
	return options.remote.timeoutMicroseconds == IRemoteScripts::Options::DEFAULT_TIMEOUT ? Task::NO_TIMEOUT
	                                                                                      : options.remote.timeoutMicroseconds;
}

// Null with the Error in `result` when there is no such place.
std::shared_ptr<Task> makeTask(
    const BuiltinCall &call, const std::shared_ptr<Evaluated> &evaluated, const IRemoteScripts::Target &target, const Options &options)
{
	if (target.place != IRemoteScripts::Target::Place::ELSEWHERE)
	{
		return OperationTask::factory(
		    [evaluated](Task &task, bool &success) { evaluate_yielding(task, success, *evaluated); }, timeoutHere(options));
	}
	evaluated->isRemote = true;
	IRemoteScripts::Options remote = options.remote;
	remote.scope = remote.callback.isFunction() ? call.environment.getScope() : nullptr;
	const OpCode opCode = evaluated->origin == Origin::TEXT ? OpCode::EVAL : OpCode::EVAL_FILE;
	const std::shared_ptr<Task> runRemoteScriptTask =
	    IRemoteScripts::current()->makeRemoteScriptTask(target, opCode, evaluated->textOrPath, remote);
	SANITY_CHECK(runRemoteScriptTask, return nullptr);
	return runRemoteScriptTask;
}

// The task for what the arguments say; null with the Error in `result` when nothing can be run.
std::shared_ptr<Task> prepare(const BuiltinCall &call, Origin origin, std::shared_ptr<Evaluated> &evaluated, Value &result)
{
	const TextArgument text(call, 0);
	if (!text.isOk())
	{
		result = failText(call);
		return nullptr;
	}
	evaluated = std::make_shared<Evaluated>();
	evaluated->origin = origin;
	evaluated->textOrPath = text.view();
	Options options;
	IRemoteScripts::Target target;
	target.place = IRemoteScripts::Target::Place::HERE;
	if (!readOptions(call, options, origin, result) ||
	    (!options.target.empty() && !findRemoteTarget(call, options.target, refusalOf(origin), target, result)))
	{
		return nullptr;
	}
	const bool isHere = target.place == IRemoteScripts::Target::Place::HERE;
	if (!isHere && options.map)
	{
		result = Evaluation::fail(call.place, std::string(refusalOf(origin)) + ": a Map can't be evaluated into from elsewhere");
		return nullptr;
	}
	const bool isPrepared = (!isHere || prepareHere(call, options, *evaluated, result)) &&
	                        (origin == Origin::TEXT || prepareFile(call, *evaluated, target, result));
	const std::shared_ptr<Task> task = isPrepared ? makeTask(call, evaluated, target, options) : nullptr;
	if (isPrepared && !task)
	{
		result = Evaluation::failLogged(call.place, refusalOf(origin));
	}
	return task;
}

// The value of a child that has ended: that given to `exit`, or its result.
Value takeResult(const BuiltinCall &call, const Task &child, Evaluated &evaluated)
{
	if (evaluated.isRemote)
	{
		return takeRemoteResult(call, child, refusalOf(evaluated.origin));
	}
	if (child.hasResult())
	{
		return Value::fromNode(child.getResult());
	}
	if (child.isTimedOut())
	{
		return Evaluation::fail(call.place, std::string(refusalOf(evaluated.origin)) + ": it took too long");
	}
	if (!child.isSuccess())
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
		ValueList values; // one, for the call-back
		Value ignored;    // what that gives
	};
	enum At : int32_t
	{
		START = 0,
		CHILD_MADE = 1,
		CALL_BACK = 2,
		CHILD_ENDED = 1000001,
		CALLED_BACK = 1000002,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(call.place, call.task, result, NestingGuard::SCRIPT_CALL);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->child = hasArguments(call, 1) ? prepare(call, origin, frame->evaluated, result) : nullptr;
				if (!frame->child)
				{
					frame.finish();
					break;
				}
				frame.goTo(CHILD_MADE);
				break;
			case CHILD_MADE:
				frame.call(CHILD_ENDED, [&] { driveChildTask_yielding(call.task, frame->child); });
				break;
			case CHILD_ENDED:
				frame->values.push_back(takeResult(call, *frame->child, *frame->evaluated));
				frame.goTo(frame->evaluated->callback.isFunction() ? CALL_BACK : CALLED_BACK);
				break;
			case CALL_BACK:
				frame.call(CALLED_BACK,
				    [&]
				    {
					    Evaluation::callFunction_yielding(
					        call.task, frame->ignored, frame->evaluated->callback, Value::lazy(), frame->values, call.environment);
				    });
				break;
			case CALLED_BACK:
				result = std::move(frame->values[0]);
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
