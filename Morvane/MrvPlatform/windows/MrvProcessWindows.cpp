#include "MrvPlatform/MrvProcess.h"

#include "MrvPlatform/MrvLasting.h"

#include "MrvPlatform/windows/MrvCommandLineText.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <array>
#include <tlhelp32.h>

namespace Mrv::Platform
{
namespace
{
// Closes itself.
class ProcessHandle
{
public:
	explicit ProcessHandle(ProcessId processId) : fHandle(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId)) {}
	ProcessHandle(const ProcessHandle &) = delete;
	ProcessHandle &operator=(const ProcessHandle &) = delete;
	~ProcessHandle()
	{
		if (isOpen())
		{
			::CloseHandle(fHandle);
		}
	}

	bool isOpen() const { return fHandle && fHandle != INVALID_HANDLE_VALUE; }
	HANDLE get() const { return fHandle; }

private:
	HANDLE fHandle;
};

std::wstring registryText(HKEY root, const wchar_t *key, const wchar_t *name)
{
	std::array<wchar_t, 256> text{};
	DWORD size = sizeof text - sizeof(wchar_t);
	const LSTATUS status = ::RegGetValueW(root, key, name, RRF_RT_REG_SZ | 0x00010000 /* the 64-bit view */, nullptr, text.data(), &size);
	return status == ERROR_SUCCESS ? std::wstring(text.data()) : std::wstring();
}

bool isSameName(const std::wstring &name, const std::wstring &other)
{
	return ::CompareStringOrdinal(name.c_str(), static_cast<int>(name.size()), other.c_str(), static_cast<int>(other.size()), TRUE) ==
	       CSTR_EQUAL;
}
}

ProcessId currentProcessId()
{
	return ::GetCurrentProcessId();
}

bool isProcessRunning(ProcessId processId)
{
	const ProcessHandle process(processId);
	DWORD exitCode = 0;
	return process.isOpen() && ::GetExitCodeProcess(process.get(), &exitCode) && exitCode == STILL_ACTIVE;
}

// Asked for until the very end of a coordinator.
const std::string &machineId()
{
	static const std::string &sId = makeLasting<std::string>() = []
	{
		std::wstring id = registryText(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid");
		if (id.empty() || id.find_first_of(L"/ ") != std::wstring::npos)
		{
			std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
			auto size = static_cast<DWORD>(name.size());
			id = ::GetComputerNameW(name.data(), &size) ? std::wstring(name.data(), size) : std::wstring(L"unknown");
		}
		return Windows::toUtf8(id);
	}();
	return sId;
}

std::string processStartToken(ProcessId processId)
{
	const ProcessHandle process(processId);
	FILETIME created{};
	FILETIME ended{};
	FILETIME inKernel{};
	FILETIME inUser{};
	if (!process.isOpen() || !::GetProcessTimes(process.get(), &created, &ended, &inKernel, &inUser))
	{
		return {};
	}
	return machineId() + '/' + std::to_string((std::uint64_t{created.dwHighDateTime} << 32) | std::uint64_t{created.dwLowDateTime});
}

ProcessId findProcess(const std::string &programName)
{
	const std::optional<std::wstring> wanted = Windows::toWide(programName);
	const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
	if (!wanted || snapshot == INVALID_HANDLE_VALUE)
	{
		return 0;
	}
	ProcessId found = 0;
	PROCESSENTRY32W entry{};
	entry.dwSize = sizeof entry;
	for (BOOL isThere = ::Process32FirstW(snapshot, &entry); isThere && found == 0; isThere = ::Process32NextW(snapshot, &entry))
	{
		found = isSameName(entry.szExeFile, *wanted) ? entry.th32ProcessID : 0;
	}
	::CloseHandle(snapshot);
	return found;
}

ProcessId launchProcess(const std::vector<std::string> &arguments)
{
	const std::optional<std::wstring> program = arguments.empty() ? std::nullopt : Windows::toWide(arguments.front());
	std::optional<std::wstring> commandLine = Windows::toWide(Windows::commandLineOf(arguments));
	if (!program || program->empty() || !commandLine)
	{
		return 0;
	}
	STARTUPINFOW startupInfo{};
	startupInfo.cb = sizeof startupInfo;
	PROCESS_INFORMATION information{};
	if (!::CreateProcessW(program->c_str(), commandLine->data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW | NORMAL_PRIORITY_CLASS, nullptr,
	        nullptr, &startupInfo, &information))
	{
		return 0;
	}
	::CloseHandle(information.hThread);
	::CloseHandle(information.hProcess);
	return information.dwProcessId;
}
}
