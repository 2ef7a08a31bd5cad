#include "MrvService/MrvServiceLog.h"

#include "MrvMessage/MrvMessage.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvLimits.h"

#include <cstdio>
#include <utility>

namespace Mrv
{
const std::string ServiceLog::TYPENAME = "ServiceLog";
const std::string ServiceLog::SERVICE_NAME = "net.morvane.service.log";

namespace
{
constexpr std::pair<OpCode, LogLevel> LEVELS[] = {
    {OpCode::LOG_TRACE, LogLevel::TRACE},
    {OpCode::LOG_NOTE, LogLevel::NOTE},
    {OpCode::LOG_WARNING, LogLevel::WARNING},
    {OpCode::LOG_ERROR, LogLevel::ERROR_LINES},
};

// The level of a log message, NONE for any other.
LogLevel levelOf(OpCode opCode)
{
	for (const auto &[code, level] : LEVELS)
	{
		if (code == opCode)
		{
			return level;
		}
	}
	return LogLevel::NONE;
}
}

void ServiceLog::setLogString(const std::shared_ptr<std::string> &logString)
{
	fState.logString = logString;
	fState.isLogStringFull = false;
}

bool ServiceLog::pushState()
{
	fStateStack.push_back(fState);
	return true;
}

bool ServiceLog::resetState()
{
	fState = State();
	fState.logLevel = static_cast<int32_t>(LogLevel::TRACE);
	return true;
}

bool ServiceLog::popState()
{
	SANITY_CHECK_AS(!fStateStack.empty(), "! fStateStack.empty()", return false);
	fState = fStateStack.back();
	fStateStack.pop_back();
	return true;
}

bool ServiceLog::appendToLogString(const std::string &text)
{
	std::string &logString = *fState.logString;
	if (logString.size() >= Limits::LOG_STRING || text.size() >= Limits::LOG_STRING - logString.size())
	{
		if (!fState.isLogStringFull)
		{
			LOG_ERROR("the captured log is full: lines are dropped");
			fState.isLogStringFull = true;
		}
		return false;
	}
	logString += text;
	logString += '\n';
	return true;
}

bool ServiceLog::logMessage(const std::string &text)
{
	if (fState.logString)
	{
		return appendToLogString(text);
	}
	const std::string line = text + "\n";
	if (fState.logFilePath.empty())
	{
		return Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, line) == Platform::WriteOutcome::WRITTEN;
	}
	std::FILE *logFile = Platform::openFile(fState.logFilePath, Platform::OpenMode::APPEND);
	SANITY_CHECK_AS(logFile, "::fopen_s(&logFile, fLogFilePath.c_str(), \"a\") == 0", return false);
	const bool isWritten = std::fwrite(line.data(), 1, line.size(), logFile) == line.size();
	return std::fclose(logFile) == 0 && isWritten;
}

bool ServiceLog::receiveMessage(const std::shared_ptr<IObject> &messageObj)
{
	SANITY_CHECK(Service_abstract::receiveMessage(messageObj), return false);
	ASSIGN_TYPED(IMessage, message, messageObj, return false);
	const LogLevel level = levelOf(message->getOpCode());
	if (level == LogLevel::NONE)
	{
		LOG_WARNING("unexpected opcode");
		return true;
	}
	if (fState.logLevel >= static_cast<int32_t>(level))
	{
		logMessage(message->getPayload());
	}
	return true;
}
}
