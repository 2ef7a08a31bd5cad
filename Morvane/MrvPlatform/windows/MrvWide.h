#pragma once

#include <optional>
#include <string>
#include <string_view>

#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

// The edge between the UTF-8 inside and the wide text of the system's functions. Included by this folder alone.
namespace Mrv::Platform::Windows
{
// Wide text of valid UTF-8; none when it isn't valid or holds a NUL.
std::optional<std::wstring> toWide(std::string_view text);

// UTF-8 of wide text; what no valid text can hold (half a pair) becomes U+FFFD.
std::string toUtf8(std::wstring_view text);

// A path for the system's functions: with `\` throughout, made absolute and marked so that its length isn't limited when it is long.
// None for an empty path and for one that isn't possible.
std::optional<std::wstring> toWidePath(const std::string &path);
}
