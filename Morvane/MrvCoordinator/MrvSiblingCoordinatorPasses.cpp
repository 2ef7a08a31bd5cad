// The machine of a sibling's states. A pass is cheap while nothing happens: files and processes are looked at when their interval has
// passed, or when a pipe reported an error. A message takes three passes, from RUNNING by SENDING and IDLE back to RUNNING; passes repeat
// as long as they get something done and the slice lasts.
#include "MrvCoordinator/MrvSiblingCoordinator.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvData/MrvData_abstract.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPipes/MrvPipe.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvTask/MrvYieldingFrame.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvLimits.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
namespace
{
constexpr int MAX_SEND_RETRIES = 3;   // a message is tried four times
constexpr int MAX_LAUNCH_RETRIES = 3; // more launches in a row, and it is given up
constexpr std::int64_t UNUSED_HANDLE_NANOSECONDS = 1'000'000'000;
constexpr std::int64_t SLOW_START_NANOSECONDS = 60'000'000'000; // so long a process may take to come up
}

bool SiblingCoordinator::isIdle() const
{
	return fQueue.empty() && fSiblingState != SiblingState::SENDING && Service_abstract::isIdle();
}

bool SiblingCoordinator::isHoldingResponses() const
{
	return !fQueue.empty() && fHasPipe && fIsAlive && !InternalCoordinator::isEndOverdue();
}

void SiblingCoordinator::timeslice_yielding(const std::shared_ptr<Task> &task, bool &success)
{
	struct LocalVariableState : OMFunctionState
	{
		bool inheritedSuccess = true;
	};
	enum At : int32_t
	{
		START = 0,
		INHERITED_DONE = 1000000,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				frame.call(INHERITED_DONE, [&] { Service_abstract::timeslice_yielding(task, frame->inheritedSuccess); });
				break;
			case INHERITED_DONE:
				if (!runPass())
				{
					success = frame->inheritedSuccess;
					frame.finish();
				}
				break;
			case DONE:
				break;
		}
	}
}

bool SiblingCoordinator::runPass()
{
	if (InternalCoordinator::isTerminating())
	{
		return passWhileTerminating();
	}
	switch (fSiblingState)
	{
		case SiblingState::INACTIVE:
			return passInactive();
		case SiblingState::SENDING:
			return passSending();
		case SiblingState::RUNNING:
			return passRunning();
		case SiblingState::IDLE:
		case SiblingState::LAUNCHED:
			return passIdleOrLaunched();
	}
	return false;
}

// What was queued before the end goes out to whoever lives; what came later stays until the other one has gone, so that nobody relies on
// answers of one that is ending. Nothing is launched.
bool SiblingCoordinator::passWhileTerminating()
{
	if (!fIsEndNoted)
	{
		fIsEndNoted = true;
		fQueuedBeforeEnd = fQueue.size();
	}
	if (fSiblingState == SiblingState::SENDING && !InternalCoordinator::isEndOverdue())
	{
		return passSending();
	}
	if (fQueue.empty())
	{
		return false;
	}
	look();
	if (!isHoldingResponses())
	{
		LOG_WARNING(std::to_string(fQueue.size()) + " messages for " + fCoordinatorName + " are lost at the end of this process");
		closeHandle();
		switchToState(SiblingState::IDLE);
		loseQueue();
		return false;
	}
	if (fQueuedBeforeEnd > 0 && fSendRetries <= MAX_SEND_RETRIES)
	{
		if (fSiblingState == SiblingState::RUNNING)
		{
			return passRunning();
		}
		switchToState(SiblingState::RUNNING);
		return true;
	}
	if (!fIsHoldingLogged)
	{
		fIsHoldingLogged = true;
		LOG_NOTE("busy terminating. Holding back sibling responses until pipe disappears");
	}
	return false;
}

bool SiblingCoordinator::passInactive()
{
	if (isRunning() && fHasPipe)
	{
		LOG_NOTE("pipe reappeared. Switch from SiblingState::INACTIVE to SiblingState::RUNNING");
		fLaunchRetries = 0;
		fSendRetries = 0;
		switchToState(SiblingState::RUNNING);
		return true;
	}
	loseQueue();
	return false;
}

bool SiblingCoordinator::passSending()
{
	switch (Pipes::getWriteProgress(fHandle, fLossCount))
	{
		case Pipes::WriteProgress::DONE:
			fSendRetries = 0;
			popFront();
			switchToState(SiblingState::IDLE);
			return true;
		case Pipes::WriteProgress::IN_PROGRESS:
			break;
		case Pipes::WriteProgress::FAILED:
			return writeFailed();
	}
	// A living reader that is slow, or busy with others, is waited for as long as it takes.
	if (Pipes::getUnreachableMicroseconds(fHandle) > InternalCoordinator::getSettings().interCoordinatorPipeWaitTimeMicroseconds)
	{
		return writeFailed();
	}
	if (!isRunning())
	{
		closeHandle();
		switchToState(SiblingState::IDLE);
		return true;
	}
	return false;
}

bool SiblingCoordinator::writeFailed()
{
	closeHandle(); // what is left of the message must not reach a later process of the name
	++fSendRetries;
	fMustLook = true;
	switchToState(SiblingState::RUNNING);
	return true;
}

