#pragma once

#include <cstddef>

namespace Mrv::Test
{
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool IS_SANITIZED = true;
#else
constexpr bool IS_SANITIZED = false;
#endif
#else
constexpr bool IS_SANITIZED = false;
#endif

// What a Windows host gives its threads; sanitizers need several times as much for everything.
constexpr std::size_t SMALL_STACK = (IS_SANITIZED ? 8 : 1) * std::size_t{1024} * 1024;

// Runs a function on a thread that has SMALL_STACK bytes of native stack, and waits for its end. A failure to make the thread fails
// the test.
void runOnSmallStack(void (*function)(const void *argument), const void *argument);
}
