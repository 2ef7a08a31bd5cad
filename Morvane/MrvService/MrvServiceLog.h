#pragma once

#include "MrvLogger/MrvILogger.h"
#include "MrvService/MrvSingletonService.h"

#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
// Writes the payloads of log messages, each as a line: to a string that somebody has set to capture them, else to a file, else to standard
// error. The payload is the raw text.
class ServiceLog final : public SingletonService<ServiceLog>
{
public:
	static const std::string TYPENAME;
	static const std::string SERVICE_NAME;

	// Where lines go while it is set; null ends that. The string grows to Limits::LOG_STRING, what comes then is dropped.
	void setLogString(const std::shared_ptr<std::string> &logString);
	// Empty: standard error.
	void setLogFilePath(const std::string &logFilePath) { fState.logFilePath = logFilePath; }
	const std::string &getLogFilePath() const { return fState.logFilePath; }
	// Messages of this level and the more urgent ones are written.
	void setLogLevel(int32_t logLevel) { fState.logLevel = logLevel; }
	int32_t getLogLevel() const { return fState.logLevel; }

	// Who wants to capture what is logged meanwhile: pushState, resetState, setLogString, and popState in the end. Reset: no string, no
	// file, all levels. Without a saved state popState changes nothing and gives false.
	bool pushState();
	bool resetState();
	bool popState();

	// Writes a line, whatever the level. False, with a log line, when that fails.
	bool logMessage(const std::string &text);

	// A message that is none of the log's is told and passed over.
	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override;

private:
	friend class SingletonService<ServiceLog>;
	ServiceLog() = default;

	struct State
	{
		std::shared_ptr<std::string> logString;
		std::string logFilePath;
		int32_t logLevel = static_cast<int32_t>(LogLevel::WARNING);
		bool isLogStringFull = false;
	};

	bool appendToLogString(const std::string &text);

	State fState;
	std::vector<State> fStateStack;
};
}