bool SiblingCoordinator::passIdleOrLaunched()
{
	if (isRunning() && fHasPipe)
	{
		fLaunchRetries = 0;
		switchToState(SiblingState::RUNNING);
		return true;
	}
	if (fSiblingState == SiblingState::LAUNCHED)
	{
		return Platform::steadyNanoseconds() >= fNamedPipeTimeout && launchTimedOut();
	}
	return !fQueue.empty() && launch();
}

// A process that lives gets more time: one of ours to start, one that has published to serve its pipe again.
bool SiblingCoordinator::isComingUp()
{
	const std::int64_t waited = Platform::steadyNanoseconds() - fWaitStart;
	if (fLaunchedProcessId != 0 && Process::isRunning(fLaunchedProcessId))
	{
		return waited < SLOW_START_NANOSECONDS;
	}
	return isRunning() && waited / 1000 < InternalCoordinator::getSettings().interCoordinatorPipeWaitTimeMicroseconds;
}

bool SiblingCoordinator::launchTimedOut()
{
	if (isComingUp())
	{
		resetNamedPipeTimeout();
		return false;
	}
	fProcessId = 0;
	fIsLaunched = false;
	fSendRetries = 0;
	if (getLaunchArgs().empty() || fLaunchRetries > MAX_LAUNCH_RETRIES)
	{
		return giveUp("Clearing queue because no launchArgs or too many tries");
	}
	LOG_TRACE("isPipeCreationTimedOut(), retrying");
	if (fQueue.empty())
	{
		switchToState(SiblingState::IDLE);
		return true;
	}
	fMustLook = true;
	if (isRunning())
	{
		resetNamedPipeTimeout();
		return false;
	}
	if (!Message::isRequest(fQueue.front().message->getOpCode()))
	{
		switchToState(SiblingState::IDLE);
		loseFront(); // not worth another process
		return true;
	}
	return launch();
}

bool SiblingCoordinator::launch()
{
	if (fSiblingState != SiblingState::LAUNCHED)
	{
		fWaitStart = Platform::steadyNanoseconds();
	}
	if (!launchIfNotRunning())
	{
		return giveUp("cannot launch");
	}
	resetNamedPipeTimeout();
	++fLaunchRetries;
	switchToState(SiblingState::LAUNCHED);
	return true;
}

bool SiblingCoordinator::giveUp(const std::string &reason)
{
	std::string line = "switch to SiblingState::INACTIVE: " + fCoordinatorName + ". " + reason;
	const std::string logPath = getLaunchLogPath(fCoordinatorName);
	if (fLaunchedProcessId != 0 && Dirs::fileExists(logPath))
	{
		line += "; see " + logPath;
	}
	LOG_ERROR(line);
	closeHandle();
	switchToState(SiblingState::INACTIVE);
	loseQueue();
	return true;
}

bool SiblingCoordinator::passRunning()
{
	if (!isRunning())
	{
		closeHandle(); // nothing of what waits there is for the next process of the name
		switchToState(SiblingState::IDLE);
		if (InternalCoordinator::isMainCoordinator())
		{
			LOG_TRACE("fSiblingState == SiblingState::RUNNING && ! isRunning()");
			deleteNamedPipe();
		}
		return true;
	}
	if (fQueue.empty())
	{
		closeIdleHandle();
		return false;
	}
	fIdleSince = 0;
	if (fSendRetries > MAX_SEND_RETRIES)
	{
		LOG_ERROR(fCoordinatorName + ": fSendRetries > MAX_SEND_RETRIES");
		closeHandle();
		deleteNamedPipe();
		fSendRetries = 0;
		fMustLook = true;
		return launch();
	}
	InternalCoordinator::instance()->reportMessagingActivityInEventLoop();
	return sendFront();
}

bool SiblingCoordinator::sendFront()
{
	if (fHandle == 0)
	{
		if (Platform::steadyNanoseconds() < fNextOpenTime)
		{
			return false;
		}
		fHandle = Pipes::openWriteNamedPipe(fNamedPipePath);
		if (fHandle == 0)
		{
			// One that starts again under its name takes away what an earlier one has left before it serves the pipe.
			fNextOpenTime = Pipe::timeAfter(InternalCoordinator::getSettings().sleepWaitForPipeMicroseconds);
			++fSendRetries;
			fMustLook = true;
			return false;
		}
	}
	std::string line = Utils::escapeIPC(Data_abstract::serializeToStr(fQueue.front().message));
	line += '\n';
	if (line.size() > Limits::PIPE_STRING_BYTES)
	{
		LOG_ERROR("a message of " + std::to_string(line.size()) + " bytes for " + fCoordinatorName + " is too long and lost");
		loseFront();
		return true;
	}
	fLossCount = Pipes::getLossCount(fHandle);
	setBusy();
	if (!Pipes::writeToNamedPipe(fHandle, std::move(line)))
	{
		closeHandle();
		++fSendRetries;
		fMustLook = true;
		return false;
	}
	switchToState(SiblingState::SENDING);
	return true;
}

// The next message often follows soon.
void SiblingCoordinator::closeIdleHandle()
{
	if (fHandle == 0)
	{
		return;
	}
	const std::int64_t now = Platform::steadyNanoseconds();
	if (fIdleSince == 0)
	{
		fIdleSince = now;
	}
	else if (now - fIdleSince > UNUSED_HANDLE_NANOSECONDS)
	{
		closeHandle();
	}
}
}
