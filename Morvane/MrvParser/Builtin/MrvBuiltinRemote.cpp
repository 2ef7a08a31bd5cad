#include "MrvParser/Builtin/MrvBuiltinRemote.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvTask/MrvOperationTask.h"

namespace Mrv::Builtins
{
namespace
{
constexpr int64_t MICROSECONDS_PER_MILLISECOND = 1000;
constexpr const char *DEFAULT_CALL_BACK_ID = "net.morvane.callbackid.commandline.default";
constexpr const char *DEFAULT_TARGET = "mrv:////default";
constexpr const char *REFUSAL = "sendData";

int64_t timeoutOf(OMInt milliseconds)
{
	int64_t microseconds = 0;
	if (milliseconds <= 0)
	{
		return IRemoteScripts::Options::DEFAULT_TIMEOUT;
	}
	return __builtin_mul_overflow(milliseconds, MICROSECONDS_PER_MILLISECOND, &microseconds) ? INT64_MAX : microseconds;
}

struct DataRequest
{
	std::string callBackID;
	bool hasID = false;
	std::string target = DEFAULT_TARGET;
	bool hasTarget = false;
	IRemoteScripts::Options options;
};

bool readDataOption(const Value &option, DataRequest &request)
{
	if (!option.isString())
	{
		return option.type() == OMType::Undefined || readRemoteOption(option, request.options);
	}
	if (!request.hasID)
	{
		request.callBackID = option.text();
		request.hasID = true;
		return true;
	}
	if (!request.hasTarget)
	{
		request.target = option.text();
		request.hasTarget = true;
		return true;
	}
	return false;
}

// The request that the arguments stand for; null with the Error in `result`.
std::shared_ptr<Task> makeSendDataTask(const BuiltinCall &call, Value &result)
{
	const Value &data = call.getArgument(0);
	if (data.type() == OMType::Undefined)
	{
		result = Evaluation::fail(call.place, "invalid data");
		return nullptr;
	}
	DataRequest request;
	for (size_t index = 1; index < call.getArgumentCount(); ++index)
	{
		if (!readDataOption(call.getArgument(index), request))
		{
			result = Evaluation::fail(call.place, std::string(REFUSAL) + ": unexpected argument");
			return nullptr;
		}
	}
	if (request.hasID && request.callBackID.empty())
	{
		result = Evaluation::fail(call.place, "empty callBack ID");
		return nullptr;
	}
	IRemoteScripts::Target target;
	if (!findRemoteTarget(call, request.target, REFUSAL, target, result))
	{
		return nullptr;
	}
	request.options.scope = request.options.callback.isFunction() ? call.environment.getScope() : nullptr;
	const std::shared_ptr<Task> sendDataToRemoteTask = IRemoteScripts::current()->makeSendDataTask(
	    target, request.hasID ? request.callBackID : DEFAULT_CALL_BACK_ID, data, request.options);
	SANITY_CHECK(sendDataToRemoteTask, result = Evaluation::failLogged(call.place, "sendData: the data can't be sent"); return nullptr);
	return sendDataToRemoteTask;
}
}

// --- What they have in common

bool readRemoteOption(const Value &option, IRemoteScripts::Options &options)
{
	if (option.isFunction())
	{
		options.callback = option;
		return true;
	}
	if (option.isInt())
	{
		options.timeoutMicroseconds = timeoutOf(option.intPayload());
		return true;
	}
	return false;
}

bool findRemoteTarget(const BuiltinCall &call, const std::string &text, const char *refusal, IRemoteScripts::Target &target, Value &result)
{
	IRemoteScripts *remoteScripts = IRemoteScripts::current();
	if (!remoteScripts)
	{
		result = Evaluation::fail(call.place, std::string(refusal) + ": there is no coordinator");
		return false;
	}
	target = remoteScripts->findTarget(text);
	if (target.place == IRemoteScripts::Target::Place::NOWHERE)
	{
		result = Evaluation::fail(call.place, std::string(refusal) + ": invalid target address: " + text);
		return false;
	}
	return true;
}

Value takeRemoteResult(const BuiltinCall &call, const Task &request, const char *refusal)
{
	if (!request.isSuccess())
	{
		const std::string reason = request.fErrorNote.empty() ? "the request was ended" : request.fErrorNote;
		return Evaluation::fail(call.place, std::string(refusal) + ": " + reason);
	}
	const Value value = Value::fromNode(request.getResult());
	return value.isError() ? Evaluation::fail(call.place, "elsewhere: " + request.fErrorNote) : value;
}

// --- Data requests

void ftn_sendData_yielding(const BuiltinCall &call, Value &result)
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<Task> child;
	};
	enum At : int32_t
	{
		START = 0,
		CHILD_MADE = 1,
		CHILD_ENDED = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(call.task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->child = hasArguments(call, 1) ? makeSendDataTask(call, result) : nullptr;
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
				result = takeRemoteResult(call, *frame->child, REFUSAL);
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

Value ftn_setDataRequestCallBack(const BuiltinCall &call)
{
	if (!hasArguments(call, 2))
	{
		return Value();
	}
	const Value &callBackID = call.getArgument(0);
	if (!callBackID.isString())
	{
		return Evaluation::fail(call.place, "invalid callBack ID");
	}
	if (callBackID.text().empty())
	{
		return Evaluation::fail(call.place, "empty callBack ID");
	}
	IRemoteScripts *remoteScripts = IRemoteScripts::current();
	SANITY_CHECK_AS(remoteScripts, "internalCoordinator", return Value::boolean(false));
	const Value &function = call.getArgument(1);
	const std::string id(callBackID.text());
	return Value::boolean(function.type() == OMType::Null
	                          ? remoteScripts->removeDataRequestCallBack(id)
	                          : remoteScripts->setDataRequestCallBack(call.environment.getScope(), id, function));
}
}
