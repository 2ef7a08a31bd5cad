#include "MrvPlatform/windows/MrvWide.h"

#include <algorithm>
#include <limits>

namespace Mrv::Platform::Windows
{
namespace
{
// Functions that take a path refuse one longer than this, unless the path has the prefix that switches all interpretation off.
// A folder may have 12 characters less than a file.
constexpr std::size_t kLongestPlainPath = MAX_PATH - 13;
}

std::optional<std::wstring> toWide(std::string_view text)
{
	if (text.find('\0') != std::string_view::npos || text.size() > std::size_t{std::numeric_limits<int>::max()})
	{
		return std::nullopt;
	}
	if (text.empty())
	{
		return std::wstring();
	}
	const int size = static_cast<int>(text.size());
	const int wideSize = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
	if (wideSize <= 0)
	{
		return std::nullopt;
	}
	std::wstring wide(static_cast<std::size_t>(wideSize), L'\0');
	::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), wideSize);
	return wide;
}

std::string toUtf8(std::wstring_view text)
{
	if (text.empty() || text.size() > std::size_t{std::numeric_limits<int>::max()})
	{
		return {};
	}
	const int wideSize = static_cast<int>(text.size());
	const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), wideSize, nullptr, 0, nullptr, nullptr);
	std::string utf8(static_cast<std::size_t>(std::max(size, 0)), '\0');
	::WideCharToMultiByte(CP_UTF8, 0, text.data(), wideSize, utf8.data(), size, nullptr, nullptr);
	return utf8;
}

std::optional<std::wstring> toWidePath(const std::string &path)
{
	std::optional<std::wstring> wide = path.empty() ? std::nullopt : toWide(path);
	if (!wide)
	{
		return std::nullopt;
	}
	std::replace(wide->begin(), wide->end(), L'/', L'\\');
	if (wide->size() < kLongestPlainPath || wide->starts_with(L"\\\\?\\"))
	{
		return wide;
	}
	const DWORD size = ::GetFullPathNameW(wide->c_str(), 0, nullptr, nullptr);
	std::wstring full(size, L'\0');
	const DWORD written = ::GetFullPathNameW(wide->c_str(), size, full.data(), nullptr);
	if (written == 0 || written >= size)
	{
		return std::nullopt;
	}
	full.resize(written);
	return full.starts_with(L"\\\\") ? L"\\\\?\\UNC\\" + full.substr(2) : L"\\\\?\\" + full;
}
}
