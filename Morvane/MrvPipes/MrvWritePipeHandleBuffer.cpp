// One poll walks through the states until one of them has to wait. The packet's buffer isn't touched while its write is in flight.
#include "MrvPipes/MrvWritePipeHandleBuffer.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvUtils/MrvLimits.h"

#include <algorithm>

namespace Mrv
{
using Platform::PipeOutcome;

const char *WritePipeHandleBuffer::getStateName(WritePipeHandleState state)
{
	switch (state)
	{
		case WritePipeHandleState::ERROR_STATE:
			return "Error";
		case WritePipeHandleState::DISCONNECTED:
			return "Disconnected";
		case WritePipeHandleState::CONNECTED:
			return "Connected";
		case WritePipeHandleState::WRITING:
			return "Writing";
	}
	return "Unknown";
}

void WritePipeHandleBuffer::switchToState(WritePipeHandleState state)
{
	if (state != fState)
	{
		Pipe::noteTransition({"WritePipeHandleState", static_cast<int>(fState), static_cast<int>(state), getStateName(fState),
		    getStateName(state), fOwner.getPipeExternalHandle(), rawHandle()});
		fState = state;
	}
}

bool WritePipeHandleBuffer::poll()
{
	if (fState == WritePipeHandleState::ERROR_STATE)
	{
		LOG_ERROR(fOwner.logPrefix() + "the handle is in WritePipeHandleState::Error");
		return false;
	}
	bool hasCompleted = false;
	for (unsigned packets = 0; packets < Limits::PIPE_PACKETS_WRITTEN && !isIdle();)
	{
		Step step = Step::WAIT;
		switch (fState)
		{
			case WritePipeHandleState::ERROR_STATE:
				break;
			case WritePipeHandleState::DISCONNECTED:
				step = handleDisconnectedState();
				break;
			case WritePipeHandleState::CONNECTED:
				step = handleConnectedState();
				break;
			case WritePipeHandleState::WRITING:
				step = handleWritingState();
				break;
		}
		if (step == Step::WAIT)
		{
			break;
		}
		if (step == Step::COMPLETED)
		{
			hasCompleted = true;
			++packets;
		}
	}
	if (hasCompleted)
	{
		IPipeCoordinator::current().reportMessagingActivityInEventLoop();
	}
	return hasCompleted;
}

// --- The states

WritePipeHandleBuffer::Step WritePipeHandleBuffer::handleDisconnectedState()
{
	return Platform::steadyNanoseconds() < fNextOpenTime ? Step::WAIT : rawOpen();
}

WritePipeHandleBuffer::Step WritePipeHandleBuffer::handleConnectedState()
{
	return fIsPacketPending || buildPacket() ? rawWrite() : Step::WAIT;
}

WritePipeHandleBuffer::Step WritePipeHandleBuffer::handleWritingState()
{
	const PipeOutcome outcome = fHandle->writeResult();
	if (outcome == PipeOutcome::SUCCESS)
	{
		switchToState(WritePipeHandleState::CONNECTED);
		return packetWritten();
	}
	if (outcome == PipeOutcome::IO_INCOMPLETE || outcome == PipeOutcome::IO_PENDING || outcome == PipeOutcome::PIPE_CONNECTED)
	{
		return Step::WAIT;
	}
	LOG_ERROR(fOwner.logPrefix() + "the write in flight failed, writeError = " + std::to_string(static_cast<std::uint32_t>(outcome)));
	forceCloseState();
	++fLossCount;
	return Step::WAIT;
}

// --- Opening

WritePipeHandleBuffer::Step WritePipeHandleBuffer::rawOpen()
{
	fOpenWake.clear();
	std::unique_ptr<Platform::IPipeWriter> handle;
	const std::string rawPath = fOwner.findRawNamedPipePath();
	const PipeOutcome opened = rawPath.empty() ? PipeOutcome::FILE_NOT_FOUND : Platform::messagePipes().openWriter(rawPath, handle);
	if (opened != PipeOutcome::SUCCESS)
	{
		return openFailed(opened);
	}
	const PipeOutcome mode = handle->setMessageMode();
	if (mode == PipeOutcome::PIPE_NOT_CONNECTED)
	{
		return openFailed(mode);
	}
	if (mode != PipeOutcome::SUCCESS)
	{
		// An end that only writes needs no mode for reading.
		LOG_ERROR(fOwner.logPrefix() + "setStateError " + std::to_string(static_cast<std::uint32_t>(mode)));
	}
	if (!handle->isPeerOfSameUser())
	{
		LOG_ERROR(fOwner.logPrefix() + "the pipe is served by another user, nothing is sent: " + rawPath);
		switchToState(WritePipeHandleState::ERROR_STATE);
		return Step::WAIT;
	}
	LOG_TRACE("rawOpen succeeded");
	fHandle = std::move(handle);
	fProcessId = Platform::currentProcessId();
	fUnreachableSince = 0;
	fLastOpenOutcome = PipeOutcome::SUCCESS;
	switchToState(WritePipeHandleState::CONNECTED);
	return Step::GO_ON;
}

WritePipeHandleBuffer::Step WritePipeHandleBuffer::openFailed(PipeOutcome outcome)
{
	const bool isNews = outcome != fLastOpenOutcome;
	fLastOpenOutcome = outcome;
	if (outcome == PipeOutcome::INVALID_PARAMETER && isNews)
	{
		MRV_REPORT_FAILED_CHECK("SANITY_CHECK failed: 'createFileError != 87L' evaluates to false");
	}
	else if (outcome != PipeOutcome::FILE_NOT_FOUND && outcome != PipeOutcome::PIPE_BUSY && isNews)
	{
		LOG_ERROR("createFileError " + std::to_string(static_cast<std::uint32_t>(outcome)));
	}
	LOG_TRACE("failed to CreateFile - waiting for sleepWaitForPipe interval");
	fNextOpenTime = Pipe::timeAfter(IPipeCoordinator::current().getSleepWaitForPipeMicroseconds());
	if (outcome == PipeOutcome::PIPE_BUSY)
	{
		fUnreachableSince = 0;
		fOpenWake.setTime(fNextOpenTime);
	}
	else if (fUnreachableSince == 0)
	{
		fUnreachableSince = Platform::steadyNanoseconds();
	}
	return Step::WAIT;
}

// --- Writing

// Makes the front a string that can be sent.
bool WritePipeHandleBuffer::takeNextString()
{
	while (!fQueue.empty() && fQueue.front().empty())
	{
		LOG_ERROR("empty string in queue");
		fQueue.pop_front();
	}
	if (fQueue.empty())
	{
		return false;
	}
	fCharsRemaining = fQueue.front().size();
	++fStringSequence;
	fPacketSequence = 0;
	return true;
}

bool WritePipeHandleBuffer::buildPacket()
{
	if (fCharsRemaining == 0 && !takeNextString())
	{
		return false;
	}
	const std::string &text = fQueue.front();
	char *const payload = fPacket.data() + PIPE_HEADER_SIZE;
	std::size_t payloadSize = 0;
	if (fPacketSequence == 0)
	{
		const std::uint64_t length = text.size();
		std::memcpy(payload, &length, PIPE_LENGTH_SIZE);
		payloadSize = PIPE_LENGTH_SIZE;
	}
	const std::size_t textSize = std::min<std::size_t>(fCharsRemaining, PIPE_PAYLOAD_SIZE - payloadSize);
	std::memcpy(payload + payloadSize, text.data() + (text.size() - fCharsRemaining), textSize);
	payloadSize += textSize;
	fCharsRemaining -= textSize;

	const PipePacketHeader header{fStringSequence, fPacketSequence, fProcessId, static_cast<std::uint16_t>(payloadSize), 0};
	std::memcpy(fPacket.data(), &header, PIPE_HEADER_SIZE);
	++fPacketSequence;
	fBytesToWrite = PIPE_HEADER_SIZE + payloadSize;
	fIsPacketPending = true;
	return true;
}

WritePipeHandleBuffer::Step WritePipeHandleBuffer::rawWrite()
{
	const PipeOutcome outcome = fHandle->write({fPacket.data(), fBytesToWrite});
	if (outcome == PipeOutcome::SUCCESS)
	{
		return packetWritten();
	}
	if (outcome == PipeOutcome::IO_PENDING)
	{
		LOG_TRACE("buffer full - waiting for sleepWaitForPipe interval");
		switchToState(WritePipeHandleState::WRITING);
		return Step::WAIT;
	}
	LOG_ERROR(fOwner.logPrefix() + "WriteFile failed, writeError = " + std::to_string(static_cast<std::uint32_t>(outcome)));
	forceCloseState();
	++fLossCount;
	return Step::WAIT;
}

WritePipeHandleBuffer::Step WritePipeHandleBuffer::packetWritten()
{
	fIsPacketPending = false;
	SANITY_CHECK_AS(!fQueue.empty(), "! fQueue.empty()", return Step::WAIT);
	if (fCharsRemaining == 0)
	{
		fQueue.pop_front();
	}
	return Step::COMPLETED;
}

void WritePipeHandleBuffer::forceCloseState()
{
	fHandle.reset();
	fQueue.clear();
	fCharsRemaining = 0;
	fBytesToWrite = 0;
	fIsPacketPending = false;
	fOpenWake.clear();
	switchToState(WritePipeHandleState::DISCONNECTED);
}
}
