#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// A line of a level is written when the logger's level is at least the line's.
enum class LogLevel : std::int32_t
{
	NONE = 0,
	ERROR_LINES = 1,
	WARNING = 2,
	NOTE = 3,
	TRACE = 4,
};

// Gets each finished line, without a line end. May log, and add call-backs.
using LogCallback = void (*)(const std::string &line);

// The sink of all diagnostic text. The level operations take where the text comes from: source file, line, function name.
class ILogger
{
public:
	enum class TimingEvent
	{
		START,
		ELAPSED,
	};

	ILogger() = default;
	ILogger(const ILogger &) = delete;
	ILogger &operator=(const ILogger &) = delete;
	virtual ~ILogger() = default;

	// Call-backs are called in the order in which they were added, for each line. Null is ignored.
	virtual void addCallback(LogCallback callback) = 0;
	virtual std::int32_t getLogLevel() const = 0;
	virtual bool getIsLogEntryExit() const = 0;
	virtual bool getIsLogIPC() const = 0;
	virtual bool getIsLogScriptError() const = 0;
	virtual bool getIsLogTiming() const = 0;
	virtual const std::string &getLogFilePath() const = 0;
	virtual const std::string &getTimingLogFilePath() const = 0;

	// Entry and exit obey their flag, not the level.
	virtual void logEntry(const char *sourceFile, int line, const char *functionName) = 0;
	virtual void logError(const char *sourceFile, int line, const char *functionName, const std::string &text) = 0;
	virtual void logExit(const char *sourceFile, int line, const char *functionName) = 0;

	// Writes a line whatever the level is. `label` is five characters wide.
	virtual void writeLine(const char *label, const char *sourceFile, int line, const char *functionName, const std::string &text) = 0;
	virtual void logNote(const char *sourceFile, int line, const char *functionName, const std::string &text) = 0;

	// Obeys the timing flag. START deepens the nesting that lines show, ELAPSED takes it back.
	virtual void logTime(const char *sourceFile, int line, const char *functionName, TimingEvent event, const std::string &text) = 0;

	// Writes a finished line the way of timing lines.
	virtual void writeTimingLine(const std::string &line) = 0;
	virtual void logTrace(const char *sourceFile, int line, const char *functionName, const std::string &text) = 0;
	virtual void logWarning(const char *sourceFile, int line, const char *functionName, const std::string &text) = 0;

	// An empty path means standard error.
	virtual void setLogFilePath(const std::string &path) = 0;
	virtual void setLogLevel(std::int32_t logLevel) = 0;
	virtual void setIsLogEntryExit(bool isLogEntryExit) = 0;
	virtual void setIsLogIPC(bool isLogIPC) = 0;
	virtual void setIsLogScriptError(bool isLogScriptError) = 0;
	virtual void setIsLogTiming(bool isLogTiming) = 0;
	virtual void setTimingLogFilePath(const std::string &path) = 0;
};
}
