// Message pipes as named pipes in message mode. Every handle is overlapped and nothing waits on one: an operation that isn't finished at
// once is asked after.
//
// What the system writes to while an operation is in flight - the OVERLAPPED and the buffer - lives in an object of its own. When an end
// goes with an operation in flight, that is cancelled and its object set aside until the system is done with it.
#include "MrvPlatform/MrvMessagePipe.h"

#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvWakeRegistration.h"
#include "MrvPlatform/windows/MrvPipeSecurity.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sddl.h>
#include <utility>
#include <vector>

namespace Mrv::Platform
{
namespace
{
PipeOutcome lastOutcome()
{
	return static_cast<PipeOutcome>(::GetLastError());
}

// One operation on one handle: its event, its buffer, and whether it is in flight.
class Operation
{
public:
	Operation() { fOverlapped.hEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr); }
	Operation(const Operation &) = delete;
	Operation &operator=(const Operation &) = delete;
	~Operation()
	{
		if (fOverlapped.hEvent)
		{
			::CloseHandle(fOverlapped.hEvent);
		}
	}

	// To be passed to the function that begins the operation.
	OVERLAPPED *begin()
	{
		const HANDLE event = fOverlapped.hEvent;
		fOverlapped = {};
		fOverlapped.hEvent = event;
		::ResetEvent(event);
		return &fOverlapped;
	}

	void setInFlight(WakeRank rank)
	{
		fIsInFlight = true;
		fWake.setHandle(reinterpret_cast<NativeHandle>(fOverlapped.hEvent), WakeOn::READABLE, rank);
	}

	// How it went; IO_INCOMPLETE while it is in flight.
	PipeOutcome result(HANDLE handle, DWORD &size)
	{
		const PipeOutcome outcome = ::GetOverlappedResult(handle, &fOverlapped, &size, FALSE) ? PipeOutcome::SUCCESS : lastOutcome();
		if (outcome != PipeOutcome::IO_INCOMPLETE && outcome != PipeOutcome::IO_PENDING)
		{
			fIsInFlight = false;
			fWake.clear();
		}
		return outcome;
	}

	bool isInFlight() const { return fIsInFlight; }
	bool isTheSystemDone() const { return HasOverlappedIoCompleted(&fOverlapped); }
	char *buffer() { return fBuffer.data(); }

	// Cancels what is in flight, closes the handle, and sets the operation aside as long as the system needs it.
	static void end(std::unique_ptr<Operation> operation, HANDLE handle)
	{
		if (operation->fIsInFlight)
		{
			::CancelIoEx(handle, &operation->fOverlapped);
		}
		::CloseHandle(handle);
		operation->fWake.clear();
		if (operation->fIsInFlight)
		{
			setAside().operations.push_back(std::move(operation));
		}
		dropFinished();
	}

	static void dropFinished()
	{
		std::erase_if(setAside().operations, [](const std::unique_ptr<Operation> &operation) { return operation->isTheSystemDone(); });
	}

private:
	struct SetAside
	{
		// The system may write to what it isn't done with to the very end of the process.
		~SetAside()
		{
			for (std::unique_ptr<Operation> &operation : operations)
			{
				if (!operation->isTheSystemDone())
				{
					static_cast<void>(operation.release());
				}
			}
		}

		std::vector<std::unique_ptr<Operation>> operations;
	};

	static SetAside &setAside()
	{
		static auto &sSetAside = makeLasting<SetAside>();
		return sSetAside;
	}

	OVERLAPPED fOverlapped{};
	bool fIsInFlight = false;
	WakeRegistration fWake;
	std::array<char, LARGEST_PIPE_MESSAGE> fBuffer{};
};

std::uintptr_t handleNumber(HANDLE handle)
{
	return reinterpret_cast<std::uintptr_t>(handle);
}

class NamedPipeInstance final : public IPipeInstance
{
public:
	explicit NamedPipeInstance(HANDLE handle) : fHandle(handle), fOperation(std::make_unique<Operation>()) {}
	NamedPipeInstance(const NamedPipeInstance &) = delete;
	NamedPipeInstance &operator=(const NamedPipeInstance &) = delete;
	~NamedPipeInstance() override { Operation::end(std::move(fOperation), fHandle); }

