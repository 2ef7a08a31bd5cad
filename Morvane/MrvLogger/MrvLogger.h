#pragma once

#include "MrvLogger/MrvILogger.h"

#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
// Writes lines to a file or to standard error. The file is open only while one line is written, so it can be read, moved or removed
// between lines. Call-backs get a line even when the file can't be opened.
class Logger : public ILogger
{
public:
	void addCallback(LogCallback callback) override;
	std::int32_t getLogLevel() const override { return fLogLevel; }
	bool getIsLogEntryExit() const override { return fIsLogEntryExit; }
	bool getIsLogIPC() const override { return fIsLogIPC; }
	bool getIsLogScriptError() const override { return fIsLogScriptError; }
	bool getIsLogTiming() const override { return fIsLogTiming; }
	const std::string &getLogFilePath() const override { return fLogFilePath; }
	const std::string &getTimingLogFilePath() const override { return fTimingLogFilePath; }
	void logEntry(const char *sourceFile, int line, const char *functionName) override;
	void logError(const char *sourceFile, int line, const char *functionName, const std::string &text) override;
	void logExit(const char *sourceFile, int line, const char *functionName) override;
	void writeLine(const char *label, const char *sourceFile, int line, const char *functionName, const std::string &text) override;
	void logNote(const char *sourceFile, int line, const char *functionName, const std::string &text) override;
	void logTime(const char *sourceFile, int line, const char *functionName, TimingEvent event, const std::string &text) override;
	void writeTimingLine(const std::string &line) override;
	void logTrace(const char *sourceFile, int line, const char *functionName, const std::string &text) override;
	void logWarning(const char *sourceFile, int line, const char *functionName, const std::string &text) override;
	void setLogFilePath(const std::string &path) override { fLogFilePath = path; }
	void setLogLevel(std::int32_t logLevel) override { fLogLevel = logLevel; }

	// No function of ours reports its entry, its exit or its time, so the flags find nothing to write; switching one on says so.
	void setIsLogEntryExit(bool isLogEntryExit) override;
	void setIsLogIPC(bool isLogIPC) override { fIsLogIPC = isLogIPC; }
	void setIsLogScriptError(bool isLogScriptError) override { fIsLogScriptError = isLogScriptError; }
	void setIsLogTiming(bool isLogTiming) override;
	void setTimingLogFilePath(const std::string &path) override { fTimingLogFilePath = path; }

private:
	void emit(const std::string &filePath, const std::string &line);

	std::string fLogFilePath;
	std::string fTimingLogFilePath;
	std::int32_t fLogLevel = static_cast<std::int32_t>(LogLevel::WARNING);
	bool fIsLogEntryExit = false;
	bool fIsLogIPC = false;
	bool fIsLogScriptError = false;
	bool fIsLogTiming = false;
	std::size_t fTimingDepth = 0;
	std::vector<LogCallback> fCallbacks;
};

// The one logger that everything is logged through. There is none until somebody sets one, and none once the library is being
// unloaded: then nothing is written.
void setCurrentLogger(const std::shared_ptr<ILogger> &logger);
std::shared_ptr<ILogger> getCurrentLogger();

// Whether a line of this level would be written. Cheap: ask before putting a text together.
bool isLogged(LogLevel level) noexcept;

// Each forwards to the current logger, and does nothing without one.
void logEntry(const char *sourceFile, int line, const char *functionName);
void logError(const char *sourceFile, int line, const char *functionName, const std::string &text);
void logExit(const char *sourceFile, int line, const char *functionName);
void logNote(const char *sourceFile, int line, const char *functionName, const std::string &text);
void logTime(const char *sourceFile, int line, const char *functionName, ILogger::TimingEvent event, const std::string &text);
void logTrace(const char *sourceFile, int line, const char *functionName, const std::string &text);
void logWarning(const char *sourceFile, int line, const char *functionName, const std::string &text);
}

// Logs a text that comes from here. The text's expression is evaluated only if somebody listens at that level.
// NOLINTBEGIN(cppcoreguidelines-macro-usage): a function can't know where it is called from, nor leave its argument unevaluated.
#define MRV_LOG_AT(level, function, text)                                                                                                  \
	do                                                                                                                                     \
	{                                                                                                                                      \
		if (::Mrv::isLogged(level))                                                                                                        \
		{                                                                                                                                  \
			::Mrv::function(__FILE__, __LINE__, __func__, (text));                                                                         \
		}                                                                                                                                  \
	} while (false)
#define LOG_ERROR(text) MRV_LOG_AT(::Mrv::LogLevel::ERROR_LINES, logError, text)
#define LOG_WARNING(text) MRV_LOG_AT(::Mrv::LogLevel::WARNING, logWarning, text)
#define LOG_NOTE(text) MRV_LOG_AT(::Mrv::LogLevel::NOTE, logNote, text)
#define LOG_TRACE(text) MRV_LOG_AT(::Mrv::LogLevel::TRACE, logTrace, text)
// NOLINTEND(cppcoreguidelines-macro-usage)
