#pragma once

#include "MrvPipes/MrvPipe.h"
#include "MrvPipes/MrvReadPipeBuffer.h"
#include "MrvPipes/MrvReadPipeHandleBuffer.h"
#include "MrvUtils/MrvLimits.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Mrv
{
enum class ReadPipeState : int
{
	ERROR_STATE = -1,
	UNKNOWN = 0,
	NOT_CREATED = 1,
	CLOSED = 2,
	OPEN = 3,
};

// The end that a coordinator reads, open to every writer of the same user. A pool of instances serves it; some of them are always
// listening. Complete strings wait here, oldest first, until they are taken; while too many wait, nothing is read, and the writers have to
// wait.
class ReadPipe final : public Pipe
{
public:
	// The pipe of that path, made and opened when there is none; null when that fails.
	static std::shared_ptr<ReadPipe> factory(const std::string &path);
	// Null, after a log line, when there is none.
	static std::shared_ptr<ReadPipe> getPipe(int pipeExternalHandle);
	static std::shared_ptr<ReadPipe> getPipe(const std::string &path);
	// The same without a log line.
	static bool hasPipe(int pipeExternalHandle);
	static bool hasPipe(const std::string &path);

	// Use the factory.
	explicit ReadPipe(const std::string &path) : Pipe(path) {}

	// Makes the instances, then the proxy file, by which others find the pipe. Fails, after a log line that tells why, when the address is
	// another user's or another process's, or a folder can't be trusted.
	bool open() override;
	bool poll() override;
	// Ends all connections, loses what waits, and removes the proxy file if it is ours.
	bool close() override;
	void closeForced();

	// Takes the text up to the next `endChar`, which is dropped; `isComplete` tells that there was one. Of a string without one the whole
	// text is taken. Whether there is text. Polls first when nothing waits.
	bool read(std::string &text, bool &isComplete, char endChar);

	// Takes one packet. False, after a log line, for one that fits nowhere; it is dropped.
	bool processPacket(const PipePacketHeader &header, std::string_view payload);

	// --- For the instances

	// Whether more may be read.
	bool hasRoomForStrings() const { return fFinishedBytes <= Limits::PIPE_FINISHED_BYTES; }
	// How making an instance went: failures are logged when they begin.
	void noteCreateOutcome(Platform::PipeOutcome outcome);

	ReadPipeState getState() const { return fState; }
	std::size_t getPoolSize() const { return fReadPipeHandleBufferPool.size(); }
	std::size_t getListeningCount() const;
	std::size_t getUnfinishedCount() const { return fBuffers.size(); }

	static void timeslice();
	static void closeAll();

private:
	static PipeTable<ReadPipe> &table();
	static const char *getStateName(ReadPipeState state);
	void switchToState(ReadPipeState state);

	bool refreshProxyFile();
	bool isProxyFileOurs() const;
	bool addInstance();
	void pollInstances();
	void sortInstances(std::vector<std::shared_ptr<ReadPipeHandleBuffer>> &disconnected);
	void fillPool(std::vector<std::shared_ptr<ReadPipeHandleBuffer>> &disconnected);
	bool dropLongestSilent();

	bool beginString(const PipePacketHeader &header, std::string_view &payload);
	bool complain(const PipePacketHeader &header, const char *complaint);
	void finishString(std::string text);
	void lookAtUnfinishedStrings();
	bool hasConnectionOf(Platform::ProcessId processId) const;

	ReadPipeState fState = ReadPipeState::UNKNOWN;
	std::vector<std::shared_ptr<ReadPipeHandleBuffer>> fReadPipeHandleBufferPool;
	Platform::PipeOutcome fLastCreateOutcome = Platform::PipeOutcome::SUCCESS;
	bool fIsFullReported = false;

	std::unordered_map<Platform::ProcessId, ReadPipeBuffer> fBuffers;
	const char *fLastComplaint = nullptr; // of the process
	Platform::ProcessId fLastComplaintProcessId = 0;

	std::deque<std::string> fFinishedStrings;
	std::size_t fFrontTaken = 0; // bytes of the first one that were taken already
	std::size_t fFinishedBytes = 0;
};
}
