#pragma once

#include "MrvPlatform/MrvMessagePipe.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Mrv
{
// What stands in front of each packet, least significant byte first. A string is sent as packets 0, 1, 2 ... with nothing of the same
// writer between; the payload of packet 0 begins with the length of the whole string as a u64.
struct PipePacketHeader
{
	std::uint64_t stringSequence = 0; // from 1 in each writer, one more for each string
	std::uint64_t packetSequence = 0;
	std::uint32_t processId = 0; // the writer's
	std::uint16_t payloadSize = 0;
	std::uint16_t reserved = 0; // 0 from whom we know; not looked at
};
static_assert(sizeof(PipePacketHeader) == 24 && std::endian::native == std::endian::little, "the header is copied as it lies in memory");

constexpr std::size_t PIPE_HEADER_SIZE = sizeof(PipePacketHeader);
constexpr std::size_t PIPE_PACKET_SIZE = Platform::LARGEST_PIPE_MESSAGE;
constexpr std::size_t PIPE_PAYLOAD_SIZE = PIPE_PACKET_SIZE - PIPE_HEADER_SIZE;
constexpr std::size_t PIPE_LENGTH_SIZE = sizeof(std::uint64_t);

// `bytes` must hold that many.
template <typename Number>
Number readFromBytes(std::string_view bytes)
{
	Number value{};
	std::memcpy(&value, bytes.data(), sizeof value);
	return value;
}
}
