#include "MrvParser/Language/MrvScriptEvaluation.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Stream/MrvInputStreamFile.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Stream/MrvOutputStreamStdErr.h"
#include "MrvUtils/MrvDirs.h"

#include <algorithm>

namespace Mrv
{
namespace
{
constexpr char SCOPE_SEPARATOR = '\\';

void writeWarnings(const ParseContext &context)
{
	OutputStreamStdErr errorOutput;
	for (const std::string &warning : context.getWarnings())
	{
		errorOutput.write(warning + '\n');
	}
}

// A literal of data that nobody else holds is its own value; copying it would double what a large JSON text takes.
bool isOwnValue(const Value &program)
{
	return (program.isArray() && program.array()->fIsData && !program.array()->isShared()) ||
	       (program.isMap() && program.map()->fIsData && !program.map()->isShared());
}
}

namespace ScriptEvaluation
{
void parse_yielding(Task &task, Value &program, bool &isParsed, InputStream &stream, ParseContext &context)
{
	struct LocalVariableState : OMFunctionState
	{
	};
	enum At : int32_t
	{
		START = 0,
		PARSED = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, program, isParsed);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(PARSED, [&] { Parser::parseExpressionList_yielding(task, isParsed, program, stream, context); });
				break;
			case PARSED:
				writeWarnings(context);
				if (!isParsed)
				{
					Parser::writeError(context);
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void evaluateSource_yielding(
    Task &task, Value &result, bool &isParsed, Source &source, Environment &environment, HandleReturnValue handleReturnValue)
{
	struct LocalVariableState : OMFunctionState
	{
		Value program;
		bool isParsed = false;
	};
	enum At : int32_t
	{
		START = 0,
		RUN = 1,
		PARSED = 1000000,
		VALUE_KNOWN = 1000001,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, result, isParsed);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(PARSED, [&] { parse_yielding(task, frame->program, frame->isParsed, *source.stream, *source.context); });
				break;
			case PARSED:
				isParsed = frame->isParsed;
				if (isParsed && !source.address.empty())
				{
					frame->program = Evaluation::programForElsewhere(frame->program, source.address);
				}
				source = Source();
				if (!isParsed)
				{
					result = Value::error();
					frame.finish();
					break;
				}
				if (isOwnValue(frame->program))
				{
					result = std::move(frame->program);
					frame.finish();
					break;
				}
				frame.goTo(RUN);
				break;
			case RUN:
				frame.call(VALUE_KNOWN, [&] { Evaluation::evaluateProgram_yielding(task, result, frame->program, environment); });
				break;
			case VALUE_KNOWN:
				isParsed = true;
				if (handleReturnValue == HandleReturnValue::UNWRAP)
				{
					result.dropControl();
				}
				frame.finish();
				break;
			case DONE:
				break;
		}
	}
}

void evalText_yielding(Task &task, Value &result, bool &isParsed, std::string_view text, const std::string &sourceName,
    Environment &environment, HandleReturnValue handleReturnValue)
{
	struct LocalVariableState : OMFunctionState
	{
		Source source;
	};
	enum At : int32_t
	{
		START = 0,
		SOURCE_KNOWN = 1,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, result, isParsed);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame->source = {std::make_shared<InputStreamString>(text), std::make_unique<ParseContext>(sourceName)};
				frame.goTo(SOURCE_KNOWN);
				break;
			case SOURCE_KNOWN:
				frame.call(DONE, [&] { evaluateSource_yielding(task, result, isParsed, frame->source, environment, handleReturnValue); });
				break;
			case DONE:
				break;
		}
	}
}

void evalScript_yielding(
    Task &task, Value &result, bool &isParsed, const std::string &path, Environment &environment, HandleReturnValue handleReturnValue)
{
	struct LocalVariableState : OMFunctionState
	{
		Source source;
		ScriptPathEntry entry;
	};
	enum At : int32_t
	{
		START = 0,
		FILE_OPEN = 1,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(task, result, isParsed);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
			{
				const auto scope = environment.getScope();
				const std::string absolutePath = resolvePath(path, *scope);
				const auto file =
				    Dirs::fileExists(absolutePath) ? std::make_shared<InputStreamFile>(absolutePath) : std::shared_ptr<InputStreamFile>();
				if (!file || !file->isOpen())
				{
					task.fErrorNote = (file ? "cannot be read: " : "does not exist: ") + absolutePath;
					LOG_ERROR(task.fErrorNote);
					result = Value::error();
					frame.finish();
					break;
				}
				frame->source = {file, std::make_unique<ParseContext>(absolutePath, ParseContext::FirstLine::MAY_BE_DIRECTIVE)};
				frame->entry = ScriptPathEntry(scope, absolutePath);
				frame.goTo(FILE_OPEN);
				break;
			}
			case FILE_OPEN:
				frame.call(DONE, [&] { evaluateSource_yielding(task, result, isParsed, frame->source, environment, handleReturnValue); });
				break;
			case DONE:
				break;
		}
	}
}

std::string toSystemPath(std::string path)
{
	const char other = Platform::pathSeparator() == '/' ? '\\' : '/';
	std::replace(path.begin(), path.end(), other, Platform::pathSeparator());
	return path;
}

std::string toScopePath(std::string path)
{
	std::replace(path.begin(), path.end(), '/', SCOPE_SEPARATOR);
	return path;
}

std::string resolvePath(const std::string &path, const OMScope &scope)
{
	const std::string scriptPath = toSystemPath(scope.getScriptFilePath());
	const std::string folder = scriptPath.empty() ? Dirs::getCurrentDir() : Dirs::getParentPath(scriptPath);
	const std::string resolved = Dirs::resolveRelativePath(toSystemPath(path), folder);
	return resolved.empty() ? path : resolved; // the folder is gone
}
}

ScriptPathEntry::ScriptPathEntry(std::shared_ptr<OMScope> scope, const std::string &path)
    : fScope(std::move(scope)),
      fId(fScope->pushScriptFilePath(ScriptEvaluation::toScopePath(path)))
{
}

ScriptPathEntry &ScriptPathEntry::operator=(ScriptPathEntry &&other) noexcept
{
	if (this != &other)
	{
		remove();
		fScope = std::move(other.fScope);
		fId = other.fId;
		other.fScope.reset();
	}
	return *this;
}

void ScriptPathEntry::remove() noexcept
{
	if (fScope)
	{
		fScope->removeScriptFilePath(fId);
		fScope.reset();
	}
}
}
