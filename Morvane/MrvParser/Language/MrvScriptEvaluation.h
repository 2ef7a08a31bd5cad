#pragma once

#include "MrvParser/Language/MrvEnvironment.h"
#include "MrvParser/Language/MrvParseContext.h"
#include "MrvParser/Node/MrvNodeTypes.h"

#include <memory>
#include <string>
#include <string_view>

namespace Mrv
{
class InputStream;
class OMScope;
class Task;

// From characters to a value: what the built-in functions and the tasks that run whole texts have in common. Everything that ends in
// `_yielding` may suspend, and keeps what it runs; the environment is the caller's to keep.
namespace ScriptEvaluation
{
// A text on its way to being a program.
struct Source
{
	std::shared_ptr<InputStream> stream;
	std::unique_ptr<ParseContext> context;
	std::string address{}; // where it is to be run; empty: here
};

// All statements of a stream. A text that can't be parsed is reported on standard error, and so is what the parser warns of.
void parse_yielding(Task &task, Value &program, bool &isParsed, InputStream &stream, ParseContext &context);

// Parses a source to its end, lets go of it, and runs the program. `isParsed` false: nothing has run, the result is an Error.
void evaluateSource_yielding(Task &task, Value &result, bool &isParsed, Source &source, Environment &environment,
    HandleReturnValue handleReturnValue = HandleReturnValue::UNWRAP);

// The same for a text in memory. sourceName: what messages call it.
void evalText_yielding(Task &task, Value &result, bool &isParsed, std::string_view text, const std::string &sourceName,
    Environment &environment, HandleReturnValue handleReturnValue = HandleReturnValue::UNWRAP);

// The same for a script file, which is the script of the environment's scope while it runs (OMScope::getScriptFilePath). The path is
// taken as `resolvePath` does. A file that isn't there logs "does not exist: PATH"; `isParsed` is false then too.
void evalScript_yielding(Task &task, Value &result, bool &isParsed, const std::string &path, Environment &environment,
    HandleReturnValue handleReturnValue = HandleReturnValue::UNWRAP);

// The absolute path of a script, with the system's separators; a relative one counts from the folder of the scope's present script, without
// one from the current folder. Both separators are understood.
std::string resolvePath(const std::string &path, const OMScope &scope);

// Scopes hold the paths of scripts with `\` as separator; these turn them into the system's form and back.
std::string toSystemPath(std::string path);
std::string toScopePath(std::string path);
}

// A script path that a scope shows for as long as this object lives, wherever it is moved; then that very entry goes.
class ScriptPathEntry
{
public:
	ScriptPathEntry() = default;
	// path: with the system's separators.
	ScriptPathEntry(std::shared_ptr<OMScope> scope, const std::string &path);
	ScriptPathEntry(ScriptPathEntry &&other) noexcept : fScope(std::move(other.fScope)), fId(other.fId) { other.fScope.reset(); }
	ScriptPathEntry &operator=(ScriptPathEntry &&other) noexcept;
	~ScriptPathEntry() { remove(); }

private:
	void remove() noexcept;

	std::shared_ptr<OMScope> fScope;
	uint64_t fId = 0;
};
}
