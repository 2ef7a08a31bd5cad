#pragma once

#include <cstddef>

namespace Mrv::Test
{
// The bytes of memory that this process occupies now; 0 when the system doesn't tell.
std::size_t residentBytes();

// The descriptors or handles that this process has open; 0 when the system doesn't tell.
std::size_t openHandles();

// Whether what is freed is free: the sanitizers hold it back.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool IS_MEMORY_EXACT = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool IS_MEMORY_EXACT = false;
#else
constexpr bool IS_MEMORY_EXACT = true;
#endif
#else
constexpr bool IS_MEMORY_EXACT = true;
#endif
}
