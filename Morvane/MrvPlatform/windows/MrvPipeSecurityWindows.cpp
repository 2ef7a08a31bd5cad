#include "MrvPlatform/windows/MrvPipeSecurity.h"

#include "MrvPlatform/windows/MrvWide.h"

#include <sddl.h>
#include <vector>

namespace Mrv::Platform::Windows
{
const unsigned long kInstanceOpenMode = PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED;
const unsigned long kInstancePipeMode = PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_REJECT_REMOTE_CLIENTS;
const unsigned long kInstanceCount = PIPE_UNLIMITED_INSTANCES;
const unsigned long kInstanceInBufferSize = 4096;
// A server that isn't ours may learn who we are, and do nothing in our name.
const unsigned long kWriterFlags = FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

namespace
{
std::wstring userSidOfProcess(HANDLE process)
{
	HANDLE token = nullptr;
	if (!::OpenProcessToken(process, TOKEN_QUERY, &token))
	{
		return {};
	}
	DWORD size = 0;
	::GetTokenInformation(token, TokenUser, nullptr, 0, &size);
	std::vector<std::uint64_t> buffer(size / sizeof(std::uint64_t) + 1); // aligned for what it holds
	std::wstring sid;
	wchar_t *text = nullptr;
	if (::GetTokenInformation(token, TokenUser, buffer.data(), size, &size) &&
	    ::ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER *>(buffer.data())->User.Sid, &text))
	{
		sid = text;
		::LocalFree(text);
	}
	::CloseHandle(token);
	return sid;
}
}

const std::wstring &currentUserSid()
{
	static const std::wstring sSid = userSidOfProcess(::GetCurrentProcess());
	return sSid;
}

std::wstring userSidOf(ProcessId processId)
{
	const HANDLE process = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
	if (!process)
	{
		return {};
	}
	std::wstring sid = userSidOfProcess(process);
	::CloseHandle(process);
	return sid;
}

std::wstring descriptorFor(const std::wstring &userSid)
{
	return L"D:P(A;;GA;;;" + userSid + L")";
}

bool isSameUser(const std::wstring &userSid, const std::wstring &otherSid)
{
	return !userSid.empty() && userSid == otherSid;
}
}
