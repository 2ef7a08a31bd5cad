#include "MrvParser/Reference/MrvEnteredSet.h"

namespace Mrv
{
bool EnteredSet::insert(const ChildCursor &cursor, uint64_t count)
{
	if ((fSize + 1) * 2 > fEntries.size())
	{
		grow();
	}
	Entry &entry = find(cursor.getContainerIdentity(), count);
	if (entry.container)
	{
		return false;
	}
	entry = {cursor.getContainerIdentity(), count, cursor.getHolder()};
	++fSize;
	return true;
}

EnteredSet::Entry &EnteredSet::find(const void *container, uint64_t count)
{
	const size_t mask = fEntries.size() - 1;
	size_t position = static_cast<size_t>(((reinterpret_cast<uintptr_t>(container) >> 4) + count) * 0x9e3779b97f4a7c15U >> 20) & mask;
	while (fEntries[position].container && (fEntries[position].container != container || fEntries[position].count != count))
	{
		position = (position + 1) & mask;
	}
	return fEntries[position];
}

void EnteredSet::grow()
{
	std::vector<Entry> entries(fEntries.empty() ? 16 : fEntries.size() * 2);
	entries.swap(fEntries);
	for (Entry &entry : entries)
	{
		if (entry.container)
		{
			find(entry.container, entry.count) = std::move(entry);
		}
	}
}
}
