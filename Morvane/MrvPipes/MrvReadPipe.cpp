// Three things go on here: the pool of instances is kept up, packets are put together to strings, and strings are handed out.
#include "MrvPipes/MrvReadPipe.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvPrivateFolder.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvIni.h"
#include "MrvUtils/MrvLimits.h"

#include <algorithm>

namespace Mrv
{
using Platform::PipeOutcome;

PipeTable<ReadPipe> &ReadPipe::table()
{
	static auto &sTable = Platform::makeLasting<PipeTable<ReadPipe>>();
	return sTable;
}

std::shared_ptr<ReadPipe> ReadPipe::factory(const std::string &path)
{
	if (std::shared_ptr<ReadPipe> pipe = table().find(path))
	{
		return pipe;
	}
	LOG_TRACE("pipe '" + path + "' not found");
	auto pipe = std::make_shared<ReadPipe>(path);
	SANITY_CHECK_AS(pipe->open(), "retVal->open()", return nullptr);
	table().add(pipe);
	return pipe;
}

std::shared_ptr<ReadPipe> ReadPipe::getPipe(int pipeExternalHandle)
{
	std::shared_ptr<ReadPipe> pipe = table().find(pipeExternalHandle);
	if (!pipe)
	{
		LOG_TRACE("pipe handle " + std::to_string(pipeExternalHandle) + " not found");
	}
	return pipe;
}

std::shared_ptr<ReadPipe> ReadPipe::getPipe(const std::string &path)
{
	std::shared_ptr<ReadPipe> pipe = table().find(path);
	if (!pipe)
	{
		LOG_TRACE("pipe '" + path + "' not found");
	}
	return pipe;
}

bool ReadPipe::hasPipe(int pipeExternalHandle)
{
	return table().find(pipeExternalHandle) != nullptr;
}

bool ReadPipe::hasPipe(const std::string &path)
{
	return table().find(path) != nullptr;
}

const char *ReadPipe::getStateName(ReadPipeState state)
{
	switch (state)
	{
		case ReadPipeState::ERROR_STATE:
		case ReadPipeState::UNKNOWN:
			return "Unknown";
		case ReadPipeState::NOT_CREATED:
			return "NotCreated";
		case ReadPipeState::CLOSED:
			return "Closed";
		case ReadPipeState::OPEN:
			return "Open";
	}
	return "Unknown";
}

void ReadPipe::switchToState(ReadPipeState state)
{
	if (state != fState)
	{
		noteTransition({"ReadPipeState", static_cast<int>(fState), static_cast<int>(state), getStateName(fState), getStateName(state),
		    getPipeExternalHandle(), 0});
		fState = state;
	}
}

// --- Opening and closing

bool ReadPipe::open()
{
	SANITY_CHECK_AS(!getNamedPipePath().empty(), "! fNamedPipePath.empty()", return false);
	SANITY_CHECK_AS(fState != ReadPipeState::OPEN, "fState != ReadPipeState::Open", return false);
	std::string refusal;
	fRawNamedPipePath = Platform::messagePipes().rawPath(Dirs::fullPath(getNamedPipePath()), refusal);
	if (fRawNamedPipePath.empty())
	{
		LOG_ERROR(logPrefix() + refusal);
		return false;
	}
	// The instances come first: whoever sees the proxy file can connect.
	for (std::size_t count = 0; count < Limits::PIPE_LISTENING_INSTANCES && addInstance(); ++count)
	{
	}
	if (fReadPipeHandleBufferPool.empty() || !refreshProxyFile())
	{
		fReadPipeHandleBufferPool.clear();
		return false;
	}
	switchToState(ReadPipeState::OPEN);
	return true;
}

bool ReadPipe::addInstance()
{
	const std::shared_ptr<ReadPipeHandleBuffer> instance = ReadPipeHandleBuffer::factory(*this);
	if (!instance)
	{
		return false;
	}
	fReadPipeHandleBufferPool.push_back(instance);
	instance->poll(); // it listens from now on
	return true;
}

void ReadPipe::noteCreateOutcome(PipeOutcome outcome)
{
	if (outcome != PipeOutcome::SUCCESS && outcome != fLastCreateOutcome)
	{
		const char *const reason = outcome == PipeOutcome::ACCESS_DENIED ? "; another user serves it"
		                           : outcome == PipeOutcome::PIPE_BUSY   ? "; another process serves it"
		                                                                 : "";
		LOG_ERROR(logPrefix() + "createNamedPipeError " + std::to_string(static_cast<std::uint32_t>(outcome)) + " for " +
		          getRawNamedPipePath() + reason);
	}
	fLastCreateOutcome = outcome;
}

bool ReadPipe::refreshProxyFile()
{
	// A file that lies there already was left behind, since its owner would serve the address.
	Ini proxy;
	proxy.setEntry(Pipes::PROXY_SECTION, Pipes::PROXY_PATH_KEY, getRawNamedPipePath());
	proxy.setEntry(Pipes::PROXY_SECTION, Pipes::PROXY_PROCESS_KEY, std::to_string(Platform::currentProcessId()));
	const std::string text = proxy.toString();
	std::string present;
	if (Platform::isOwnFile(getNamedPipePath()) && Dirs::readFile(getNamedPipePath(), present, Limits::PIPE_PROXY_FILE_BYTES) &&
	    present == text)
	{
		return true;
	}
	// It is made outside of the pipe folder, where every file is taken for a pipe.
	if (!Dirs::replaceFile(getNamedPipePath(), text, Dirs::getParentPath(Dirs::getParentPath(getNamedPipePath()))))
	{
		LOG_ERROR(logPrefix() + "cannot write the proxy file " + getNamedPipePath());
		return false;
	}
	return true;
}

bool ReadPipe::isProxyFileOurs() const
{
	std::string text;
	return Dirs::readFile(getNamedPipePath(), text, Limits::PIPE_PROXY_FILE_BYTES) &&
	       Ini(text).getEntry(Pipes::PROXY_SECTION, Pipes::PROXY_PROCESS_KEY) == std::to_string(Platform::currentProcessId());
}

bool ReadPipe::close()
{
	openCountDecrement();
	if (getOpenCount() > 0)
	{
		LOG_WARNING("pipe remains open");
		return true;
	}
	closeForced();
	return true;
}

void ReadPipe::closeForced()
{
	const std::shared_ptr<ReadPipe> self = table().find(getNamedPipePath()); // lives to the end of this
	// The proxy file goes first: nobody is to come any more. Another process may have taken the name over.
	if (isProxyFileOurs())
	{
		Platform::removeFile(getNamedPipePath());
		EXPECTED_AS(!Dirs::fileExists(getNamedPipePath()), "! Dirs::fileExists(fNamedPipePath)");
	}
	for (const std::shared_ptr<ReadPipeHandleBuffer> &instance : fReadPipeHandleBufferPool)
	{
		EXPECTED_AS(instance->forceFinalState(), "forceFinalSuccess");
	}
	fReadPipeHandleBufferPool.clear();
	fBuffers.clear();
	switchToState(ReadPipeState::CLOSED);
	if (self)
	{
		LOG_TRACE("removing external handle " + std::to_string(getPipeExternalHandle()));
		LOG_TRACE("removing pipe by path " + getNamedPipePath());
		if (!table().remove(*this))
		{
			LOG_ERROR("cannot find read pipe by path " + getNamedPipePath());
		}
	}
}

void ReadPipe::timeslice()
{
	std::vector<std::shared_ptr<ReadPipe>> failed;
	for (const auto &[handle, pipe] : table().all())
	{
		pipe->poll();
		if (pipe->fState == ReadPipeState::ERROR_STATE)
		{
			LOG_ERROR("error pipe goes into to close pipes");
			failed.push_back(pipe);
		}
	}
	for (const std::shared_ptr<ReadPipe> &pipe : failed)
	{
		pipe->closeForced();
	}
}

void ReadPipe::closeAll()
{
	while (!table().all().empty())
	{
		table().all().begin()->second->closeForced();
	}
}

// --- The pool

bool ReadPipe::poll()
{
	if (fState == ReadPipeState::ERROR_STATE)
	{
		LOG_ERROR(logPrefix() + "pipe in error state");
		return false;
	}
	if (fState == ReadPipeState::UNKNOWN)
	{
		switchToState(Pipes::namedPipeExists(getNamedPipePath()) ? ReadPipeState::CLOSED : ReadPipeState::NOT_CREATED);
	}
	if (fState != ReadPipeState::OPEN)
	{
		return false;
	}
	const std::size_t before = fFinishedStrings.size();
	pollInstances();
	lookAtUnfinishedStrings();
	return fFinishedStrings.size() != before;
}

void ReadPipe::pollInstances()
{
	for (const std::shared_ptr<ReadPipeHandleBuffer> &instance : fReadPipeHandleBufferPool)
	{
		instance->poll();
	}
	std::vector<std::shared_ptr<ReadPipeHandleBuffer>> disconnected;
	sortInstances(disconnected);
	fillPool(disconnected);
	for (std::size_t i = 0; i < disconnected.size(); ++i)
	{
		LOG_TRACE("discarding a disconnected pipe (" + std::to_string(getPipeExternalHandle()) + ") from the pool");
	}
}

void ReadPipe::sortInstances(std::vector<std::shared_ptr<ReadPipeHandleBuffer>> &disconnected)
{
	std::erase_if(fReadPipeHandleBufferPool,
	    [&](const std::shared_ptr<ReadPipeHandleBuffer> &instance)
	    {
		    if (instance->getState() == ReadPipeHandleState::DESTROYED)
		    {
			    LOG_TRACE("releasing a destroyed pipe (" + std::to_string(getPipeExternalHandle()) + ")");
			    return true;
		    }
		    if (instance->getState() == ReadPipeHandleState::DISCONNECTED)
		    {
			    LOG_TRACE("adding a disconnected pipe (" + std::to_string(getPipeExternalHandle()) + ") to the list of disconnects");
			    disconnected.push_back(instance);
			    return true;
		    }
		    return false;
	    });
}

std::size_t ReadPipe::getListeningCount() const
{
	return static_cast<std::size_t>(std::count_if(fReadPipeHandleBufferPool.begin(), fReadPipeHandleBufferPool.end(),
	    [](const std::shared_ptr<ReadPipeHandleBuffer> &instance)
	    { return instance->getState() == ReadPipeHandleState::CONNECTION_PENDING; }));
}

void ReadPipe::fillPool(std::vector<std::shared_ptr<ReadPipeHandleBuffer>> &disconnected)
{
	fIsFullReported = fIsFullReported && fReadPipeHandleBufferPool.size() >= Limits::PIPE_POOL_INSTANCES;
	for (std::size_t listening = getListeningCount(); listening < Limits::PIPE_LISTENING_INSTANCES; ++listening)
	{
		if (!disconnected.empty())
		{
			LOG_TRACE("reusing a disconnected pipe (" + std::to_string(getPipeExternalHandle()) + ") for the pool");
			fReadPipeHandleBufferPool.push_back(disconnected.back());
			disconnected.pop_back();
			fReadPipeHandleBufferPool.back()->poll();
			continue;
		}
		if (fReadPipeHandleBufferPool.size() >= Limits::PIPE_POOL_INSTANCES && !dropLongestSilent())
		{
			break;
		}
		LOG_TRACE("adding a new pipe (" + std::to_string(getPipeExternalHandle()) + ") to the pool");
		if (!addInstance())
		{
			break; // tried again at the next poll
		}
	}
}

bool ReadPipe::dropLongestSilent()
{
	std::size_t longest = fReadPipeHandleBufferPool.size();
	for (std::size_t i = 0; i < fReadPipeHandleBufferPool.size(); ++i)
	{
		if (fReadPipeHandleBufferPool[i]->isConnected() &&
		    (longest == fReadPipeHandleBufferPool.size() ||
		        fReadPipeHandleBufferPool[i]->getLastActivityTime() < fReadPipeHandleBufferPool[longest]->getLastActivityTime()))
		{
			longest = i;
		}
	}
	if (longest == fReadPipeHandleBufferPool.size())
	{
		return false;
	}
	if (!fIsFullReported)
	{
		LOG_WARNING(logPrefix() + "too many connections; the longest silent ones are ended");
		fIsFullReported = true;
	}
	fReadPipeHandleBufferPool[longest]->forceFinalState();
	fReadPipeHandleBufferPool.erase(fReadPipeHandleBufferPool.begin() + static_cast<std::ptrdiff_t>(longest));
	return true;
}

// --- From packets to strings

bool ReadPipe::complain(const PipePacketHeader &header, const char *complaint)
{
	// A writer that has lost its place has many packets to come.
	if (fLastComplaint != complaint || fLastComplaintProcessId != header.processId)
	{
		fLastComplaint = complaint;
		fLastComplaintProcessId = header.processId;
		LOG_ERROR(complaint);
	}
	return false;
}

bool ReadPipe::processPacket(const PipePacketHeader &header, std::string_view payload)
{
	if (header.packetSequence == 0 && !beginString(header, payload))
	{
		return false;
	}
	const auto found = fBuffers.find(header.processId);
	if (found == fBuffers.end())
	{
		return complain(header, "was expecting a packet #0 at start of buffer");
	}
	ReadPipeBuffer &buffer = found->second;
	switch (buffer.append(header, payload))
	{
		case ReadPipeBuffer::Outcome::MORE:
			buffer.lastPacketTime = Platform::steadyNanoseconds();
			return true;
		case ReadPipeBuffer::Outcome::FINISHED:
			finishString(buffer.takeText());
			fBuffers.erase(found);
			return true;
		case ReadPipeBuffer::Outcome::MISFIT:
			return complain(header, buffer.getComplaint());
		case ReadPipeBuffer::Outcome::TOO_MUCH:
			complain(header, buffer.getComplaint());
			fBuffers.erase(found);
			return false;
	}
	return false;
}

// A new string takes the place of what the same process has left unfinished.
bool ReadPipe::beginString(const PipePacketHeader &header, std::string_view &payload)
{
	fBuffers.erase(header.processId);
	if (payload.size() < PIPE_LENGTH_SIZE)
	{
		return complain(header, "No room for string length in packet");
	}
	const auto totalLength = readFromBytes<std::uint64_t>(payload);
	payload.remove_prefix(PIPE_LENGTH_SIZE);
	if (totalLength == 0)
	{
		return complain(header, "a string without text");
	}
	if (totalLength > Limits::PIPE_STRING_BYTES)
	{
		return complain(header, "a string is announced that is too long to be received");
	}
	if (fBuffers.size() >= Limits::PIPE_ASSEMBLIES)
	{
		return complain(header, "too many strings arrive at once");
	}
	ReadPipeBuffer &buffer = fBuffers.emplace(header.processId, ReadPipeBuffer(totalLength)).first->second;
	buffer.lastPacketTime = Platform::steadyNanoseconds();
	buffer.nextLivenessCheck = timeAfter(IPipeCoordinator::current().getScanActiveSiblingsIntervalMicroseconds());
	return true;
}

void ReadPipe::finishString(std::string text)
{
	fLastComplaint = nullptr;
	fFinishedBytes += text.size() + sizeof(std::string); // many short ones take room too
	fFinishedStrings.push_back(std::move(text));
}

bool ReadPipe::hasConnectionOf(Platform::ProcessId processId) const
{
	return std::any_of(fReadPipeHandleBufferPool.begin(), fReadPipeHandleBufferPool.end(),
	    [processId](const std::shared_ptr<ReadPipeHandleBuffer> &instance)
	    { return instance->isConnected() && instance->getPeerProcessId() == processId; });
}

// While the rest of a string is to be expected the event loop stays awake. What a dead process left unfinished goes once nothing of it can
// come any more.
void ReadPipe::lookAtUnfinishedStrings()
{
	if (fBuffers.empty())
	{
		return;
	}
	const std::int64_t now = Platform::steadyNanoseconds();
	for (auto entry = fBuffers.begin(); entry != fBuffers.end();)
	{
		auto &[processId, buffer] = *entry;
		if (now >= buffer.nextLivenessCheck)
		{
			buffer.nextLivenessCheck = timeAfter(IPipeCoordinator::current().getScanActiveSiblingsIntervalMicroseconds());
			buffer.isWriterAlive = Process::isRunning(processId);
		}
		if (!buffer.isWriterAlive && !hasConnectionOf(processId))
		{
			LOG_WARNING("half a string of the dead process " + std::to_string(processId) + " is dropped");
			entry = fBuffers.erase(entry);
			continue;
		}
		if (buffer.isWriterAlive && now - buffer.lastPacketTime < Limits::PIPE_ASSEMBLY_ACTIVE_NANOSECONDS)
		{
			IPipeCoordinator::current().reportMessagingActivityInEventLoop();
		}
		++entry;
	}
}

// --- Handing out

bool ReadPipe::read(std::string &text, bool &isComplete, char endChar)
{
	text.clear();
	isComplete = false;
	if (fFinishedStrings.empty())
	{
		poll();
	}
	if (fFinishedStrings.empty())
	{
		return false;
	}
	std::string &front = fFinishedStrings.front();
	const std::size_t end = front.find(endChar, fFrontTaken);
	isComplete = end != std::string::npos;
	const std::size_t taken = (isComplete ? end + 1 : front.size()) - fFrontTaken;
	const std::size_t textSize = taken - (isComplete ? 1 : 0);
	fFinishedBytes -= taken;
	if (fFrontTaken + taken < front.size())
	{
		text.assign(front, fFrontTaken, textSize);
		fFrontTaken += taken;
		return !text.empty();
	}
	if (fFrontTaken == 0)
	{
		text = std::move(front);
		text.resize(textSize);
	}
	else
	{
		text.assign(front, fFrontTaken, textSize);
	}
	fFinishedStrings.pop_front();
	fFinishedBytes -= sizeof(std::string);
	fFrontTaken = 0;
	return !text.empty();
}
}