	PipeOutcome connect() override
	{
		if (::ConnectNamedPipe(fHandle, fOperation->begin()))
		{
			return PipeOutcome::PIPE_CONNECTED;
		}
		const PipeOutcome outcome = lastOutcome();
		if (outcome == PipeOutcome::IO_PENDING)
		{
			fOperation->setInFlight(WakeRank::ALWAYS);
		}
		return outcome;
	}

	PipeOutcome connectResult() override
	{
		DWORD size = 0;
		return fOperation->result(fHandle, size);
	}

	PipeOutcome read(std::size_t size, std::string_view &bytes) override
	{
		DWORD count = 0;
		OVERLAPPED *const overlapped = fOperation->begin();
		const auto wanted = static_cast<DWORD>(std::min(size, LARGEST_PIPE_MESSAGE));
		PipeOutcome outcome = ::ReadFile(fHandle, fOperation->buffer(), wanted, &count, overlapped) ? PipeOutcome::SUCCESS : lastOutcome();
		if (outcome == PipeOutcome::IO_PENDING)
		{
			fOperation->setInFlight(WakeRank::WHILE_THERE_IS_ROOM);
			return outcome;
		}
		if (outcome == PipeOutcome::SUCCESS || outcome == PipeOutcome::MORE_DATA)
		{
			// The count that ReadFile gives isn't reliable for an overlapped handle.
			outcome = readResult(bytes);
		}
		return outcome;
	}

	PipeOutcome readResult(std::string_view &bytes) override
	{
		DWORD count = 0;
		const PipeOutcome outcome = fOperation->result(fHandle, count);
		if (outcome == PipeOutcome::SUCCESS || outcome == PipeOutcome::MORE_DATA)
		{
			bytes = std::string_view(fOperation->buffer(), std::min<std::size_t>(count, LARGEST_PIPE_MESSAGE));
		}
		return outcome;
	}

	PipeOutcome disconnect() override { return ::DisconnectNamedPipe(fHandle) ? PipeOutcome::SUCCESS : lastOutcome(); }

	ProcessId peerProcessId() const override
	{
		ULONG processId = 0;
		return ::GetNamedPipeClientProcessId(fHandle, &processId) ? processId : 0;
	}

	// The access list lets in this user alone, so a client that has ended meanwhile was one.
	bool isPeerOfSameUser() const override
	{
		const ProcessId processId = peerProcessId();
		return processId != 0 &&
		       (!isProcessRunning(processId) || Windows::isSameUser(Windows::currentUserSid(), Windows::userSidOf(processId)));
	}

	std::uintptr_t nativeHandle() const override { return handleNumber(fHandle); }

private:
	HANDLE fHandle;
	std::unique_ptr<Operation> fOperation;
};

class NamedPipeWriter final : public IPipeWriter
{
public:
	explicit NamedPipeWriter(HANDLE handle) : fHandle(handle), fOperation(std::make_unique<Operation>()) {}
	NamedPipeWriter(const NamedPipeWriter &) = delete;
	NamedPipeWriter &operator=(const NamedPipeWriter &) = delete;
	~NamedPipeWriter() override { Operation::end(std::move(fOperation), fHandle); }

	PipeOutcome setMessageMode() override
	{
		DWORD mode = PIPE_READMODE_MESSAGE;
		return ::SetNamedPipeHandleState(fHandle, &mode, nullptr, nullptr) ? PipeOutcome::SUCCESS : lastOutcome();
	}

	PipeOutcome write(std::string_view message) override
	{
		OVERLAPPED *const overlapped = fOperation->begin();
		const std::size_t size = std::min(message.size(), LARGEST_PIPE_MESSAGE);
		std::memcpy(fOperation->buffer(), message.data(), size);
		if (::WriteFile(fHandle, fOperation->buffer(), static_cast<DWORD>(size), nullptr, overlapped))
		{
			return PipeOutcome::SUCCESS;
		}
		const PipeOutcome outcome = lastOutcome();
		if (outcome == PipeOutcome::IO_PENDING)
		{
			fOperation->setInFlight(WakeRank::ALWAYS);
		}
		return outcome;
	}

