#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// 64-bit FNV-1a: the hash of all tables that are keyed by text, by an id or by a pointer. It is part of what scripts can see.
namespace Mrv
{
constexpr std::uint64_t kFnvOffsetBasis = 0xcbf29ce484222325;
constexpr std::uint64_t kFnvPrime = 0x100000001b3;

// `hash` after one more byte.
constexpr std::uint64_t fnvAppendByte(std::uint64_t hash, std::uint8_t byte)
{
	return (hash ^ byte) * kFnvPrime;
}

// The hash of `bytes`; with `hash`, the hash of what came before and `bytes`.
constexpr std::uint64_t fnvHash(std::string_view bytes, std::uint64_t hash = kFnvOffsetBasis)
{
	for (const char byte : bytes)
	{
		hash = fnvAppendByte(hash, static_cast<std::uint8_t>(byte));
	}
	return hash;
}

// The hash of the eight bytes of `value`, least significant first.
constexpr std::uint64_t fnvHash(std::uint64_t value, std::uint64_t hash = kFnvOffsetBasis)
{
	for (int byte = 0; byte < 8; ++byte)
	{
		hash = fnvAppendByte(hash, static_cast<std::uint8_t>(value >> (8 * byte)));
	}
	return hash;
}

// One more hash taken into a combined one, in the manner of the bytes above.
constexpr std::uint64_t fnvCombine(std::uint64_t hash, std::uint64_t part)
{
	return (hash ^ part) * kFnvPrime;
}

// Hashers for the standard library's tables. The one for strings takes views as well, so that a look-up needs no copy of the key.
struct StringHash
{
	using is_transparent = void;
	constexpr std::size_t operator()(std::string_view text) const { return fnvHash(text); }
};

struct IntegerHash
{
	constexpr std::size_t operator()(std::uint64_t value) const { return fnvHash(value); }
};

struct PointerHash
{
	std::size_t operator()(const void *pointer) const { return fnvHash(std::uint64_t{reinterpret_cast<std::uintptr_t>(pointer)}); }
};
}
