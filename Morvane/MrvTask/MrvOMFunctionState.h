#pragma once

#include <cstddef>
#include <cstdint>

namespace Mrv
{
// The base of every frame of a resumable function: where it continues. A function adds the locals that must survive a
// suspension in a `LocalVariableState` of its own; what has to be undone when the frame is dropped, at whatever point,
// is a move-only member of it.
struct OMFunctionState
{
	static constexpr int32_t START = 0;
	static constexpr int32_t DONE = -1;

	int32_t fResumePoint = START;
};

// How the task treats a saved frame whose type it doesn't know.
struct SavedFrameType
{
	void (*destroy)(void *frame) noexcept;
	size_t size;
};
}
