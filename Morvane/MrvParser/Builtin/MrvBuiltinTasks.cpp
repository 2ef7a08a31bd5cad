#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv::Builtins
{
namespace
{
constexpr int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;
constexpr double NANOSECONDS_PER_MILLISECOND = 1e6;

// The moment so many milliseconds from now, at least one; "never" where that lies out of range.
int64_t momentAfter(double milliseconds)
{
	constexpr double MAX_NANOSECONDS = 9e18; // below 2^63
	const double nanoseconds = (milliseconds > 1.0 ? milliseconds : 1.0) * NANOSECONDS_PER_MILLISECOND;
	int64_t moment = 0;
	if (nanoseconds > MAX_NANOSECONDS || __builtin_add_overflow(Platform::steadyNanoseconds(), static_cast<int64_t>(nanoseconds), &moment))
	{
		return Task::kNoTimePoint;
	}
	return moment;
}

bool isOver(int64_t yieldUntil)
{
	const int64_t now = Platform::steadyNanoseconds();
	LOG_TRACE("now = " + std::to_string(now / NANOSECONDS_PER_SECOND));
	return now >= yieldUntil;
}
}

void ftn_yield_yielding(const BuiltinCall &call, Value &result)
{
	struct LocalVariableState : OMFunctionState
	{
		int64_t yieldUntil = 0;
		Value answer;
	};
	enum At : int32_t
	{
		START = 0,
		TAIL = 1,
		GAVE_WAY = 26,
		SLEPT = 27,
		ANSWERED = 1000027,
		DONE = -1
	};
	static const ValueList NO_ARGUMENTS;

	YieldingFrame<LocalVariableState> frame(call.task, result);
	const Value &callback = call.getArgument(1);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (call.getArgumentCount() == 0)
				{
					frame.goTo(GAVE_WAY);
					frame.giveWay();
					break;
				}
				frame->yieldUntil = momentAfter(numberArgument(call, 0));
				LOG_TRACE("init: yieldUntil = " + std::to_string(frame->yieldUntil / NANOSECONDS_PER_SECOND));
				frame.goTo(TAIL);
				break;
			case TAIL:
				if (isOver(frame->yieldUntil))
				{
					frame.finish();
					break;
				}
				frame.goTo(SLEPT);
				call.task.sleepYield();
				break;
			case SLEPT:
				if (callback.isFunction())
				{
					frame.call(ANSWERED,
					    [&] {
						    Evaluation::callFunction_yielding(
						        call.task, frame->answer, callback, Value::lazy(), NO_ARGUMENTS, call.environment);
					    });
				}
				else
				{
					frame.goTo(TAIL);
				}
				break;
			case ANSWERED:
				if (getAsBool(frame->answer))
				{
					frame.finish();
					break;
				}
				frame.goTo(TAIL);
				break;
			case GAVE_WAY:
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void ftn_exit_yielding(const BuiltinCall &call, Value &result)
{
	struct LocalVariableState : OMFunctionState
	{
	};

	// Never finished: everything around it suspends as well, and the task ends with the slice.
	YieldingFrame<LocalVariableState> frame(call.task, result);
	if (frame.running())
	{
		Value value = call.getArgument(0);
		value.settleForStore();
		call.task.setResult(value.toNode());
		call.task.exit();
		call.task.requestYield();
	}
}

Value ftn_quit(const BuiltinCall &)
{
	IInternalCoordinator *coordinator = IInternalCoordinator::current();
	EXPECTED_AS(coordinator, "internalCoordinator");
	if (coordinator)
	{
		SANITY_CHECK_AS(coordinator->requestTermination(), "internalCoordinator->terminate()", return Value());
	}
	return Value();
}
}
