// Each packet is one message, read in two pieces: the header, which tells how much follows, and the rest. Since the message is longer than
// its header, the first read normally ends with MORE_DATA. A packet whose length isn't what its header says ends the connection: what
// comes next could not be trusted to begin with a header.
#include "MrvPipes/MrvReadPipeHandleBuffer.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvUtils/MrvLimits.h"

namespace Mrv
{
using Platform::PipeOutcome;

namespace
{
std::string codeOf(PipeOutcome outcome)
{
	return std::to_string(static_cast<std::uint32_t>(outcome));
}
}

std::shared_ptr<ReadPipeHandleBuffer> ReadPipeHandleBuffer::factory(ReadPipe &readPipe)
{
	std::unique_ptr<Platform::IPipeInstance> instance;
	const PipeOutcome outcome = Platform::messagePipes().createInstance(readPipe.getRawNamedPipePath(), instance);
	readPipe.noteCreateOutcome(outcome);
	return outcome == PipeOutcome::SUCCESS ? std::make_shared<ReadPipeHandleBuffer>(readPipe, std::move(instance)) : nullptr;
}

const char *ReadPipeHandleBuffer::getStateName(ReadPipeHandleState state)
{
	switch (state)
	{
		case ReadPipeHandleState::ERROR_STATE:
			return "Error";
		case ReadPipeHandleState::DISCONNECTED:
			return "Disconnected";
		case ReadPipeHandleState::CONNECTION_PENDING:
			return "ConnectionPending";
		case ReadPipeHandleState::CONNECTED:
			return "Connected";
		case ReadPipeHandleState::READING_PACKET_HEADER:
			return "ReadingPacketHeader";
		case ReadPipeHandleState::PROCESS_PACKET_HEADER:
			return "ProcessPacketHeader";
		case ReadPipeHandleState::READING_PACKET_BODY:
			return "ReadingPacketBody";
		case ReadPipeHandleState::PROCESS_PACKET:
			return "ProcessPacket";
		case ReadPipeHandleState::DISCONNECT_REQUESTED:
			return "DisconnectRequested";
		case ReadPipeHandleState::DESTROY_REQUESTED:
			return "DestroyRequested";
		case ReadPipeHandleState::DESTROYED:
			return "Destroyed";
	}
	return "Unknown";
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::goTo(ReadPipeHandleState state, Next next)
{
	if (state != fState)
	{
		Pipe::noteTransition({"ReadPipeHandleState", static_cast<int>(fState), static_cast<int>(state), getStateName(fState),
		    getStateName(state), fOwner.getPipeExternalHandle(), fHandle ? fHandle->nativeHandle() : 0});
		fState = state;
	}
	return next;
}

void ReadPipeHandleBuffer::poll()
{
	fPacketsInPoll = 0;
	while (handleState() == Next::AT_ONCE)
	{
	}
	if (fPacketsInPoll > 0)
	{
		fLastActivityTime = Platform::steadyNanoseconds();
	}
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleState()
{
	switch (fState)
	{
		case ReadPipeHandleState::DISCONNECTED:
			return handleDisconnectedState();
		case ReadPipeHandleState::CONNECTION_PENDING:
			return handleConnectionPendingState();
		case ReadPipeHandleState::CONNECTED:
			return handleConnectedState();
		case ReadPipeHandleState::READING_PACKET_HEADER:
			return handleReadingPacketHeaderState();
		case ReadPipeHandleState::PROCESS_PACKET_HEADER:
			return handleProcessPacketHeaderState();
		case ReadPipeHandleState::READING_PACKET_BODY:
			return handleReadingPacketBodyState();
		case ReadPipeHandleState::PROCESS_PACKET:
			return handleProcessPacketState();
		case ReadPipeHandleState::DISCONNECT_REQUESTED:
			return handleDisconnectRequestedState();
		case ReadPipeHandleState::DESTROY_REQUESTED:
			return handleDestroyRequestedState();
		case ReadPipeHandleState::ERROR_STATE:
			forceFinalState();
			return Next::NEXT_POLL;
		case ReadPipeHandleState::DESTROYED:
			return Next::NEXT_POLL;
	}
	return Next::NEXT_POLL;
}

// --- Connecting

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleDisconnectedState()
{
	const PipeOutcome outcome = fHandle->connect();
	if (outcome == PipeOutcome::IO_PENDING)
	{
		return goTo(ReadPipeHandleState::CONNECTION_PENDING, Next::NEXT_POLL);
	}
	if (outcome == PipeOutcome::PIPE_CONNECTED)
	{
		return writerCame();
	}
	if (outcome == PipeOutcome::NO_DATA)
	{
		LOG_ERROR("should not occur in rawConnect: we left the connection open and and it was forcibly closed by other end");
		return goTo(ReadPipeHandleState::DESTROY_REQUESTED, Next::NEXT_POLL);
	}
	if (outcome != fLastConnectError)
	{
		fLastConnectError = outcome;
		LOG_ERROR(fOwner.logPrefix() + "Unexpected connectError " + codeOf(outcome));
	}
	return Next::NEXT_POLL;
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleConnectionPendingState()
{
	const PipeOutcome outcome = fHandle->connectResult();
	if (outcome == PipeOutcome::SUCCESS || outcome == PipeOutcome::PIPE_CONNECTED)
	{
		return writerCame();
	}
	if (outcome == PipeOutcome::IO_INCOMPLETE)
	{
		return Next::NEXT_POLL;
	}
	return goTo(outcome == PipeOutcome::NO_DATA ? ReadPipeHandleState::DISCONNECT_REQUESTED : ReadPipeHandleState::DESTROY_REQUESTED,
	    Next::NEXT_POLL);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::writerCame()
{
	goTo(ReadPipeHandleState::CONNECTED, Next::AT_ONCE);
	fLastActivityTime = Platform::steadyNanoseconds();
	fNextLivenessCheck = 0;
	fPeerProcessId = fHandle->peerProcessId();
	if (!fHandle->isPeerOfSameUser())
	{
		LOG_ERROR(fOwner.logPrefix() + "a process of another user, " + std::to_string(fPeerProcessId) + ", is turned away");
		return goTo(ReadPipeHandleState::DISCONNECT_REQUESTED, Next::NEXT_POLL);
	}
	return Next::AT_ONCE;
}

// --- Reading

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleConnectedState()
{
	if (fPacketsInPoll >= Limits::PIPE_PACKETS_READ || !fOwner.hasRoomForStrings())
	{
		return Next::NEXT_POLL;
	}
	std::string_view bytes;
	const PipeOutcome outcome = fHandle->read(PIPE_HEADER_SIZE, bytes);
	return handleHeaderOutcome(outcome, bytes);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleReadingPacketHeaderState()
{
	std::string_view bytes;
	const PipeOutcome outcome = fHandle->readResult(bytes);
	return handleHeaderOutcome(outcome, bytes);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleHeaderOutcome(PipeOutcome outcome, std::string_view bytes)
{
	if (outcome == PipeOutcome::SUCCESS || outcome == PipeOutcome::MORE_DATA)
	{
		fHeaderBytes = bytes;
		fHasBody = outcome == PipeOutcome::MORE_DATA;
		return goTo(ReadPipeHandleState::PROCESS_PACKET_HEADER, Next::AT_ONCE);
	}
	return handleReadFailure(outcome, ReadPipeHandleState::READING_PACKET_HEADER);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleReadFailure(PipeOutcome outcome, ReadPipeHandleState whilePending)
{
	if (outcome == PipeOutcome::IO_INCOMPLETE || outcome == PipeOutcome::IO_PENDING)
	{
		return goTo(whilePending, Next::NEXT_POLL);
	}
	const bool isWriterGone = outcome == PipeOutcome::PIPE_LISTENING || outcome == PipeOutcome::BROKEN_PIPE;
	return goTo(isWriterGone ? ReadPipeHandleState::DISCONNECT_REQUESTED : ReadPipeHandleState::DESTROY_REQUESTED, Next::NEXT_POLL);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleProcessPacketHeaderState()
{
	if (fHeaderBytes.size() != PIPE_HEADER_SIZE)
	{
		return refusePacket("a packet of " + std::to_string(fHeaderBytes.size()) + " bytes has no header");
	}
	fHeader = readFromBytes<PipePacketHeader>(fHeaderBytes);
	if (fHeader.payloadSize > PIPE_PAYLOAD_SIZE)
	{
		MRV_REPORT_FAILED_CHECK("SANITY_CHECK failed: 'fPacketSize <= 4096' evaluates to false");
		return goTo(ReadPipeHandleState::DISCONNECT_REQUESTED, Next::NEXT_POLL);
	}
	if (fHasBody != (fHeader.payloadSize > 0))
	{
		return refusePacket("the packet's header tells another size than it has");
	}
	if (fHeader.processId != fPeerProcessId)
	{
		return refusePacket(
		    "process " + std::to_string(fPeerProcessId) + " sends in the name of process " + std::to_string(fHeader.processId));
	}
	if (fHeader.packetSequence == 0)
	{
		lookAtWriter();
	}
	if (!fHasBody)
	{
		fPayload = {};
		return goTo(ReadPipeHandleState::PROCESS_PACKET, Next::AT_ONCE);
	}
	std::string_view bytes;
	const PipeOutcome outcome = fHandle->read(fHeader.payloadSize, bytes);
	return handleBodyOutcome(outcome, bytes);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleReadingPacketBodyState()
{
	std::string_view bytes;
	const PipeOutcome outcome = fHandle->readResult(bytes);
	return handleBodyOutcome(outcome, bytes);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleBodyOutcome(PipeOutcome outcome, std::string_view bytes)
{
	if (outcome == PipeOutcome::MORE_DATA || (outcome == PipeOutcome::SUCCESS && bytes.size() != fHeader.payloadSize))
	{
		return refusePacket("the packet's header tells another size than it has");
	}
	if (outcome == PipeOutcome::SUCCESS)
	{
		fPayload = bytes;
		return goTo(ReadPipeHandleState::PROCESS_PACKET, Next::AT_ONCE);
	}
	return handleReadFailure(outcome, ReadPipeHandleState::READING_PACKET_BODY);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleProcessPacketState()
{
	++fPacketsInPoll;
	fOwner.processPacket(fHeader, fPayload);
	return goTo(ReadPipeHandleState::CONNECTED, Next::AT_ONCE);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::refusePacket(const std::string &reason)
{
	LOG_ERROR(fOwner.logPrefix() + reason + "; the connection is ended");
	return goTo(ReadPipeHandleState::DISCONNECT_REQUESTED, Next::NEXT_POLL);
}

// What a process wrote before it died is read all the same.
void ReadPipeHandleBuffer::lookAtWriter()
{
	const std::int64_t now = Platform::steadyNanoseconds();
	if (now >= fNextLivenessCheck)
	{
		fNextLivenessCheck = Pipe::timeAfter(IPipeCoordinator::current().getScanActiveSiblingsIntervalMicroseconds());
		if (!Process::isRunning(fPeerProcessId))
		{
			LOG_NOTE("flushing data from dead process");
		}
	}
}

// --- The end

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleDisconnectRequestedState()
{
	fPeerProcessId = 0;
	const bool isDisconnected = fHandle->disconnect() == PipeOutcome::SUCCESS;
	return goTo(isDisconnected ? ReadPipeHandleState::DISCONNECTED : ReadPipeHandleState::DESTROY_REQUESTED, Next::NEXT_POLL);
}

ReadPipeHandleBuffer::Next ReadPipeHandleBuffer::handleDestroyRequestedState()
{
	forceFinalState();
	return Next::NEXT_POLL;
}

bool ReadPipeHandleBuffer::forceFinalState()
{
	goTo(ReadPipeHandleState::DESTROYED, Next::NEXT_POLL);
	fHandle.reset();
	fPeerProcessId = 0;
	return true;
}
}
