#include "MrvPipes/MrvWritePipe.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvPrivateFolder.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvIni.h"
#include "MrvUtils/MrvLimits.h"

#include <vector>

namespace Mrv
{
PipeTable<WritePipe> &WritePipe::table()
{
	static auto &sTable = Platform::makeLasting<PipeTable<WritePipe>>();
	return sTable;
}

std::shared_ptr<WritePipe> WritePipe::factory(const std::string &path)
{
	std::shared_ptr<WritePipe> pipe = getPipe(path);
	if (!pipe)
	{
		pipe = std::make_shared<WritePipe>(path);
		table().add(pipe);
	}
	return pipe;
}

std::shared_ptr<WritePipe> WritePipe::getPipe(int pipeExternalHandle)
{
	return table().find(pipeExternalHandle);
}

std::shared_ptr<WritePipe> WritePipe::getPipe(const std::string &path)
{
	return table().find(path);
}

const char *WritePipe::getStateName(WritePipeState state)
{
	switch (state)
	{
		case WritePipeState::ERROR_STATE:
			return "Error";
		case WritePipeState::UNKNOWN:
			return "Unknown";
		case WritePipeState::NON_EXISTENT:
			return "NonExistent";
		case WritePipeState::CLOSED:
			return "Closed";
		case WritePipeState::CLOSING:
			return "Closing";
		case WritePipeState::OPEN:
			return "Open";
	}
	return "Unknown";
}

void WritePipe::switchToState(WritePipeState state)
{
	if (state != fState)
	{
		noteTransition({"WritePipeState", static_cast<int>(fState), static_cast<int>(state), getStateName(fState), getStateName(state),
		    getPipeExternalHandle(), 0});
		fState = state;
	}
}

bool WritePipe::open()
{
	SANITY_CHECK_AS(!getNamedPipePath().empty(), "! fNamedPipePath.empty()", return false);
	SANITY_CHECK_AS(fState != WritePipeState::OPEN, "fState != WritePipeState::Open", return false);
	const bool isThere = Pipes::namedPipeExists(getNamedPipePath());
	if (fState == WritePipeState::UNKNOWN && !isThere)
	{
		if (!Dirs::dirExists(Dirs::getParentPath(getNamedPipePath())))
		{
			LOG_ERROR("parentDir does not exist");
		}
		switchToState(WritePipeState::NON_EXISTENT);
	}
	VERIFY_AS(isThere, "Pipes::namedPipeExists(fNamedPipePath)", return false);
	if (fState != WritePipeState::CLOSING)
	{
		VERIFY_AS(!fWritePipeHandleBuffer, "! fWritePipeHandleBuffer", return false);
		fWritePipeHandleBuffer = std::make_unique<WritePipeHandleBuffer>(*this);
	}
	switchToState(WritePipeState::OPEN);
	return true;
}

const std::string &WritePipe::findRawNamedPipePath()
{
	fRawNamedPipePath.clear();
	std::string text;
	const bool isOwn = Platform::isOwnFile(getNamedPipePath());
	if (!isOwn && !fIsForeignProxyLogged && Pipes::namedPipeExists(getNamedPipePath()))
	{
		LOG_ERROR(logPrefix() + "the proxy file belongs to another user: " + getNamedPipePath());
	}
	fIsForeignProxyLogged = !isOwn;
	if (isOwn && Dirs::readFile(getNamedPipePath(), text, Limits::PIPE_PROXY_FILE_BYTES))
	{
		fRawNamedPipePath = Ini(text).getEntry(Pipes::PROXY_SECTION, Pipes::PROXY_PATH_KEY);
	}
	return fRawNamedPipePath;
}

bool WritePipe::poll()
{
	if (fState == WritePipeState::ERROR_STATE)
	{
		LOG_ERROR(logPrefix() + "pipe in error state");
		return false;
	}
	if (!fWritePipeHandleBuffer)
	{
		return false;
	}
	const bool hasWritten = fWritePipeHandleBuffer->poll();
	if (fWritePipeHandleBuffer->getState() == WritePipeHandleState::ERROR_STATE)
	{
		switchToState(WritePipeState::ERROR_STATE);
	}
	else if (fState == WritePipeState::CLOSING && fWritePipeHandleBuffer->isIdle())
	{
		fWritePipeHandleBuffer.reset();
		switchToState(WritePipeState::CLOSED);
	}
	return hasWritten;
}

bool WritePipe::write(std::string text)
{
	if (text.size() > Limits::PIPE_STRING_BYTES)
	{
		LOG_ERROR(logPrefix() + "a string of " + std::to_string(text.size()) + " bytes is too long to be sent");
		return false;
	}
	if (fState != WritePipeState::OPEN && !open())
	{
		return false;
	}
	fWritePipeHandleBuffer->write(std::move(text));
	poll();
	return true;
}

bool WritePipe::close()
{
	openCountDecrement();
	if (getOpenCount() > 0)
	{
		LOG_WARNING("pipe remains open");
		return true;
	}
	if (fState == WritePipeState::ERROR_STATE || isBufferIdle())
	{
		closeForced();
		return true;
	}
	switchToState(WritePipeState::CLOSING);
	return true;
}

void WritePipe::closeForced()
{
	const std::shared_ptr<WritePipe> self = getPipe(getNamedPipePath()); // lives to the end of this
	fWritePipeHandleBuffer.reset();
	switchToState(WritePipeState::CLOSED);
	table().remove(*this);
}

void WritePipe::timeslice()
{
	std::vector<std::shared_ptr<WritePipe>> finished;
	for (const auto &[handle, pipe] : table().all())
	{
		if (pipe->fState != WritePipeState::ERROR_STATE)
		{
			pipe->poll();
		}
		if (pipe->fState == WritePipeState::ERROR_STATE)
		{
			LOG_ERROR("WritePipeState::Error, writePipe goes into to close pipes");
			finished.push_back(pipe);
		}
		else if (pipe->getOpenCount() <= 0 && pipe->isBufferIdle())
		{
			finished.push_back(pipe);
		}
	}
	for (const std::shared_ptr<WritePipe> &pipe : finished)
	{
		pipe->closeForced();
	}
}

bool WritePipe::isAllIdle()
{
	for (const auto &[handle, pipe] : table().all())
	{
		if (!pipe->isBufferIdle())
		{
			return false;
		}
	}
	return true;
}

void WritePipe::closeAll()
{
	while (!table().all().empty())
	{
		table().all().begin()->second->closeForced();
	}
}
}
