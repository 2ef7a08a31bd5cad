#pragma once

#include <cstddef>
#include <cstdint>

// How much of the native stack is left: what everything recursive asks before it goes deeper.
namespace Mrv::Platform
{
// The stack of one thread, from its lowest usable address up to its base.
struct StackBounds
{
	std::uintptr_t limit = 0;
	std::uintptr_t base = 0;
};

// Asks the system about the stack that the caller runs on. Slow; remembered for the thread by `stackLimit`.
StackBounds findStackBounds();

namespace Detail
{
extern constinit thread_local StackBounds tStackBounds;
std::uintptr_t stackBytesLeftAfresh(std::uintptr_t here);
}

// Bytes between the caller's frame and the end of its stack. A few instructions; the system is asked once a thread, and again when
// the thread has changed to another stack (a fiber). 0 when the system can't tell.
inline std::size_t stackBytesLeft()
{
	const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
	const StackBounds &bounds = Detail::tStackBounds;
	if (here - bounds.limit < bounds.base - bounds.limit) [[likely]]
	{
		return here - bounds.limit;
	}
	return Detail::stackBytesLeftAfresh(here);
}

// The present stack, for code that compares addresses itself; both 0 when the system can't tell.
inline const StackBounds &stackBounds()
{
	stackBytesLeft();
	return Detail::tStackBounds;
}

// Its lowest usable address.
inline std::uintptr_t stackLimit()
{
	return stackBounds().limit;
}
}
