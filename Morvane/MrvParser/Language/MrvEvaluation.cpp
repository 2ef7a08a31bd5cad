#include "MrvParser/Language/MrvEvaluation.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvExpressionText.h"
#include "MrvParser/Language/MrvOMExpressionLValueToken.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvTask/MrvTaskTables.h"

namespace Mrv::Evaluation
{
// --- Errors

Value fail(const OMExpression &place, const std::string &text)
{
	LOG_ERROR(text);
	return failLogged(place, text);
}

namespace
{
Value noteError(const OMExpression *place, const std::string &text)
{
	if (Task *task = TaskTables::get().runningTask)
	{
		const SourceText *source = place ? place->getSource() : nullptr;
		task->fErrorNote = source ? source->describe(place->getSourceOffset()) + ": " + text : text;
	}
	return Value::error();
}
}

Value failLogged(const OMExpression &place, const std::string &text)
{
	return noteError(&place, text);
}

Value failNesting(const OMExpression *place)
{
	const char *const what = "evaluation";
	NestingGuard::report(what);
	return noteError(place, std::string("nesting limit reached: ") + what);
}

Value failUnnamed(const FunctionObject &function)
{
	const std::string text = "a function without a name does nothing";
	LOG_ERROR(text);
	return noteError(dynamic_cast<const OMExpression *>(function.fBody.isExpression() ? function.fBody.expression() : nullptr), text);
}

Value failAbsent(const OMExpression &place, const Value &operand)
{
	return fail(place, "'" + toString(operand) + "' has no value");
}

// --- Literals and functions

Value evaluateFunction(const Value &function, Environment &environment)
{
	const std::string &functionName = function.function()->fSignature->getFunctionName();
	if (!functionName.empty())
	{
		// Defined in the scope that runs, where an assignment would put a new name.
		const Name name(functionName);
		Environment::Variable variable;
		variable.place = environment.findOwn(name);
		variable.found = variable.place ? Environment::Found::YES : Environment::Found::NO;
		variable.owner = &environment;
		environment.store(variable, name, function);
	}
	return function;
}

namespace
{
// The children of a literal one after the other. `childAt` gives the child of a position, null at the end.
template <class ChildAt, class Store>
void evaluateChildren_yielding(Task &task, Value &result, const Value &empty, Environment &environment, ChildAt childAt, Store store)
{
	struct LocalVariableState : OMFunctionState
	{
		Value container;
		Value value;
		size_t position = 0;
	};
	enum At : int32_t
	{
		START = 0,
		CHILD = 1,
		CHILD_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.template at<At>())
		{
			case START:
				frame->container = empty;
				frame.goTo(CHILD);
				[[fallthrough]];
			case CHILD:
				if (const Value *child = childAt(frame->position))
				{
					frame.call(CHILD_KNOWN, [&] { evaluateOperand(task, frame->value, *child, environment); });
				}
				else
				{
					result = std::move(frame->container);
					frame.finish();
				}
				break;
			case CHILD_KNOWN:
				frame->value.settleForStore();
				store(frame->container, frame->position, std::move(frame->value));
				++frame->position;
				frame.goTo(CHILD);
				break;
			case DONE:
				break;
		}
	}
}
}

void evaluateLiteral_yielding(Task &task, Value &result, const Value &literal, Environment &environment)
{
	if (literal.isArray())
	{
		const ArrayContainer &source = *literal.array();
		if (source.fIsData)
		{
			result = cloneValue(literal, ALL_LEVELS);
			return;
		}
		evaluateChildren_yielding(
		    task, result, Value::emptyArray(), environment,
		    [&](size_t position) { return position < source.size() ? &source.fItems[position] : nullptr; },
		    [](const Value &array, size_t, Value &&value) { array.array()->fItems.push_back(std::move(value)); });
		return;
	}
	const MapContainer &source = *literal.map();
	if (source.fIsData)
	{
		result = cloneValue(literal, ALL_LEVELS);
		return;
	}
	evaluateChildren_yielding(
	    task, result, Value::emptyMap(), environment,
	    [&](size_t position) { return position < source.entries().size() ? &source.entries()[position].value : nullptr; },
	    [&](const Value &map, size_t position, Value &&value) { map.map()->set(source.entries()[position].name, std::move(value)); });
}

