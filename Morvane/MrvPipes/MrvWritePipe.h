#pragma once

#include "MrvPipes/MrvPipe.h"
#include "MrvPipes/MrvWritePipeHandleBuffer.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
enum class WritePipeState : int
{
	ERROR_STATE = -1, // closed by the next timeslice
	UNKNOWN = 0,      // just made
	NON_EXISTENT = 1, // no proxy file, or no folder for one
	CLOSED = 2,       // all was written
	CLOSING = 3,      // what waits still goes out
	OPEN = 4,
};

// The end that writes to one pipe: there is one for each path. Strings are queued and sent in order, each in a run of packets.
class WritePipe final : public Pipe
{
public:
	// The pipe of that path, made when there is none. Never null.
	static std::shared_ptr<WritePipe> factory(const std::string &path);
	// Null when there is none.
	static std::shared_ptr<WritePipe> getPipe(int pipeExternalHandle);
	static std::shared_ptr<WritePipe> getPipe(const std::string &path);

	// Use the factory.
	explicit WritePipe(const std::string &path) : Pipe(path) {}

	// Fails, after a log line, when the pipe is open already and when there is no proxy file.
	bool open() override;
	bool poll() override;
	// What waits still goes out, by timeslices; then the pipe is gone.
	bool close() override;
	// Closes at once, whatever the count of openings is, and loses what waits.
	void closeForced();

	// Queues a string, opening the pipe if need be, and sends what can be sent at once. False when the pipe can't be opened or the
	// string is longer than any that is received; what happens to it afterwards is told by `getBuffer`.
	bool write(std::string text);

	WritePipeState getState() const { return fState; }
	// Null unless the pipe is open or closing.
	const WritePipeHandleBuffer *getBuffer() const { return fWritePipeHandleBuffer.get(); }

	// The transport's address as the proxy file has it now; empty when that is missing, another user's or none.
	const std::string &findRawNamedPipePath();

	// Polls all write pipes and drops those that are finished.
	static void timeslice();
	// Nothing waits to be written in any of them.
	static bool isAllIdle();
	// Closes all at once.
	static void closeAll();

private:
	static PipeTable<WritePipe> &table();
	static const char *getStateName(WritePipeState state);
	bool isBufferIdle() const { return !fWritePipeHandleBuffer || fWritePipeHandleBuffer->isIdle(); }
	void switchToState(WritePipeState state);

	WritePipeState fState = WritePipeState::UNKNOWN;
	std::unique_ptr<WritePipeHandleBuffer> fWritePipeHandleBuffer;
	bool fIsForeignProxyLogged = false;
};
}
