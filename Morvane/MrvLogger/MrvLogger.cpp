#include "MrvLogger/MrvLogger.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvFileSystem.h"

#include <cstdio>
#include <tuple>

namespace Mrv
{
namespace
{
// The current logger, kept so that code which runs after this object's destruction (at the library's unload) finds none.
struct CurrentLogger
{
	~CurrentLogger() { isOver = true; }

	static constinit inline bool isOver = false;
	std::shared_ptr<ILogger> logger;
};

constinit CurrentLogger sCurrent{};

ILogger *current() noexcept
{
	return CurrentLogger::isOver ? nullptr : sCurrent.logger.get();
}

void appendPadded(std::string &text, int number, std::size_t width)
{
	const std::string digits = std::to_string(number);
	if (digits.size() < width)
	{
		text.append(width - digits.size(), '0');
	}
	text += digits;
}

// The local date and time as "%d-%m-%Y %H:%M:%S".
std::string timeStamp()
{
	Platform::CalendarTime time;
	Platform::localCalendarTime(Platform::wallSeconds(), time);
	std::string text;
	for (const auto &[number, width, end] : {std::tuple{time.day, 2U, '-'}, {time.month, 2U, '-'}, {time.year, 4U, ' '},
	         {time.hour, 2U, ':'}, {time.minute, 2U, ':'}, {time.second, 2U, '\0'}})
	{
		appendPadded(text, number, width);
		if (end != '\0')
		{
			text += end;
		}
	}
	return text;
}

bool isAtLeast(std::int32_t logLevel, LogLevel level)
{
	return logLevel >= static_cast<std::int32_t>(level);
}
}

void Logger::addCallback(LogCallback callback)
{
	if (callback)
	{
		fCallbacks.push_back(callback);
	}
}

// The stream is chosen, the call-backs are called, then the line is written: in that order, and the call-backs always.
void Logger::emit(const std::string &filePath, const std::string &line)
{
	std::FILE *const file = filePath.empty() ? nullptr : Platform::openFile(filePath, Platform::OpenMode::APPEND);
	const bool toStandardError = filePath.empty();
	// By index: a call-back may add another one.
	for (std::size_t i = 0; i < fCallbacks.size(); ++i)
	{
		fCallbacks[i](line);
	}
	const std::string terminated = line + '\n';
	if (toStandardError)
	{
		Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, terminated);
	}
	else if (file)
	{
		std::fwrite(terminated.data(), 1, terminated.size(), file);
		std::fclose(file);
	}
}

void Logger::writeLine(const char *label, const char *, int, const char *functionName, const std::string &text)
{
	std::string line = timeStamp();
	line.append(1, ' ').append(label).append(": in ").append(functionName).append(1, ' ').append(text);
	emit(fLogFilePath, line);
}

void Logger::writeTimingLine(const std::string &line)
{
	emit(fTimingLogFilePath, line);
}

void Logger::logEntry(const char *sourceFile, int line, const char *functionName)
{
	if (fIsLogEntryExit)
	{
		writeLine("ENTRY >>>", sourceFile, line, functionName, "");
	}
}

void Logger::logExit(const char *sourceFile, int line, const char *functionName)
{
	if (fIsLogEntryExit)
	{
		writeLine("<<<  EXIT", sourceFile, line, functionName, "");
	}
}

void Logger::logError(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (isAtLeast(fLogLevel, LogLevel::ERROR_LINES))
	{
		writeLine("ERROR", sourceFile, line, functionName, text);
	}
}

void Logger::logWarning(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (isAtLeast(fLogLevel, LogLevel::WARNING))
	{
		writeLine("WARN ", sourceFile, line, functionName, text);
	}
}

void Logger::logNote(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (isAtLeast(fLogLevel, LogLevel::NOTE))
	{
		writeLine("NOTE ", sourceFile, line, functionName, text);
	}
}

void Logger::logTrace(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (isAtLeast(fLogLevel, LogLevel::TRACE))
	{
		writeLine("TRACE", sourceFile, line, functionName, text);
	}
}

void Logger::logTime(const char *, int, const char *functionName, TimingEvent event, const std::string &text)
{
	if (!fIsLogTiming)
	{
		return;
	}
	if (event == TimingEvent::ELAPSED && fTimingDepth > 0)
	{
		--fTimingDepth;
	}
	std::string line = timeStamp() + ' ';
	for (std::size_t depth = 0; depth < fTimingDepth; ++depth)
	{
		line += "          ";
	}
	line.append(" TIME : in ").append(functionName).append(event == TimingEvent::START ? ": start (" : ": elapsed (").append(text) += ')';
	if (event == TimingEvent::START)
	{
		++fTimingDepth;
	}
	writeTimingLine(line);
}

void Logger::setIsLogEntryExit(bool isLogEntryExit)
{
	fIsLogEntryExit = isLogEntryExit;
	if (isLogEntryExit)
	{
		logError(
		    __FILE__, __LINE__, __func__, "code is not instrumented with entry/exit code. Change ADD_LOG_ENTRY_EXIT_CODE and recompile.");
	}
}

void Logger::setIsLogTiming(bool isLogTiming)
{
	fIsLogTiming = isLogTiming;
	if (isLogTiming)
	{
		logError(__FILE__, __LINE__, __func__, "EXPECTED failed: '! isLogTiming' evaluates to false");
	}
}

void setCurrentLogger(const std::shared_ptr<ILogger> &logger)
{
	if (!CurrentLogger::isOver)
	{
		sCurrent.logger = logger;
	}
}

std::shared_ptr<ILogger> getCurrentLogger()
{
	return CurrentLogger::isOver ? nullptr : sCurrent.logger;
}

bool isLogged(LogLevel level) noexcept
{
	const ILogger *const logger = current();
	return logger && isAtLeast(logger->getLogLevel(), level);
}

void logEntry(const char *sourceFile, int line, const char *functionName)
{
	if (ILogger *const logger = current())
	{
		logger->logEntry(sourceFile, line, functionName);
	}
}

void logError(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (ILogger *const logger = current())
	{
		logger->logError(sourceFile, line, functionName, text);
	}
}

void logExit(const char *sourceFile, int line, const char *functionName)
{
	if (ILogger *const logger = current())
	{
		logger->logExit(sourceFile, line, functionName);
	}
}

void logNote(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (ILogger *const logger = current())
	{
		logger->logNote(sourceFile, line, functionName, text);
	}
}

void logTime(const char *sourceFile, int line, const char *functionName, ILogger::TimingEvent event, const std::string &text)
{
	if (ILogger *const logger = current())
	{
		logger->logTime(sourceFile, line, functionName, event, text);
	}
}

void logTrace(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (ILogger *const logger = current())
	{
		logger->logTrace(sourceFile, line, functionName, text);
	}
}

void logWarning(const char *sourceFile, int line, const char *functionName, const std::string &text)
{
	if (ILogger *const logger = current())
	{
		logger->logWarning(sourceFile, line, functionName, text);
	}
}

void Detail::reportFailedCheck(const char *message, const char *sourceFile, int line, const char *functionName)
{
	if (isLogged(LogLevel::ERROR_LINES))
	{
		logError(sourceFile, line, functionName, message);
	}
}
}