Value programForElsewhere(const Value &program, const std::string &address)
{
	const OMExpressionLValue *place = OMExpressionLValue::fromOperand(program);
	const Token token = place && place->getClass() == OMExpression::Class::LVALUE_TOKEN
	                        ? static_cast<const OMExpressionLValueToken *>(place)->getToken()
	                        : Token::EVAL;
	if (token == Token::EXIT || token == Token::QUIT)
	{
		return program;
	}
	std::vector<Value> arguments{Value::string(toString(program)), Value::string(address)};
	return Value::expression(makeRef<OMExpressionLValueToken>(OMExpressionLValueToken(Value::absent(), Token::EVAL), std::move(arguments)));
}

void evaluateProgram_yielding(Task &task, Value &result, const Value &program, Environment &environment)
{
	struct LocalVariableState : OMFunctionState
	{
	};
	enum At : int32_t
	{
		START = 0,
		VALUE_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(task, result);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (program.isFunction() && program.function()->fSignature->getFunctionName().empty())
				{
					result = failUnnamed(*program.function());
					frame.finish();
					break;
				}
				frame.call(VALUE_KNOWN, [&] { evaluateOperand(task, result, program, environment); });
				break;
			case VALUE_KNOWN:
				result.settle();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

// --- Children

const Value *findAttribute(const Value &container, const Name &name, uint32_t &guess, bool &isOpaque)
{
	if (container.isMap())
	{
		const size_t position = container.map()->find(name, guess);
		return position == MapContainer::NOT_FOUND ? nullptr : &container.map()->entries()[position].value;
	}
	if (container.isArray())
	{
		size_t index = 0;
		return parseIndex(name.view(), index) && index < container.array()->size() ? &container.array()->fItems[index] : nullptr;
	}
	if (container.isNode())
	{
		const auto scope = std::dynamic_pointer_cast<OMScope>(container.node());
		isOpaque = !scope || scope->isOpaque();
		if (!isOpaque)
		{
			const Environment::Variable variable = scope->getEnvironment().find(name, guess);
			isOpaque = variable.found == Environment::Found::OPAQUE;
			return variable.place;
		}
	}
	return nullptr;
}

const Value *findIndexed(const Value &container, const Value &index, bool &isOpaque)
{
	if (container.isArray() && isPosition(index)) [[likely]]
	{
		const auto position = static_cast<size_t>(index.intPayload());
		return position < container.array()->size() ? &container.array()->fItems[position] : nullptr;
	}
	if (!container.isMap() && !container.isArray() && !container.isNode())
	{
		return nullptr;
	}
	uint32_t guess = 0;
	if (index.isString())
	{
		return findAttribute(container, Name(index.text()), guess, isOpaque);
	}
	return findAttribute(container, Name(getAsString(index)), guess, isOpaque);
}

Value characterAt(const Value &text, const Value &index)
{
	const std::string_view bytes = text.text();
	const auto position = static_cast<uint64_t>(isPosition(index) ? index.intPayload() : -1);
	return position < bytes.size() ? Value::string(bytes.substr(position, 1)) : Value::absent();
}

void readOpaque_yielding(Task &task, Value &result, const Value &container, const Value &key, Environment &environment)
{
	struct LocalVariableState : OMFunctionState
	{
		bool success = false;
		std::shared_ptr<IOMNode> child;
	};
	enum At : int32_t
	{
		START = 0,
		CHILD_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(task, result);
	const auto self = task.shared_from_this();
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(CHILD_KNOWN,
				    [&]
				    {
					    const std::shared_ptr<IOMNode> &node = container.node();
					    if (isPosition(key))
					    {
						    node->accessOMNodeReadOnlyResolved_yielding(
						        self, frame->success, environment.getScope(), nullptr, static_cast<size_t>(key.intPayload()), frame->child);
					    }
					    else
					    {
						    node->accessOMNodeReadOnlyResolved_yielding(
						        self, frame->success, environment.getScope(), nullptr, getAsString(key), frame->child);
					    }
				    });
				break;
			case CHILD_KNOWN:
				result = frame->child ? Value::fromNode(frame->child) : Value::absent();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void runStored_yielding(Task &task, Value &result, const Value &stored, Environment &environment)
{
	if (stored.isExpression())
	{
		static_cast<const OMExpression *>(stored.expression())->evaluate(task, result, environment);
	}
	else
	{
		result = stored;
	}
}

bool storeAttribute(const Value &container, const Name &name, Value value)
{
	value.settleForStore();
	if (container.isMap())
	{
		MapContainer &map = *container.map();
		if (map.fPermissions || map.fDataStructureOwner)
		{
			return OMStored::storeIn(container, name, std::move(value));
		}
		map.getOrCreate(name) = std::move(value);
		return true;
	}
	size_t index = 0;
	if (container.isArray() && parseIndex(name.view(), index))
	{
		return OMStored::storeIn(container, index, std::move(value));
	}
	if (container.isNode())
	{
		const auto scope = std::dynamic_pointer_cast<OMScope>(container.node());
		if (scope && !scope->isOpaque())
		{
			Environment &environment = scope->getEnvironment();
			return environment.store(environment.find(name), name, std::move(value));
		}
	}
	return false;
}

bool storeChild(const Value &container, const Value &key, Value value)
{
	if (container.isArray() && isPosition(key))
	{
		value.settleForStore();
		ArrayContainer &array = *container.array();
		const auto index = static_cast<size_t>(key.intPayload());
		if (index < array.size() && !array.fDataStructureOwner) [[likely]]
		{
			array.fItems[index] = std::move(value);
			return true;
		}
		return OMStored::storeIn(container, index, std::move(value));
	}
	return storeAttribute(container, key.isString() ? Name(key.text()) : Name(getAsString(key)), std::move(value));
}

// --- Calls

Ref<Environment> enterCall(const OMExpression &place, const Value &callee, Value thisValue, ValueList &&arguments, Environment &caller)
{
	if (callee.isError())
	{
		return {};
	}
	if (!callee.isFunction())
	{
		fail(place, "cannot access identifier");
		return {};
	}
	return makeRef<Environment>(caller, *callee.function(), std::move(thisValue), std::move(arguments));
}

void callFunction_yielding(
    Task &task, Value &result, const Value &function, const Value &thisValue, const ValueList &arguments, Environment &caller)
{
	struct LocalVariableState : OMFunctionState
	{
		Value function;
		Value value;
		Ref<Environment> callEnvironment;
	};
	enum At : int32_t
	{
		START = 0,
		ENTERED = 1,
		BODY_KNOWN = 1000000,
		DONE = -1
	};

	EvaluationFrame<LocalVariableState> frame(task, result, NestingGuard::SCRIPT_CALL);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				if (!function.isFunction())
				{
					LOG_ERROR("cannot access identifier");
					result = Value::error();
					frame.finish();
					break;
				}
				ValueList copy;
				for (const Value &argument : arguments)
				{
					copy.push_back(argument);
				}
				frame->function = function;
				frame->callEnvironment = makeRef<Environment>(caller, *function.function(), thisValue, std::move(copy));
				frame.goTo(ENTERED);
				break;
			}
			case ENTERED:
				frame.call(
				    BODY_KNOWN, [&] { evaluateOperand(task, frame->value, frame->function.function()->fBody, *frame->callEnvironment); });
				break;
			case BODY_KNOWN:
				result = std::move(frame->value);
				result.dropControl();
				result.settle();
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}
}
