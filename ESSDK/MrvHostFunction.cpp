#include "MrvHostFunction.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvESDLLServiceOM.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvPlatform/MrvClock.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr const char *TEXT_PARAMETER = "text";
constexpr const char *SECOND_PARAMETER = "option";

const char *nameOf(HostFunction::Kind kind)
{
	return kind == HostFunction::Kind::HOST_EVAL ? "hostEval" : "evalExtendScript";
}

Value valueOf(Environment &environment, const char *name)
{
	const Environment::Variable variable = environment.find(Name(name));
	return variable.place ? variable.place->inPlace() : Value();
}

// What a call is about, the receiver counting as the text if it is one.
struct HostCall
{
	Value text;
	Value option;

	explicit HostCall(Environment &environment)
	{
		const Value receiver = valueOf(environment, "this");
		const Value first = valueOf(environment, TEXT_PARAMETER);
		text = receiver.isString() ? receiver : first;
		option = receiver.isString() ? first : valueOf(environment, SECOND_PARAMETER);
	}
};
}

void HostFunction::install(OMScope &scope)
{
	for (const Kind kind : {Kind::EVAL_EXTEND_SCRIPT, Kind::HOST_EVAL})
	{
		auto signature = makeRef<FunctionSignature>();
		signature->addParameter(nameOf(kind));
		signature->addParameter(TEXT_PARAMETER);
		signature->addParameter(SECOND_PARAMETER);
		scope.getEnvironment().create(Name(nameOf(kind))) =
		    Value::function(makeRef<FunctionObject>(signature, Value::expression(makeRef<HostFunction>(kind))));
	}
}

void HostFunction::evaluate_yielding(Task &task, Value &result, Environment &environment) const
{
	if (fKind == Kind::HOST_EVAL)
	{
		evaluateAndWait_yielding(task, result, environment);
	}
	else
	{
		queue(task, result, environment);
	}
}

void HostFunction::queue(Task &task, Value &result, Environment &environment) const
{
	const HostCall call(environment);
	result = Value();
	std::string script;
	SANITY_CHECK_AS(call.text.type() != OMType::Undefined, "! (*resolvedArgumentList).empty()", result = Value::error(); return );
	if (!getAsString(call.text, script))
	{
		result = Evaluation::fail(*this, "the value has no text");
		return;
	}
	const std::shared_ptr<ESDLLServiceOM> service = ESDLLServiceOM::getService();
	SANITY_CHECK(service, result = Value::error(); return );
	const auto callback = call.option.isFunction() ? OMStored::valueFactory(call.option) : nullptr;
	std::shared_ptr<HostScriptOutcome> outcome;
	if (!service->evalExtendScript(task.shared_from_this(), script, environment.getParent()->getScope(), callback, outcome))
	{
		result = Evaluation::fail(*this, "the host takes no scripts");
	}
}

void HostFunction::evaluateAndWait_yielding(Task &task, Value &result, Environment &environment) const
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<HostScriptOutcome> outcome;
		int64_t end = 0;
	};
	enum At : int32_t
	{
		START = 0,
		QUEUED = 1,
		DONE = -1
	};
	constexpr int64_t NANOSECONDS_PER_MILLISECOND = 1'000'000;

	EvaluationFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const HostCall call(environment);
				std::string script;
				const std::shared_ptr<ESDLLServiceOM> service = ESDLLServiceOM::getService();
				const bool isText = call.text.type() != OMType::Undefined && getAsString(call.text, script);
				if (!service || !isText || !service->evalExtendScript(task.shared_from_this(), script, nullptr, nullptr, frame->outcome))
				{
					result = Evaluation::fail(*this, isText ? "the host takes no scripts" : "hostEval: a text is needed");
					frame.finish();
					break;
				}
				const int64_t given = getAsBits(call.option);
				const int64_t milliseconds = given > 0 ? given : InternalCoordinator::getSettings().remoteTimeoutMicroseconds / 1000;
				frame->end = Platform::steadyNanoseconds() +
				             std::min(milliseconds, INT64_MAX / 4 / NANOSECONDS_PER_MILLISECOND) * NANOSECONDS_PER_MILLISECOND;
				frame.goTo(QUEUED);
				break;
			}
			case QUEUED:
			{
				const HostScriptOutcome &outcome = *frame->outcome;
				const bool isOver = Platform::steadyNanoseconds() >= frame->end;
				const bool isError = outcome.error && outcome.error->getType() != OMType::Undefined;
				if (outcome.isReported && outcome.result && outcome.error && !isError)
				{
					result = Value::fromNode(outcome.result);
					frame.finish();
				}
				else if (outcome.isReported)
				{
					result = Evaluation::fail(
					    *this, "hostEval: " + (isError ? outcome.error->toString() : std::string("the report can't be read")));
					frame.finish();
				}
				else if (outcome.isDropped || isOver)
				{
					result = Evaluation::fail(*this, isOver ? "hostEval: no report in time" : "hostEval: the host dropped the script");
					frame.finish();
				}
				else
				{
					frame.goTo(QUEUED);
					task.sleepYield();
				}
				break;
			}
			case DONE:
				break;
		}
	}
}

bool HostFunction::appendText(std::string &text, NodeWalk &) const
{
	text += "/* the host */";
	return true;
}

uint64_t HostFunction::computeHash(NodeWalk &) const
{
	return fnvHash(std::string_view(nameOf(fKind)));
}

int HostFunction::compare(const IExpression &other, NodeWalk &) const
{
	const auto *function = ExpressionText::sameClass<HostFunction>(*this, other);
	return function ? ExpressionText::compareNumbers(fKind, function->fKind) : ExpressionText::compareClasses(*this, other);
}
}
