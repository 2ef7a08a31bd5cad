// What other processes see of this coordinator: the published process, and the pipe that their messages come by.
//
// A coordinator that was given a name is seen from its start on. One without a name is called by its process's id, and is seen from its
// first message on, since only then there is somebody who could answer: many processes run scripts and never talk to anybody.
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvUtils/MrvLimits.h"
#include "MrvUtils/MrvUtils.h"
#include "MrvUtils/MrvWireEscape.h"

#include <utility>

namespace Mrv
{
namespace
{
constexpr char MESSAGE_END = '\n';
constexpr int MAX_MESSAGES_TAKEN = 64; // at once, so that others have their turn

// What the pipes ask, answered by whichever coordinator there is.
class PipeCoordinator final : public IPipeCoordinator
{
public:
	std::string getCoordinatorName() const override { return InternalCoordinator::getCoordinatorName(); }
	int64_t getSleepWaitForPipeMicroseconds() const override { return InternalCoordinator::getSettings().sleepWaitForPipeMicroseconds; }
	int64_t getScanActiveSiblingsIntervalMicroseconds() const override
	{
		return InternalCoordinator::getSettings().scanActiveSiblingsIntervalMicroseconds;
	}
	bool reportMessagingActivityInEventLoop() override
	{
		const auto coordinator = InternalCoordinator::instance();
		return coordinator && coordinator->reportMessagingActivityInEventLoop();
	}
};
}

void InternalCoordinator::setPipeCoordinator(bool isSet)
{
	static PipeCoordinator sPipeCoordinator;
	IPipeCoordinator::setCurrent(isSet ? &sPipeCoordinator : nullptr);
}

// --- The published process

int64_t InternalCoordinator::getPublishedProcessId(const std::string &coordinatorName)
{
	const std::string &folder = getSessionDataFolderPath();
	return folder.empty() || coordinatorName.empty() ? 0 : PublishedProcess(folder, coordinatorName).read().processId;
}

// Whether another living process goes by the name.
bool InternalCoordinator::isNameTaken() const
{
	const PublishedProcess::Publication publication = PublishedProcess(getSessionDataFolderPath(), fSettings.coordinatorName).read();
	return publication.processId != Platform::currentProcessId() && publication.isAlive();
}

bool InternalCoordinator::publishProcessId()
{
	const std::string &folder = getSessionDataFolderPath();
	SANITY_CHECK_AS(!folder.empty(), "publishProcessId()", return false);
	const PublishedProcess::Publication publication = PublishedProcess(folder, fSettings.coordinatorName).read();
	LOG_TRACE("processId = " + std::to_string(publication.processId));
	if (publication.isOfAnotherMachine())
	{
		LOG_ERROR("another machine uses the name " + fSettings.coordinatorName + " in the folder " + folder +
		          ", which must not be shared between machines");
		return false;
	}
	// One's own number is what a run before this one has left behind.
	SANITY_CHECK_AS(!isNameTaken(), "processId == 0 || ! Process::isRunning(processId)", return false);
	return writePublication();
}

bool InternalCoordinator::writePublication()
{
	const std::string guid = createGUID()->toSectionedString();
	SANITY_CHECK_AS(
	    PublishedProcess(getSessionDataFolderPath(), fSettings.coordinatorName).publish(guid), "publishProcessId()", return false);
	return true;
}

bool InternalCoordinator::ensurePublished()
{
	if (fHasInputNamedPipe || fIsTerminating || !fMainTask)
	{
		return true;
	}
	SANITY_CHECK(publishProcessId(), return false);
	fHasInputNamedPipe = true;
	return destroyNamedPipe() && monitorNamedPipe();
}

bool InternalCoordinator::destroySessionData()
{
	const std::string &folder = getSessionDataFolderPath();
	return !fIsInited || folder.empty() || fSettings.coordinatorName.empty() ||
	       PublishedProcess(folder, fSettings.coordinatorName).withdraw();
}

// Looked at from time to time only: it is a file. One that is missing, or names a dead process, is written again: only one that lives can
// take over.
bool InternalCoordinator::isStillPublished()
{
	const int64_t now = Platform::steadyNanoseconds();
	if (now < fNextPublishedCheck)
	{
		return true;
	}
	fNextPublishedCheck = timePointAfter(now, fSettings.scanActiveSiblingsIntervalMicroseconds);
	const bool wasPublished = std::exchange(fIsStillPublished, !isNameTaken());
	if (fIsStillPublished && !fIsTerminating && getPublishedProcessId(fSettings.coordinatorName) != Platform::currentProcessId())
	{
		writePublication();
	}
	if (wasPublished && !fIsStillPublished)
	{
		LOG_ERROR("published pid has changed; another coordinator node has taken over. Terminating");
	}
	return fIsStillPublished || !wasPublished; // it is asked to end once
}

void InternalCoordinator::limitLaunchLog()
{
	if (!fLaunchLogPath.empty() && Platform::fileInfo(fLaunchLogPath).size > Limits::LAUNCH_LOG_BYTES)
	{
		Platform::removeFile(fLaunchLogPath);
	}
}

// --- The input pipe

std::string InternalCoordinator::getInputPipePath() const
{
	const std::string &folder = getPipeFolderPath();
	return folder.empty() || fSettings.coordinatorName.empty() ? std::string() : folder + fSettings.coordinatorName;
}

bool InternalCoordinator::destroyNamedPipe()
{
	if (fNamedPipeHandle != 0)
	{
		SANITY_CHECK(Pipes::closeNamedPipe(std::exchange(fNamedPipeHandle, 0)), return false);
	}
	fReadBuffer.clear();
	const std::string path = getInputPipePath();
	return !fIsInited || path.empty() || !Pipes::namedPipeExists(path) || isNameTaken() || Pipes::deleteNamedPipe(path);
}

bool InternalCoordinator::monitorNamedPipe()
{
	const std::string &name = fSettings.coordinatorName;
	const int64_t now = Platform::steadyNanoseconds();
	const bool mustLook = now >= fNextPipeLook;
	if (fNamedPipeHandle != 0 && mustLook)
	{
		fNextPipeLook = timePointAfter(now, fSettings.scanActiveSiblingsIntervalMicroseconds);
		limitLaunchLog();
		const std::string path = getInputPipePath();
		if (!Pipes::namedPipeExists(path))
		{
			LOG_TRACE("closing handle " + std::to_string(fNamedPipeHandle) + " because pipe does not exist any more " + path);
			Pipes::closeNamedPipe(std::exchange(fNamedPipeHandle, 0));
			LOG_TRACE("handle closed " + path);
			return true;
		}
	}
	if (fNamedPipeHandle == 0)
	{
		if (fIsTerminating)
		{
			fHasInputNamedPipe = false;
			return destroyNamedPipe();
		}
		if (fIsPipeFailureLogged && !mustLook)
		{
			return true;
		}
		fNextPipeLook = timePointAfter(now, fSettings.scanActiveSiblingsIntervalMicroseconds);
		const std::string path = getInputPipePath();
		LOG_TRACE("opening named pipe " + path);
		fNamedPipeHandle = Pipes::openReadNamedPipe(path);
		if (fNamedPipeHandle == 0)
		{
			if (!std::exchange(fIsPipeFailureLogged, true))
			{
				LOG_ERROR("cannot open read pipe " + path + ". Possibly coordinator conflict - quitting");
				terminate();
			}
			// One that may not end itself tries again, but not so often that the log drowns.
			fNextPipeLook = timePointAfter(now, fSettings.scanConfigSiblingsIntervalMicroseconds);
			return false;
		}
		fIsPipeFailureLogged = false;
	}
	bool isComplete = true;
	bool hasText = true;
	for (int taken = 0; (hasText || isComplete) && taken < MAX_MESSAGES_TAKEN; ++taken)
	{
		hasText = takeMessageFromPipe(isComplete);
	}
	if (fIsTerminating && !hasText && !isComplete && ReadPipe::getPipe(fNamedPipeHandle)->getUnfinishedCount() == 0)
	{
		LOG_TRACE("busy terminating. Destroy input named pipe " + name);
		fHasInputNamedPipe = false;
		return destroyNamedPipe();
	}
	return true;
}

// Whether there was text; `isComplete` tells that it was a message's end, and the message was received.
bool InternalCoordinator::takeMessageFromPipe(bool &isComplete)
{
	std::string piece;
	const bool hasText = Pipes::readFromNamedPipe(piece, fNamedPipeHandle, isComplete, MESSAGE_END);
	if (hasText)
	{
		LOG_TRACE(fSettings.coordinatorName + ": readComplete = " + std::to_string(isComplete) + ", inString " + piece);
		reportMessagingActivityInEventLoop();
		fReadBuffer = fReadBuffer.empty() ? std::move(piece) : fReadBuffer + piece;
		if (fReadBuffer.size() > Limits::PIPE_STRING_BYTES)
		{
			LOG_ERROR("a message without an end is dropped");
			fReadBuffer.clear();
		}
	}
	if (isComplete && !fReadBuffer.empty())
	{
		const std::string message = WireEscape::ofLines().unescape(std::exchange(fReadBuffer, {}));
		SANITY_CHECK_AS(receiveMessageStr(message), "receiveMessageStr(str)", return hasText);
	}
	return hasText;
}

bool InternalCoordinator::handleMessagingTimeslice()
{
	WritePipe::timeslice();
	bool result = !fHasInputNamedPipe || monitorNamedPipe();
	EXPECTED(result);
	result = processMessageQueues();
	EXPECTED(result);
	return true;
}

bool InternalCoordinator::hasMessagesToSend() const
{
	return !fMessageQueue.empty() || (fSiblings && fSiblings->hasMessagesToSend()) || !WritePipe::isAllIdle();
}
}
