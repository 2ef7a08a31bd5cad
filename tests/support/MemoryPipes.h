#pragma once

#include "MrvPlatform/MrvMessagePipe.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Mrv::Test
{
enum class PipeOperation
{
	CREATE,
	CONNECT,
	CONNECT_RESULT,
	READ,
	READ_RESULT,
	DISCONNECT,
	OPEN,
	SET_MODE,
	WRITE,
	WRITE_RESULT,
};

// Message pipes in memory, in place as long as they live. They work by themselves, and a test can script how the next operations of a kind
// go instead. All pipes and ends must be gone before.
class MemoryPipes final : public Platform::IMessagePipes
{
public:
	// One writer with one instance, or one that the test plays: it puts messages in and takes them out.
	struct Connection
	{
		std::deque<std::string> messages;
		std::size_t capacity = 1000; // messages that fit
		Platform::ProcessId writerProcessId = Platform::currentProcessId();
		bool isSameUser = true;
		bool isWriterGone = false;
		bool isReaderGone = false;
	};

	MemoryPipes() { Platform::setMessagePipes(this); }
	MemoryPipes(const MemoryPipes &) = delete;
	MemoryPipes &operator=(const MemoryPipes &) = delete;
	~MemoryPipes() override { Platform::setMessagePipes(nullptr); }

	// The next operation of this kind that isn't scripted yet has this outcome, and no effect. `bytes` are what a read gives.
	void script(PipeOperation operation, Platform::PipeOutcome outcome, std::string bytes = {})
	{
		fScripts[operation].emplace_back(outcome, std::move(bytes));
	}
	// How many steps were scripted and didn't happen yet; and the same, forgetting them.
	std::size_t scriptCount() const
	{
		std::size_t count = 0;
		for (const auto &[operation, steps] : fScripts)
		{
			count += steps.size();
		}
		return count;
	}
	std::size_t forgetScripts()
	{
		const std::size_t count = scriptCount();
		fScripts.clear();
		return count;
	}

	// Connects a writer that the test plays to an instance that listens; null when none does.
	std::shared_ptr<Connection> connectWriter(Platform::ProcessId processId)
	{
		Instance *const instance = findListening("");
		if (!instance)
		{
			return nullptr;
		}
		instance->connection = std::make_shared<Connection>();
		instance->connection->writerProcessId = processId;
		return instance->connection;
	}

	std::size_t instanceCount() const { return fInstances.size(); }

	std::string rawPath(const std::string &proxyPath, std::string &refusal) override
	{
		refusal = fRefusal;
		return fRefusal.empty() ? "memory:" + proxyPath : std::string();
	}
	void refuse(std::string refusal) { fRefusal = std::move(refusal); }

	Platform::PipeOutcome createInstance(const std::string &rawPath, std::unique_ptr<Platform::IPipeInstance> &instance) override
	{
		std::string ignored;
		Platform::PipeOutcome outcome = Platform::PipeOutcome::SUCCESS;
		if (!takeScript(PipeOperation::CREATE, outcome, ignored) || outcome == Platform::PipeOutcome::SUCCESS)
		{
			instance = std::make_unique<Instance>(*this, rawPath);
		}
		return outcome;
	}

	Platform::PipeOutcome openWriter(const std::string &rawPath, std::unique_ptr<Platform::IPipeWriter> &writer) override
	{
		std::string ignored;
		Platform::PipeOutcome outcome = Platform::PipeOutcome::SUCCESS;
		std::shared_ptr<Connection> connection;
		if (takeScript(PipeOperation::OPEN, outcome, ignored))
		{
			connection = std::make_shared<Connection>();
		}
		else if (Instance *const instance = findListening(rawPath))
		{
			connection = instance->connection = std::make_shared<Connection>();
		}
		else
		{
			const bool isServed =
			    std::any_of(fInstances.begin(), fInstances.end(), [&](const Instance *other) { return other->rawPath == rawPath; });
			outcome = isServed ? Platform::PipeOutcome::PIPE_BUSY : Platform::PipeOutcome::FILE_NOT_FOUND;
		}
		if (outcome == Platform::PipeOutcome::SUCCESS)
		{
			connection->isSameUser = isServerOfSameUser;
			writer = std::make_unique<Writer>(*this, connection);
		}
		return outcome;
	}

	bool isServerOfSameUser = true;
	// What the last scripted or opened writer has written is found here, when no instance took it.
	std::vector<std::string> written;

private:
	class Instance final : public Platform::IPipeInstance
	{
	public:
		Instance(MemoryPipes &owner, std::string path) : rawPath(std::move(path)), fOwner(owner) { fOwner.fInstances.push_back(this); }
		Instance(const Instance &) = delete;
		Instance &operator=(const Instance &) = delete;
		~Instance() override
		{
			disconnectNow();
			std::erase(fOwner.fInstances, this);
		}

		Platform::PipeOutcome connect() override
		{
			std::string ignored;
			Platform::PipeOutcome outcome = Platform::PipeOutcome::IO_PENDING;
			const bool isScripted = fOwner.takeScript(PipeOperation::CONNECT, outcome, ignored);
			isListening = !isScripted || outcome == Platform::PipeOutcome::IO_PENDING;
			return outcome;
		}
		Platform::PipeOutcome connectResult() override
		{
			std::string ignored;
			Platform::PipeOutcome outcome = connection ? Platform::PipeOutcome::SUCCESS : Platform::PipeOutcome::IO_INCOMPLETE;
			fOwner.takeScript(PipeOperation::CONNECT_RESULT, outcome, ignored);
			isListening = outcome == Platform::PipeOutcome::IO_INCOMPLETE;
			return outcome;
		}
		Platform::PipeOutcome read(std::size_t size, std::string_view &bytes) override
		{
			fWanted = size;
			const Platform::PipeOutcome outcome = readPiece(PipeOperation::READ, bytes);
			return outcome == Platform::PipeOutcome::IO_INCOMPLETE ? Platform::PipeOutcome::IO_PENDING : outcome;
		}
		Platform::PipeOutcome readResult(std::string_view &bytes) override { return readPiece(PipeOperation::READ_RESULT, bytes); }
		Platform::PipeOutcome disconnect() override
		{
			std::string ignored;
			Platform::PipeOutcome outcome = Platform::PipeOutcome::SUCCESS;
			fOwner.takeScript(PipeOperation::DISCONNECT, outcome, ignored);
			disconnectNow();
			return outcome;
		}
		Platform::ProcessId peerProcessId() const override
		{
			return connection ? connection->writerProcessId : Platform::currentProcessId();
		}
		bool isPeerOfSameUser() const override { return !connection || connection->isSameUser; }
		std::uintptr_t nativeHandle() const override { return 1; }

		std::string rawPath;
		std::shared_ptr<Connection> connection;
		bool isListening = false;

	private:
		void disconnectNow()
		{
			if (connection)
			{
				connection->isReaderGone = true;
				connection.reset();
			}
			fRest.clear();
		}

		Platform::PipeOutcome readPiece(PipeOperation operation, std::string_view &bytes)
		{
			Platform::PipeOutcome outcome = Platform::PipeOutcome::SUCCESS;
			if (fOwner.takeScript(operation, outcome, fPiece))
			{
				bytes = fPiece;
				return outcome;
			}
			if (fRest.empty())
			{
				if (!connection || connection->messages.empty())
				{
					return connection && connection->isWriterGone ? Platform::PipeOutcome::BROKEN_PIPE
					                                              : Platform::PipeOutcome::IO_INCOMPLETE;
				}
				fRest = std::move(connection->messages.front());
				connection->messages.pop_front();
			}
			fPiece = fRest.substr(0, fWanted);
			fRest.erase(0, fWanted);
			bytes = fPiece;
			return fRest.empty() ? Platform::PipeOutcome::SUCCESS : Platform::PipeOutcome::MORE_DATA;
		}

		MemoryPipes &fOwner;
		std::size_t fWanted = 0;
		std::string fPiece;
		std::string fRest;
	};

	class Writer final : public Platform::IPipeWriter
	{
	public:
		Writer(MemoryPipes &owner, std::shared_ptr<Connection> connection) : fOwner(owner), fConnection(std::move(connection)) {}
		Writer(const Writer &) = delete;
		Writer &operator=(const Writer &) = delete;
		~Writer() override { fConnection->isWriterGone = true; }

		Platform::PipeOutcome setMessageMode() override
		{
			std::string ignored;
			Platform::PipeOutcome outcome = Platform::PipeOutcome::SUCCESS;
			fOwner.takeScript(PipeOperation::SET_MODE, outcome, ignored);
			return outcome;
		}
		Platform::PipeOutcome write(std::string_view message) override
		{
			fPending = message;
			const Platform::PipeOutcome outcome = put(PipeOperation::WRITE);
			return outcome == Platform::PipeOutcome::IO_INCOMPLETE ? Platform::PipeOutcome::IO_PENDING : outcome;
		}
		Platform::PipeOutcome writeResult() override { return put(PipeOperation::WRITE_RESULT); }
		Platform::ProcessId peerProcessId() const override { return Platform::currentProcessId(); }
		bool isPeerOfSameUser() const override { return fConnection->isSameUser; }
		std::uintptr_t nativeHandle() const override { return 2; }

	private:
		Platform::PipeOutcome put(PipeOperation operation)
		{
			std::string ignored;
			Platform::PipeOutcome outcome = fConnection->isReaderGone                               ? Platform::PipeOutcome::BROKEN_PIPE
			                                : fConnection->messages.size() >= fConnection->capacity ? Platform::PipeOutcome::IO_INCOMPLETE
			                                                                                        : Platform::PipeOutcome::SUCCESS;
			fOwner.takeScript(operation, outcome, ignored);
			if (outcome == Platform::PipeOutcome::SUCCESS)
			{
				fConnection->messages.push_back(fPending);
				fOwner.written.push_back(fPending);
			}
			return outcome;
		}

		MemoryPipes &fOwner;
		std::shared_ptr<Connection> fConnection;
		std::string fPending;
	};

	bool takeScript(PipeOperation operation, Platform::PipeOutcome &outcome, std::string &bytes)
	{
		auto &steps = fScripts[operation];
		if (steps.empty())
		{
			return false;
		}
		outcome = steps.front().first;
		bytes = std::move(steps.front().second);
		steps.pop_front();
		return true;
	}

	// Any path when it is empty.
	Instance *findListening(const std::string &rawPath)
	{
		const auto found = std::find_if(fInstances.begin(), fInstances.end(),
		    [&](const Instance *instance)
		    { return instance->isListening && !instance->connection && (rawPath.empty() || instance->rawPath == rawPath); });
		return found == fInstances.end() ? nullptr : *found;
	}

	std::map<PipeOperation, std::deque<std::pair<Platform::PipeOutcome, std::string>>> fScripts;
	std::vector<Instance *> fInstances;
	std::string fRefusal;
};
}
