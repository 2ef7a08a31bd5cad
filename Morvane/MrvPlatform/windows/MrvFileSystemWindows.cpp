#include "MrvPlatform/MrvFileSystem.h"

#include "MrvPlatform/windows/MrvWide.h"

#include <cerrno>

namespace Mrv::Platform
{
namespace
{
constexpr std::wstring_view kPipeFolder = L"\\\\.\\pipe\\";

// Separators at the end are dropped, except behind a drive: "C:\" is a root, "C:" is something else.
std::optional<std::wstring> withoutTrailingSeparators(const std::string &path)
{
	std::optional<std::wstring> wide = Windows::toWidePath(path);
	while (wide && wide->size() > 1 && wide->back() == L'\\' && (*wide)[wide->size() - 2] != L':')
	{
		wide->pop_back();
	}
	return wide;
}

bool isNamedPipe(const std::wstring &path)
{
	if (path.size() <= kPipeFolder.size() || ::CompareStringOrdinal(path.c_str(), static_cast<int>(kPipeFolder.size()), kPipeFolder.data(),
	                                             static_cast<int>(kPipeFolder.size()), TRUE) != CSTR_EQUAL)
	{
		return false;
	}
	// Asking for the pipe's attributes would connect to it. The shortest possible wait doesn't.
	return ::WaitNamedPipeW(path.c_str(), 1) || ::GetLastError() == ERROR_SEM_TIMEOUT;
}

std::int64_t unixNanoseconds(const FILETIME &time)
{
	constexpr std::int64_t kTicksFrom1601To1970 = 116'444'736'000'000'000;
	constexpr std::int64_t kNanosecondsPerTick = 100;
	const std::int64_t ticks = (std::int64_t{time.dwHighDateTime} << 32) | std::int64_t{time.dwLowDateTime};
	return (ticks - kTicksFrom1601To1970) * kNanosecondsPerTick;
}

// Opens the path for a look at what it leads to, folders included.
HANDLE openForInformation(const std::wstring &path)
{
	return ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
	    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// Others look into a file that is polled, and scanners into every new one: for moments only, so replacing or removing it is worth some more
// attempts. `operation` gives whether it succeeded, `isHeldOpen` whether the error that it has left is worth another attempt.
template <typename Operation, typename IsHeldOpen>
bool attempt(Operation operation, IsHeldOpen isHeldOpen)
{
	constexpr int kAttempts = 10;
	constexpr DWORD kPauseMilliseconds = 10;
	for (int count = 1; !operation(); ++count)
	{
		if (count == kAttempts || !isHeldOpen(::GetLastError()))
		{
			return false;
		}
		::Sleep(kPauseMilliseconds);
	}
	return true;
}

bool isHeldOpen(DWORD error)
{
	return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
}

// The same for a rename onto `to`: an open target is reported as denied access, and so is a folder, which no waiting helps.
bool isTargetHeldOpen(const std::wstring &to, DWORD error)
{
	const DWORD attributes = ::GetFileAttributesW(to.c_str());
	const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
	return isHeldOpen(error) || (error == ERROR_ACCESS_DENIED && !isFolder);
}

const wchar_t *modeText(OpenMode mode)
{
	switch (mode)
	{
		case OpenMode::READ:
			return L"rbN";
		case OpenMode::WRITE:
			return L"wbN";
		case OpenMode::APPEND:
			return L"abN";
		case OpenMode::UPDATE:
			return L"r+bN";
		case OpenMode::REPLACE:
			return L"w+bN";
	}
	return L"rbN";
}
}

char pathSeparator()
{
	return '\\';
}

FileInfo fileInfo(const std::string &path)
{
	const std::optional<std::wstring> wide = withoutTrailingSeparators(path);
	if (!wide)
	{
		return {};
	}
	if (wide->starts_with(L"\\\\.\\"))
	{
		return {isNamedPipe(*wide) ? FileKind::PIPE : FileKind::NONE, 0, 0};
	}
	const HANDLE handle = openForInformation(*wide);
	if (handle == INVALID_HANDLE_VALUE)
	{
		return {};
	}
	FileInfo info;
	BY_HANDLE_FILE_INFORMATION information{};
	if (::GetFileType(handle) != FILE_TYPE_DISK)
	{
		info.kind = FileKind::OTHER;
	}
	else if (::GetFileInformationByHandle(handle, &information))
	{
		const bool isDirectory = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
		info.kind = isDirectory ? FileKind::DIRECTORY : FileKind::FILE;
		info.size = isDirectory ? 0 : (std::int64_t{information.nFileSizeHigh} << 32) | std::int64_t{information.nFileSizeLow};
		info.modifiedNanoseconds = unixNanoseconds(information.ftLastWriteTime);
	}
	::CloseHandle(handle);
	return info;
}

bool isLink(const std::string &path)
{
	const std::optional<std::wstring> wide = withoutTrailingSeparators(path);
	const DWORD attributes = wide ? ::GetFileAttributesW(wide->c_str()) : INVALID_FILE_ATTRIBUTES;
	return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool listDirectory(const std::string &path, std::vector<std::string> &names)
{
	names.clear();
	const std::optional<std::wstring> wide = Windows::toWidePath(path + "\\*");
	if (path.empty() || !wide)
	{
		return false;
	}
	WIN32_FIND_DATAW entry{};
	const HANDLE search = ::FindFirstFileW(wide->c_str(), &entry);
	if (search == INVALID_HANDLE_VALUE)
	{
		// A root without entries has not even ".".
		return ::GetLastError() == ERROR_FILE_NOT_FOUND && fileInfo(path).kind == FileKind::DIRECTORY;
	}
	do
	{
		const std::wstring_view name = entry.cFileName;
		if (name != L"." && name != L"..")
		{
			names.push_back(Windows::toUtf8(name));
		}
	} while (::FindNextFileW(search, &entry));
	const bool isComplete = ::GetLastError() == ERROR_NO_MORE_FILES;
	::FindClose(search);
	if (!isComplete)
	{
		names.clear();
	}
	return isComplete;
}

bool makeDirectory(const std::string &path)
{
	const std::optional<std::wstring> wide = withoutTrailingSeparators(path);
	return wide && ::CreateDirectoryW(wide->c_str(), nullptr);
}

bool removeDirectory(const std::string &path)
{
	const std::optional<std::wstring> wide = withoutTrailingSeparators(path);
	return wide && ::RemoveDirectoryW(wide->c_str());
}

bool removeFile(const std::string &path)
{
	const std::optional<std::wstring> wide = Windows::toWidePath(path);
	if (!wide)
	{
		return false;
	}
	if (attempt([&] { return ::DeleteFileW(wide->c_str()) != 0; }, isHeldOpen))
	{
		return true;
	}
	// A link to a folder counts as a folder here; removing it leaves what it leads to.
	const DWORD attributes = ::GetFileAttributesW(wide->c_str());
	constexpr DWORD kFolderLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
	return attributes != INVALID_FILE_ATTRIBUTES && (attributes & kFolderLink) == kFolderLink && ::RemoveDirectoryW(wide->c_str());
}

bool renameReplacing(const std::string &from, const std::string &to)
{
	const std::optional<std::wstring> wideFrom = Windows::toWidePath(from);
	const std::optional<std::wstring> wideTo = Windows::toWidePath(to);
	return wideFrom && wideTo &&
	       attempt([&] { return ::MoveFileExW(wideFrom->c_str(), wideTo->c_str(), MOVEFILE_REPLACE_EXISTING) != 0; },
	           [&](DWORD error) { return isTargetHeldOpen(*wideTo, error); });
}

std::optional<std::string> currentDirectory()
{
	std::wstring path(::GetCurrentDirectoryW(0, nullptr), L'\0');
	const DWORD size = ::GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data());
	if (size == 0 || size >= path.size())
	{
		return std::nullopt;
	}
	path.resize(size);
	return Windows::toUtf8(path);
}

bool setCurrentDirectory(const std::string &path)
{
	const std::optional<std::wstring> wide = Windows::toWidePath(path);
	return wide && ::SetCurrentDirectoryW(wide->c_str());
}

std::FILE *openFile(const std::string &path, OpenMode mode)
{
	const std::optional<std::wstring> wide = Windows::toWidePath(path);
	if (!wide)
	{
		errno = EINVAL;
		return nullptr;
	}
	return ::_wfopen(wide->c_str(), modeText(mode));
}

bool seekFile(std::FILE *file, std::int64_t position)
{
	return ::_fseeki64(file, position, SEEK_SET) == 0;
}
}
