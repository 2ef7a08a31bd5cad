#include "MrvPipes/MrvPipes.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvUtils.h"

#include <memory>

namespace Mrv::Pipes
{
int openReadNamedPipe(const std::string &namedPipePath, TrailingPathCharHandling trailing)
{
	LOG_TRACE("namedPipePath = " + namedPipePath);
	EXPECTED_AS(
	    trailing == TrailingPathCharHandling::Ignore || (!namedPipePath.empty() && namedPipePath.back() != Platform::pathSeparator()),
	    "trailingPathCharHandling == TrailingPathCharHandling::Ignore || *(namedPipePath.rbegin()) != '\\\\'");
	const std::shared_ptr<ReadPipe> pipe = ReadPipe::factory(namedPipePath);
	if (!pipe)
	{
		return 0;
	}
	pipe->openCountIncrement();
	return pipe->getPipeExternalHandle();
}

int openWriteNamedPipe(const std::string &namedPipePath, TrailingPathCharHandling trailing)
{
	LOG_TRACE("namedPipePath = " + namedPipePath);
	const bool isThere = namedPipeExists(namedPipePath, trailing);
	LOG_TRACE("namedPipePath exists = " + Utils::boolToString(isThere));
	if (!isThere)
	{
		return 0;
	}
	const std::shared_ptr<WritePipe> pipe = WritePipe::factory(namedPipePath);
	pipe->openCountIncrement();
	return pipe->getPipeExternalHandle();
}

bool closeNamedPipe(int pipeExternalHandle)
{
	int closeCount = 0;
	bool isClosed = true;
	if (const std::shared_ptr<WritePipe> pipe = WritePipe::getPipe(pipeExternalHandle))
	{
		isClosed = pipe->close();
		++closeCount;
	}
	if (ReadPipe::hasPipe(pipeExternalHandle))
	{
		isClosed = ReadPipe::getPipe(pipeExternalHandle)->close() && isClosed;
		++closeCount;
	}
	EXPECTED(closeCount == 1);
	return closeCount == 1 && isClosed;
}

void closeWriteNamedPipeForced(int pipeExternalHandle)
{
	if (const std::shared_ptr<WritePipe> pipe = WritePipe::getPipe(pipeExternalHandle))
	{
		pipe->closeForced();
	}
}

bool writeToNamedPipe(int pipeExternalHandle, std::string text)
{
	const std::shared_ptr<WritePipe> writePipe = WritePipe::getPipe(pipeExternalHandle);
	SANITY_CHECK(writePipe, return false);
	return writePipe->write(std::move(text));
}

WriteProgress getWriteProgress(int pipeExternalHandle, std::uint64_t lossCount)
{
	const std::shared_ptr<WritePipe> pipe = WritePipe::getPipe(pipeExternalHandle);
	const WritePipeHandleBuffer *const buffer = pipe ? pipe->getBuffer() : nullptr;
	if (!buffer || pipe->getState() == WritePipeState::ERROR_STATE || buffer->getLossCount() != lossCount)
	{
		return WriteProgress::FAILED;
	}
	return buffer->isIdle() ? WriteProgress::DONE : WriteProgress::IN_PROGRESS;
}

std::uint64_t getLossCount(int pipeExternalHandle)
{
	const std::shared_ptr<WritePipe> pipe = WritePipe::getPipe(pipeExternalHandle);
	return pipe && pipe->getBuffer() ? pipe->getBuffer()->getLossCount() : 0;
}

std::int64_t getUnreachableMicroseconds(int pipeExternalHandle)
{
	const std::shared_ptr<WritePipe> pipe = WritePipe::getPipe(pipeExternalHandle);
	const std::int64_t since = pipe && pipe->getBuffer() ? pipe->getBuffer()->getUnreachableSince() : 0;
	return since == 0 ? 0 : (Platform::steadyNanoseconds() - since) / 1000;
}

bool readFromNamedPipe(std::string &inString, int pipeExternalHandle, bool &readComplete, char endChar)
{
	inString.clear();
	readComplete = false;
	const std::shared_ptr<ReadPipe> readPipe = ReadPipe::getPipe(pipeExternalHandle);
	SANITY_CHECK(readPipe, return false);
	return readPipe->read(inString, readComplete, endChar);
}

bool namedPipeExists(const std::string &namedPipePath, TrailingPathCharHandling trailing)
{
	return Dirs::fileExists(namedPipePath, trailing);
}

bool namedPipeIsActive(const std::string &namedPipePath, TrailingPathCharHandling trailing)
{
	return Dirs::fileExists(namedPipePath, trailing);
}

bool deleteNamedPipe(const std::string &namedPipePath, TrailingPathCharHandling trailing)
{
	if (ReadPipe::hasPipe(namedPipePath) || WritePipe::getPipe(namedPipePath) || !Dirs::fileExists(namedPipePath, trailing))
	{
		return true;
	}
	VERIFY_AS(Platform::removeFile(namedPipePath), "remove(namedPipePath.c_str()) == 0", return false);
	return true;
}
}
