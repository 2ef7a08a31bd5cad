#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// Every tunable of the system, with its built-in default. Names ending in Microseconds hold microseconds.
struct CoordinatorSettings
{
	std::string coordinatorName;
	std::string coordinatorShortName;
	std::string defaultEngine;
	int64_t delayQuitMicroseconds = 10'000'000;
	int64_t eventLoopMicroseconds = 500'000;
	int64_t quitReflectorEventLoopForTestsMicroseconds = 7'000'000;
	int64_t eventLoopSleepMicroseconds = 5'000;
	int64_t interCoordinatorTestTimeMicroseconds = 7'000'000;
	int64_t interCoordinatorPipeWaitTimeMicroseconds = 7'000'000;
	std::string ipcMessageLogFile;
	bool isInteractive = false;
	bool readStdIn = false;
	bool runTests = false;
	bool isServer = false;
	bool updateSessionData = false;
	bool logEntryExit = false;
	std::string logFile;
	int64_t logLevel = 2;
	bool logIPC = false;
	bool logScriptError = false;
	bool logTiming = false;
	int64_t maxWaitPipeReappearMicroseconds = 1'000'000;
	std::string remoteCoordinator;
	int64_t remoteTimeoutMicroseconds = 10'000'000;
	int64_t scanActiveSiblingsIntervalMicroseconds = 100'000;
	int64_t scanConfigSiblingsIntervalMicroseconds = 5'000'000;
	int64_t scanNamedPipeSiblingsIntervalMicroseconds = 100'000;
	std::string scriptErrorLogFile;
	std::string prompt = "> ";
	std::string promptContinuation = ". ";
	std::string scriptFile; // "-": standard input
	std::string startupScriptFile;
	int64_t sleepWaitForPipeMicroseconds = 10'000;
	int64_t defaultTimeoutMicroseconds = 10'000'000;
	int64_t testTimeoutMicroseconds = 10'000'000;
	int64_t internalCoordinatorTimesliceMicroseconds = 10'000;
	int64_t consoleEcho = 1;
	std::string timingLogFile;

	// Of the command line alone.
	std::string settingD;
	std::string settingQ;
	std::string configurationNodeSuffix; // "." and the node's name, or empty
};
}
