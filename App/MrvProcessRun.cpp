#include "MrvProcessRun.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvStreamEvaluation.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamFile.h"
#include "MrvParser/Stream/MrvInputStreamStdIn.h"
#include "MrvParser/Task/MrvEvalScriptTask.h"
#include "MrvParser/Task/MrvParseAndEvalStreamTask.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"

namespace Mrv
{
namespace
{
constexpr OMInt MAX_STATUS = 255;
constexpr int64_t WRITE_PAUSE_NANOSECONDS = 1'000'000; // what is in flight ends a sleep

// Where the lines typed at the prompt are kept; empty when there is no such place.
std::string historyFilePath()
{
	const std::string &base = Dirs::getUserDataPath();
	const std::string folder = base + "net.morvane";
	return !base.empty() && Dirs::mkDir(folder, DirRecurse::RECURSE) ? folder + Platform::pathSeparator() + "history" : std::string();
}
}

int ProcessRun::run()
{
	chooseJob();
	if (!fScriptFile.empty())
	{
		runScript(fScriptFile);
	}
	if (!fIsEnding && (fIsPrompted || fReadsStatements))
	{
		runSession(fIsPrompted);
	}
	const CoordinatorSettings &settings = InternalCoordinator::getSettings();
	if (!fIsEnding)
	{
		serve();
	}
	// Unfinished tasks are exited, so that what they must undo is undone.
	Task::exitAllTasks(fCoordinator.getMainTask().get());
	endOrderly(settings.delayQuitMicroseconds);
	InternalCoordinator::setInputKind(InternalCoordinator::InputKind::EMPTY); // gives a terminal its modes back
	if (fStatus == WELL && fCoordinator.isPipeRefused())
	{
		end(NO_START, "the coordinator could not start: its pipe can't be opened");
	}
	if (Platform::console().flush() == Platform::WriteOutcome::FAILED)
	{
		end(ENDED_IN_ERROR, "standard output can't be written");
	}
	return fStatus;
}

// What was sent still goes out; the others are waited for no longer than that.
void ProcessRun::endOrderly(int64_t delayMicroseconds)
{
	if (!mustEnd())
	{
		fCoordinator.runEventLoop(delayMicroseconds, [this] { return !fCoordinator.hasMessagesToSend() || mustEnd(); });
	}
	InternalCoordinator::terminate();
	InternalCoordinator::runEventLoop(delayMicroseconds);
	while (!WritePipe::isAllIdle() && !InternalCoordinator::isEndOverdue())
	{
		WritePipe::timeslice();
		Platform::sleepUntil(Platform::steadyNanoseconds() + WRITE_PAUSE_NANOSECONDS);
	}
}

void ProcessRun::chooseJob()
{
	const CoordinatorSettings &settings = InternalCoordinator::getSettings();
	fScriptFile = settings.scriptFile;
	fIsPrompted = settings.isInteractive;
	fReadsStatements = settings.readStdIn && !settings.isInteractive;
	if (fScriptFile.empty() && !fIsPrompted && !fReadsStatements && !settings.isServer)
	{
		if (Platform::console().isTerminal(Platform::StandardStream::INPUT))
		{
			fIsPrompted = true;
		}
		else
		{
			fScriptFile = "-";
		}
	}
}

// The reason for the process to end before its jobs are done, if there is one.
bool ProcessRun::mustEnd()
{
	if (InternalCoordinator::isTerminating())
	{
		return true;
	}
	if (Platform::pendingSignal() != 0)
	{
		InternalCoordinator::terminate();
		return true;
	}
	if (Platform::console().write(Platform::StandardStream::OUTPUT, {}) != Platform::WriteOutcome::WRITTEN)
	{
		InternalCoordinator::terminate();
		return true;
	}
	return false;
}

bool ProcessRun::waitFor(const std::shared_ptr<Task> &task)
{
	Task::startTask(task);
	fCoordinator.runEventLoop(-1, [&] { return task->isTaskCompleted() || mustEnd(); });
	if (mustEnd())
	{
		fIsEnding = true;
	}
	return task->isTaskCompleted();
}

void ProcessRun::end(int status, const std::string &reason)
{
	fStatus = status;
	fIsEnding = true;
	if (status != WELL)
	{
		Platform::console().flush();
		Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, "morvane: " + reason + "\n");
	}
}

