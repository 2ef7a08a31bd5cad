#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

namespace Mrv
{
// As `dynamic_cast`, in a fraction of its time once the type has been met: objects here have a dozen bases, and the search through them
// compares names. What it finds depends on nothing but the object's virtual table, which stands first in each object that has one (as
// the C++ ABI that gcc, clang and mingw share lays them out), so the distance is remembered for it. For one thread.
template <class To, class From>
To *castTo(From *object)
{
	static_assert(std::is_polymorphic_v<From>);
	if constexpr (std::is_convertible_v<From *, To *>)
	{
		return object;
	}
	else
	{
		constexpr std::ptrdiff_t NONE = std::numeric_limits<std::ptrdiff_t>::min();
		struct Entry
		{
			const void *virtualTable;
			std::ptrdiff_t distance;
		};
		constexpr std::size_t PROBES = 4;
		static constinit std::array<Entry, 32> sEntries{};

		if (!object)
		{
			return nullptr;
		}
		using Byte = std::conditional_t<std::is_const_v<From>, const char, char>;
		auto *const bytes = reinterpret_cast<Byte *>(object);
		const void *virtualTable = nullptr;
		std::memcpy(&virtualTable, static_cast<const void *>(object), sizeof virtualTable);
		const std::size_t slot = reinterpret_cast<std::uintptr_t>(virtualTable) / 16;
		Entry *entry = &sEntries[slot % sEntries.size()]; // where it is kept if all places are taken
		for (std::size_t probe = 0; probe < PROBES; ++probe)
		{
			Entry &candidate = sEntries[(slot + probe) % sEntries.size()];
			if (candidate.virtualTable == virtualTable)
			{
				return candidate.distance == NONE ? nullptr : reinterpret_cast<To *>(bytes + candidate.distance);
			}
			if (!candidate.virtualTable)
			{
				entry = &candidate;
				break;
			}
		}
		To *const found = dynamic_cast<To *>(object);
		*entry = {virtualTable, found ? reinterpret_cast<const char *>(found) - bytes : NONE};
		return found;
	}
}

// The same for shared objects, as `std::dynamic_pointer_cast`.
template <class To, class From>
std::shared_ptr<To> sharedCastTo(const std::shared_ptr<From> &object)
{
	To *const found = castTo<To>(object.get());
	return found ? std::shared_ptr<To>(object, found) : nullptr;
}
}
