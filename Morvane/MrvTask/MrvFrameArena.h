#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace Mrv
{
// Room for the frames of one task's call chain, a stack in chunks that never move. A function takes room on entry, whether
// it will ever need it or not, so that suspending it later cannot fail.
class FrameArena
{
public:
	struct Mark
	{
		size_t chunk;
		size_t used;
	};

	// Room for `size` bytes (aligned as max_align_t), or null when memory is short. `mark` is what `release` wants back.
	void *take(size_t size, Mark &mark) noexcept
	{
		mark = fTop;
		const size_t rounded = (size + ALIGNMENT - 1) & ~(ALIGNMENT - 1);
		if (rounded > fLimit - fTop.used)
		{
			return takeFromNextChunk(rounded);
		}
		void *room = fBase + fTop.used;
		fTop.used += rounded;
		return room;
	}
	void release(const Mark &mark) noexcept
	{
		if (mark.chunk != fTop.chunk)
		{
			returnToChunk(mark.chunk);
		}
		fTop = mark;
	}

private:
	static constexpr size_t ALIGNMENT = alignof(std::max_align_t);
	static constexpr size_t FIRST_CHUNK = 4096;

	struct Chunk
	{
		std::unique_ptr<std::byte[]> bytes;
		size_t size;
	};

	void *takeFromNextChunk(size_t size) noexcept;
	void returnToChunk(size_t chunk) noexcept;

	std::byte *fBase = nullptr;
	size_t fLimit = 0;
	Mark fTop{0, 0};
	std::vector<Chunk> fChunks;
};
}
