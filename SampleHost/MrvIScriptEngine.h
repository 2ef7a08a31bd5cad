#pragma once

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace Mrv
{
// What passes between scripts and the host: undefined, a truth value, a number, or a text in UTF-8. Of other values nothing passes.
using ScriptValue = std::variant<std::monostate, bool, double, std::string>;

// What scripts reach as `morvaneHost.call(operation, argument, ...)`. False: the result is a text, and an Error with it is thrown in the
// script. Doesn't throw, and evaluates nothing.
using HostOperation = std::function<bool(const std::vector<ScriptValue> &arguments, ScriptValue &result)>;

// A JavaScript engine, one thread.
class IScriptEngine
{
public:
	IScriptEngine() = default;
	IScriptEngine(const IScriptEngine &) = delete;
	IScriptEngine &operator=(const IScriptEngine &) = delete;
	virtual ~IScriptEngine() = default;

	// Runs a text in the global scope. `name` is what errors call it. False when it can't be parsed or throws; then `error` is
	// "name:line: message".
	virtual bool run(const std::string &text, const std::string &name, std::string &error) = 0;
	// The same for one expression, with its value.
	virtual bool evaluate(const std::string &expression, ScriptValue &result, std::string &error) = 0;
};

// The engine of this system. Null when it has none; then `refusal` tells why.
std::unique_ptr<IScriptEngine> makeScriptEngine(HostOperation operation, std::string &refusal);
}
