#pragma once

#include "MrvPlatform/MrvProcess.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// Message pipes between the processes of one user: one serving end with any number of instances, writers that connect to it, messages
// that arrive as they were sent. Windows has them as named pipes; elsewhere they are local sockets that keep the boundaries of packets.
//
// Nothing here waits and nothing logs. An operation that can't be done at once is in flight: it is asked after with its `...Result`,
// and while it is in flight it ends a sleep (see MrvSleep.h) as soon as it gets on. Each end has one operation in flight at most.
namespace Mrv::Platform
{
// How an operation went: the codes of the Windows system, which the state machines above are written in, on every system. Other
// codes may come as well.
enum class PipeOutcome : std::uint32_t
{
	SUCCESS = 0,
	FILE_NOT_FOUND = 2, // nobody serves under this address
	TOO_MANY_OPEN_FILES = 4,
	ACCESS_DENIED = 5,
	GENERAL_FAILURE = 31,
	INVALID_PARAMETER = 87,
	BROKEN_PIPE = 109, // the other end is gone, and all that it had sent was read
	FILENAME_TOO_LONG = 206,
	PIPE_BUSY = 231, // no instance is listening now
	NO_DATA = 232,   // the other end is closing
	PIPE_NOT_CONNECTED = 233,
	MORE_DATA = 234,      // what was read is the beginning of a longer message; the next read gets the rest
	PIPE_CONNECTED = 535, // a writer has come before it was asked for
	PIPE_LISTENING = 536,
	OPERATION_ABORTED = 995,
	IO_INCOMPLETE = 996, // still in flight
	IO_PENDING = 997,    // in flight from now on
};

// The longest message that can be passed.
constexpr std::size_t LARGEST_PIPE_MESSAGE = 4096;

// One instance of the serving end. Its destructor takes back what is in flight and closes the connection.
class IPipeInstance
{
public:
	IPipeInstance() = default;
	IPipeInstance(const IPipeInstance &) = delete;
	IPipeInstance &operator=(const IPipeInstance &) = delete;
	virtual ~IPipeInstance() = default;

	// Begins to listen for a writer. Always an error code: IO_PENDING; PIPE_CONNECTED when one is there already; NO_DATA when one was there
	// and nobody disconnected it.
	virtual PipeOutcome connect() = 0;
	// SUCCESS once a writer is there.
	virtual PipeOutcome connectResult() = 0;

	// Reads at most `size` bytes (1 to LARGEST_PIPE_MESSAGE) of the present message. With SUCCESS, and with MORE_DATA, `bytes` are what was
	// read; they lie in the instance and are good until its next operation.
	virtual PipeOutcome read(std::size_t size, std::string_view &bytes) = 0;
	virtual PipeOutcome readResult(std::string_view &bytes) = 0;

	// Ends the connection, so that `connect` can be called again. What the writer had sent and nobody read is lost.
	virtual PipeOutcome disconnect() = 0;

	// Who is connected; 0 and false when nobody is, or when the system can't tell.
	virtual ProcessId peerProcessId() const = 0;
	virtual bool isPeerOfSameUser() const = 0;

	// For log lines.
	virtual std::uintptr_t nativeHandle() const = 0;
};

// A writer's end, connected. Its destructor takes back what is in flight and closes; what was written before stays to be read.
class IPipeWriter
{
public:
	IPipeWriter() = default;
	IPipeWriter(const IPipeWriter &) = delete;
	IPipeWriter &operator=(const IPipeWriter &) = delete;
	virtual ~IPipeWriter() = default;

	// To be called once after opening. PIPE_NOT_CONNECTED: the serving end has gone already.
	virtual PipeOutcome setMessageMode() = 0;

	// Writes one message of 1 to LARGEST_PIPE_MESSAGE bytes. The caller's bytes aren't needed any more when it returns, even with
	// IO_PENDING.
	virtual PipeOutcome write(std::string_view message) = 0;
	virtual PipeOutcome writeResult() = 0;

	virtual ProcessId peerProcessId() const = 0;
	virtual bool isPeerOfSameUser() const = 0;
	virtual std::uintptr_t nativeHandle() const = 0;
};

class IMessagePipes
{
public:
	IMessagePipes() = default;
	IMessagePipes(const IMessagePipes &) = delete;
	IMessagePipes &operator=(const IMessagePipes &) = delete;
	virtual ~IMessagePipes() = default;

	// The address under which the pipe with this proxy file (an absolute path) is served, with the folders that it needs made. Empty when
	// there is none; then `refusal` tells people why.
	virtual std::string rawPath(const std::string &proxyPath, std::string &refusal) = 0;

	// Makes one more serving instance, which is not listening yet. ACCESS_DENIED: another user serves under this address. PIPE_BUSY: it is
	// served by another process and can't be shared.
	virtual PipeOutcome createInstance(const std::string &rawPath, std::unique_ptr<IPipeInstance> &instance) = 0;

	// Connects to the serving end. INVALID_PARAMETER for an address that this system can't have given.
	virtual PipeOutcome openWriter(const std::string &rawPath, std::unique_ptr<IPipeWriter> &writer) = 0;
};

// The message pipes that everybody uses: the system's unless a test has put others in place.
IMessagePipes &messagePipes();

// Makes `replacement` the message pipes; null restores the system's. The caller keeps owning it, and lets no end outlive the change.
void setMessagePipes(IMessagePipes *replacement);

namespace Detail
{
IMessagePipes &systemMessagePipes();
}
}
