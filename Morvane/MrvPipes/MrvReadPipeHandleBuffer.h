#pragma once

#include "MrvPipes/MrvPipePacket.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Mrv
{
class ReadPipe;

enum class ReadPipeHandleState : int
{
	ERROR_STATE = -1,
	DISCONNECTED = 0,       // nobody is connected, and it isn't listening
	CONNECTION_PENDING = 1, // listening
	CONNECTED = 2,          // between two packets
	READING_PACKET_HEADER = 3,
	PROCESS_PACKET_HEADER = 4,
	READING_PACKET_BODY = 5,
	PROCESS_PACKET = 6,
	DISCONNECT_REQUESTED = 7, // the writer is gone, or sends what is no packet
	DESTROY_REQUESTED = 8,    // the instance can't be used any more
	DESTROYED = 9,
};

// One instance of a read pipe's serving end: it listens for a writer, then takes its packets apart.
//
//   DISCONNECTED --> CONNECTION_PENDING --> CONNECTED --> READING_PACKET_HEADER --> PROCESS_PACKET_HEADER
//        ^                                    ^                                          |
//        |                                    +-- PROCESS_PACKET <-- READING_PACKET_BODY <+
//        +------ DISCONNECT_REQUESTED <-- the writer's end
//
// The states of reading are skipped when what is read is there at once. Any failure of the system leads to DESTROY_REQUESTED, then
// DESTROYED.
class ReadPipeHandleBuffer
{
public:
	// One more instance of the pipe's serving end; null, after a log line, when it can't be made. The pipe owns it.
	static std::shared_ptr<ReadPipeHandleBuffer> factory(ReadPipe &readPipe);

	// Use the factory.
	ReadPipeHandleBuffer(ReadPipe &owner, std::unique_ptr<Platform::IPipeInstance> instance) : fOwner(owner), fHandle(std::move(instance))
	{
	}
	ReadPipeHandleBuffer(const ReadPipeHandleBuffer &) = delete;
	ReadPipeHandleBuffer &operator=(const ReadPipeHandleBuffer &) = delete;
	~ReadPipeHandleBuffer() = default;

	// Does what can be done without waiting: one step, or a run of packets up to a limit.
	void poll();

	// Closes the instance at once, whatever it is doing. True.
	bool forceFinalState();

	ReadPipeHandleState getState() const { return fState; }
	static const char *getStateName(ReadPipeHandleState state);

	// From CONNECTED to PROCESS_PACKET: a writer is there.
	bool isConnected() const { return fState >= ReadPipeHandleState::CONNECTED && fState <= ReadPipeHandleState::PROCESS_PACKET; }
	Platform::ProcessId getPeerProcessId() const { return fPeerProcessId; }
	// When the last packet came, or else the writer; on the steady clock.
	std::int64_t getLastActivityTime() const { return fLastActivityTime; }

private:
	enum class Next
	{
		AT_ONCE,   // the state that was entered is handled in this poll
		NEXT_POLL, // or in the next one
	};

	Next handleState();
	Next handleDisconnectedState();
	Next handleConnectionPendingState();
	Next handleConnectedState();
	Next handleReadingPacketHeaderState();
	Next handleProcessPacketHeaderState();
	Next handleReadingPacketBodyState();
	Next handleProcessPacketState();
	Next handleDisconnectRequestedState();
	Next handleDestroyRequestedState();

	Next handleHeaderOutcome(Platform::PipeOutcome outcome, std::string_view bytes);
	Next handleBodyOutcome(Platform::PipeOutcome outcome, std::string_view bytes);
	Next handleReadFailure(Platform::PipeOutcome outcome, ReadPipeHandleState whilePending);
	Next writerCame();
	Next refusePacket(const std::string &reason);
	void lookAtWriter();
	Next goTo(ReadPipeHandleState state, Next next);

	ReadPipe &fOwner;
	ReadPipeHandleState fState = ReadPipeHandleState::DISCONNECTED;
	std::unique_ptr<Platform::IPipeInstance> fHandle;
	Platform::PipeOutcome fLastConnectError = Platform::PipeOutcome::SUCCESS; // what was logged last

	Platform::ProcessId fPeerProcessId = 0;
	std::int64_t fLastActivityTime = 0;
	std::int64_t fNextLivenessCheck = 0;
	unsigned fPacketsInPoll = 0;

	PipePacketHeader fHeader;
	std::string_view fHeaderBytes; // as they were read; good until the next operation
	bool fHasBody = false;         // the message goes on behind the header
	std::string_view fPayload;     // the same
};
}
