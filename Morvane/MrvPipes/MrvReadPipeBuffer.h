#pragma once

#include "MrvPipes/MrvPipePacket.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace Mrv
{
// One string on its way in, put together from the packets of one writing process.
class ReadPipeBuffer
{
public:
	enum class Outcome
	{
		MORE,     // the packet was taken, the string goes on
		FINISHED, // the packet was the last one
		MISFIT,   // the packet belongs to another string, or one is missing before it; nothing was taken
		TOO_MUCH, // more than the string's length; it can't become whole any more
	};

	// `totalLength` is the writer's word: memory grows with what arrives, never by it.
	explicit ReadPipeBuffer(std::uint64_t totalLength) : fTotalLength(totalLength) {}

	// `text` is the packet's payload without the length.
	Outcome append(const PipePacketHeader &header, std::string_view text);
	// Why the last packet was a misfit.
	const char *getComplaint() const { return fComplaint; }
	std::string takeText() { return std::move(fText); }

	// Of the last packet that was taken, on the steady clock.
	std::int64_t lastPacketTime = 0;
	// When to look again whether the writer lives, and what was found.
	std::int64_t nextLivenessCheck = 0;
	bool isWriterAlive = true;

private:
	static constexpr std::uint64_t UNSET = std::numeric_limits<std::uint64_t>::max();

	std::uint64_t fStringSequence = UNSET;
	std::uint64_t fTotalLength;
	std::uint64_t fNextPacketSequence = 0;
	std::string fText;
	const char *fComplaint = "";
};
}
