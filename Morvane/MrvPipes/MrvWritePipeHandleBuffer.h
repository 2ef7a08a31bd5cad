#pragma once

#include "MrvPipes/MrvPipePacket.h"
#include "MrvPlatform/MrvWakeRegistration.h"

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace Mrv
{
class WritePipe;

enum class WritePipeHandleState : int
{
	ERROR_STATE = -1, // the serving end isn't this user's; there is no way out
	DISCONNECTED = 0, // no handle; opening is tried while there is something to send
	CONNECTED = 1,
	WRITING = 2, // one packet is in flight
};

// The queue of a write pipe and the connection that it goes out by.
//
//   DISCONNECTED --opened--> CONNECTED --write in flight--> WRITING --finished--> CONNECTED
//        ^                       | write failed                | write failed
//        +------ queue lost -----+-----------------------------+
//
// While nobody serves the pipe the queue stays, and opening is tried again at intervals. A write that fails loses the queue: nobody knows
// what of it arrived.
class WritePipeHandleBuffer
{
public:
	// The pipe owns the buffer.
	explicit WritePipeHandleBuffer(WritePipe &owner) : fOwner(owner) {}
	WritePipeHandleBuffer(const WritePipeHandleBuffer &) = delete;
	WritePipeHandleBuffer &operator=(const WritePipeHandleBuffer &) = delete;
	~WritePipeHandleBuffer() = default;

	// Appends a string to the queue.
	void write(std::string text) { fQueue.push_back(std::move(text)); }

	// Sends as much as the system takes, up to a limit. Whether a write completed.
	bool poll();

	// Nothing waits and nothing is in flight.
	bool isIdle() const { return !fIsPacketPending && fQueue.empty() && fCharsRemaining == 0; }

	// Closes the connection and loses the queue.
	void forceCloseState();

	WritePipeHandleState getState() const { return fState; }
	static const char *getStateName(WritePipeHandleState state);

	// How often a failed write has lost strings.
	std::uint64_t getLossCount() const { return fLossCount; }
	// Since when nobody could be reached, on the steady clock; 0 when opening succeeded last, or found the serving end busy.
	std::int64_t getUnreachableSince() const { return fUnreachableSince; }

private:
	enum class Step
	{
		WAIT,      // nothing can be done now
		GO_ON,     // the next state can act at once
		COMPLETED, // a write completed
	};

	Step handleDisconnectedState();
	Step handleConnectedState();
	Step handleWritingState();

	Step rawOpen();
	Step openFailed(Platform::PipeOutcome outcome);
	Step rawWrite();
	Step packetWritten();
	bool buildPacket();
	bool takeNextString();
	void retryOpenLater();
	void switchToState(WritePipeHandleState state);
	std::uintptr_t rawHandle() const { return fHandle ? fHandle->nativeHandle() : 0; }

	WritePipe &fOwner;
	WritePipeHandleState fState = WritePipeHandleState::DISCONNECTED;
	std::unique_ptr<Platform::IPipeWriter> fHandle;

	std::deque<std::string> fQueue;    // the front is being sent
	std::uint64_t fCharsRemaining = 0; // of the front, not yet put into a packet
	std::uint64_t fStringSequence = 0;
	std::uint64_t fPacketSequence = 0;
	std::uint32_t fProcessId = 0;
	bool fIsPacketPending = false; // a packet was built and is not written yet
	std::array<char, PIPE_PACKET_SIZE> fPacket{};
	std::size_t fBytesToWrite = 0;

	std::int64_t fNextOpenTime = 0;
	Platform::WakeRegistration fOpenWake; // for a serving end that is busy
	std::int64_t fUnreachableSince = 0;
	Platform::PipeOutcome fLastOpenOutcome = Platform::PipeOutcome::SUCCESS; // what was logged last
	std::uint64_t fLossCount = 0;
};
}