	PipeOutcome writeResult() override
	{
		DWORD size = 0;
		return fOperation->result(fHandle, size);
	}

	ProcessId peerProcessId() const override
	{
		ULONG processId = 0;
		return ::GetNamedPipeServerProcessId(fHandle, &processId) ? processId : 0;
	}

	bool isPeerOfSameUser() const override
	{
		const ProcessId processId = peerProcessId();
		return processId != 0 && Windows::isSameUser(Windows::currentUserSid(), Windows::userSidOf(processId));
	}

	std::uintptr_t nativeHandle() const override { return handleNumber(fHandle); }

private:
	HANDLE fHandle;
	std::unique_ptr<Operation> fOperation;
};

constexpr std::string_view kPipeFolder = "\\\\.\\pipe\\";

class NamedPipes final : public IMessagePipes
{
public:
	std::string rawPath(const std::string &proxyPath, std::string &refusal) override
	{
		refusal.clear();
		const std::size_t nameStart = proxyPath.find_last_of("\\/");
		const std::string name = nameStart == std::string::npos ? proxyPath : proxyPath.substr(nameStart + 1);
		if (name.empty() || Windows::currentUserSid().empty())
		{
			refusal = name.empty() ? "the path has no name at its end: " + proxyPath : "the system doesn't tell who the user is";
			return {};
		}
		return std::string(kPipeFolder) + name;
	}

	PipeOutcome createInstance(const std::string &rawPath, std::unique_ptr<IPipeInstance> &instance) override
	{
		Operation::dropFinished();
		const std::optional<std::wstring> path = toPipePath(rawPath);
		if (!path)
		{
			return PipeOutcome::INVALID_PARAMETER;
		}
		SECURITY_ATTRIBUTES security{sizeof security, nullptr, FALSE};
		if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(
		        Windows::descriptorFor(Windows::currentUserSid()).c_str(), SDDL_REVISION_1, &security.lpSecurityDescriptor, nullptr))
		{
			return lastOutcome();
		}
		const HANDLE handle = ::CreateNamedPipeW(path->c_str(), Windows::kInstanceOpenMode, Windows::kInstancePipeMode,
		    Windows::kInstanceCount, 0, Windows::kInstanceInBufferSize, 0, &security);
		const PipeOutcome outcome = handle == INVALID_HANDLE_VALUE ? lastOutcome() : PipeOutcome::SUCCESS;
		::LocalFree(security.lpSecurityDescriptor);
		if (outcome == PipeOutcome::SUCCESS)
		{
			instance = std::make_unique<NamedPipeInstance>(handle);
		}
		return outcome;
	}

	PipeOutcome openWriter(const std::string &rawPath, std::unique_ptr<IPipeWriter> &writer) override
	{
		const std::optional<std::wstring> path = toPipePath(rawPath);
		if (!path)
		{
			return PipeOutcome::INVALID_PARAMETER;
		}
		const HANDLE handle =
		    ::CreateFileW(path->c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, Windows::kWriterFlags, nullptr);
		if (handle == INVALID_HANDLE_VALUE)
		{
			return lastOutcome();
		}
		writer = std::make_unique<NamedPipeWriter>(handle);
		return PipeOutcome::SUCCESS;
	}

private:
	// Pipes of this machine alone: any other path would make the system log on to where it leads.
	static std::optional<std::wstring> toPipePath(const std::string &rawPath)
	{
		const bool isPossible = rawPath.starts_with(kPipeFolder) && rawPath.size() > kPipeFolder.size() &&
		                        rawPath.find_first_of("\\/", kPipeFolder.size()) == std::string::npos;
		return isPossible ? Windows::toWide(rawPath) : std::nullopt;
	}
};
}

IMessagePipes &Detail::systemMessagePipes()
{
	static NamedPipes sPipes;
	return sPipes;
}
}
