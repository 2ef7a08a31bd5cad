#include "MrvTask/MrvFrameArena.h"

#include <new>

namespace Mrv
{
namespace
{
constexpr size_t LARGE_CHUNK = 64 * 1024; // of every chunk but the first; a multiple of the largest frame
}

void *FrameArena::takeFromNextChunk(size_t size) noexcept
{
	const size_t next = fChunks.empty() ? 0 : fTop.chunk + 1;
	if (next == fChunks.size())
	{
		try
		{
			const size_t chunkSize = next == 0 ? FIRST_CHUNK : LARGE_CHUNK;
			fChunks.push_back({std::make_unique<std::byte[]>(chunkSize), chunkSize});
		}
		catch (const std::bad_alloc &)
		{
			return nullptr;
		}
	}
	fBase = fChunks[next].bytes.get();
	fLimit = fChunks[next].size;
	fTop = {next, size};
	return fBase;
}

void FrameArena::returnToChunk(size_t chunk) noexcept
{
	fBase = fChunks[chunk].bytes.get();
	fLimit = fChunks[chunk].size;
}
}
