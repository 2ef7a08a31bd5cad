#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
class EvalScriptTask;
class InternalCoordinator;
class Task;

// What a stand-alone process does from the coordinator's start to its end: the script, then the session, then serving.
class ProcessRun
{
public:
	explicit ProcessRun(InternalCoordinator &coordinator) : fCoordinator(coordinator) {}

	// Runs all jobs that the settings name, or one that fits where input comes from. Gives the exit status; for each but 0 a line on
	// standard error says why.
	int run();

private:
	enum Status : int
	{
		WELL = 0,
		ENDED_IN_ERROR = 1,
		NO_SCRIPT = 2,
		NO_START = 3,
		SIGNAL_BASE = 128,
	};

	void chooseJob();
	void runScript(const std::string &path);
	void runSession(bool isPrompted);
	void serve();
	void endOrderly(int64_t delayMicroseconds);
	// Lets the event loop run until the task has ended. False when the process is to end instead.
	bool waitFor(const std::shared_ptr<Task> &task);
	void takeExitValue(Task &task);
	void end(int status, const std::string &reason);
	bool mustEnd();

	InternalCoordinator &fCoordinator;
	std::string fScriptFile;
	bool fIsPrompted = false;
	bool fReadsStatements = false;
	int fStatus = WELL;
	bool fIsEnding = false;
};
}
