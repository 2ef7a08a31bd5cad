#pragma once

#include "MrvParser/Reference/MrvChildCursor.h"

#include <cstdint>
#include <vector>

namespace Mrv
{
// The containers that a link has been entered at, each with the levels that it had taken by then. They are kept alive, so that no other one
// can take their place.
class EnteredSet
{
public:
	// False when it is there already.
	bool insert(const ChildCursor &cursor, uint64_t count);

private:
	struct Entry
	{
		const void *container = nullptr; // null: free
		uint64_t count = 0;
		Value holder;
	};

	void grow();
	Entry &find(const void *container, uint64_t count);

	std::vector<Entry> fEntries; // open addressing with linear probing, a power of two
	size_t fSize = 0;
};
}