// What the script gave to `exit`, if it called that.
void ProcessRun::takeExitValue(Task &task)
{
	if (!task.isExitRequested())
	{
		return;
	}
	fIsEnding = true;
	const auto result = task.hasResult() ? task.getResult() : nullptr;
	if (result && result->getType() == OMType::Int && result->getInt() >= 0 && result->getInt() <= MAX_STATUS)
	{
		end(static_cast<int>(result->getInt()), "the script called exit(" + std::to_string(result->getInt()) + ")");
	}
}

namespace
{
std::shared_ptr<EvalScriptTask> makeStreamTask(std::shared_ptr<InputStream> stream, const std::string &name)
{
	return EvalScriptTask::streamFactory(InternalCoordinator::getCoordinatorScope(), std::move(stream), name, HandleReturnValue::UNWRAP,
	    InternalCoordinator::getSettings().remoteCoordinator);
}

// What runs elsewhere is read here all the same: the file may be out of reach there.
std::shared_ptr<EvalScriptTask> makeFileTask(const std::string &path)
{
	if (!InternalCoordinator::getSettings().remoteCoordinator.empty() && Dirs::fileExists(path))
	{
		return makeStreamTask(std::make_shared<InputStreamFile>(path), path);
	}
	return EvalScriptTask::factory(InternalCoordinator::getCoordinatorScope(), path, HandleReturnValue::UNWRAP);
}
}

void ProcessRun::runScript(const std::string &path)
{
	const bool isStandardInput = path == "-";
	// The script's own input: standard input, unless the script itself came from there.
	InternalCoordinator::setInputKind(
	    isStandardInput ? InternalCoordinator::InputKind::EMPTY : InternalCoordinator::InputKind::STANDARD_INPUT);
	const auto task = isStandardInput ? makeStreamTask(std::make_shared<InputStreamStdIn>(), "standard input") : makeFileTask(path);
	if (!waitFor(task))
	{
		const int signal = Platform::pendingSignal();
		if (signal != 0)
		{
			end(SIGNAL_BASE + signal, "the script was cut off by signal " + std::to_string(signal));
		}
		return;
	}
	if (task->isExitRequested())
	{
		takeExitValue(*task);
	}
	else if (!task->isParsed())
	{
		end(NO_SCRIPT, path + " could not be read or parsed");
	}
	else if (task->getResult() && task->getResult()->getType() == OMType::Error)
	{
		reportErrorNote(*task);
		fStatus = ENDED_IN_ERROR;
	}
}

void ProcessRun::runSession(bool isPrompted)
{
	std::shared_ptr<IOStreamPrompted> stream;
	if (isPrompted)
	{
		// Where nobody sees the echo of an edited line, the terminal is left to its own echo.
		const bool isTerminal = Platform::console().isTerminal(Platform::StandardStream::INPUT) &&
		                        Platform::console().isTerminal(Platform::StandardStream::OUTPUT);
		InternalCoordinator::setInputKind(
		    isTerminal ? InternalCoordinator::InputKind::CONSOLE : InternalCoordinator::InputKind::STANDARD_INPUT);
		if (isTerminal)
		{
			Platform::console().setHistoryFile(historyFilePath());
		}
		stream = InternalCoordinator::inputStreamFactory();
		stream->setPrompt(std::nullopt);
		stream->setContinuationPrompt(std::nullopt);
	}
	else
	{
		InternalCoordinator::setInputKind(InternalCoordinator::InputKind::STANDARD_INPUT);
		stream = std::make_shared<IOStreamPrompted>(InternalCoordinator::inputStreamFactory()->getNestedInputStream(), nullptr);
	}
	const auto task = ParseAndEvalStreamTask::factory(
	    InternalCoordinator::getCoordinatorScope(), stream, InternalCoordinator::getSettings().remoteCoordinator);
	fStatus = WELL;
	if (!waitFor(task))
	{
		return;
	}
	if (task->isExitRequested())
	{
		takeExitValue(*task);
	}
	else if (!task->isSuccess() && !isPrompted && !fIsEnding)
	{
		end(NO_SCRIPT, "standard input could not be parsed");
	}
}

void ProcessRun::serve()
{
	// A function that answers data requests is work as well, as long as it is registered.
	const auto hasWork = [] { return InternalCoordinator::getSettings().isServer || InternalCoordinator::hasDataRequestCallBack(); };
	fCoordinator.runEventLoop(-1, [&] { return mustEnd() || !hasWork(); });
}
}
