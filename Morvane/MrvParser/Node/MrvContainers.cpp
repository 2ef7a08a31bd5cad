// The two containers behind Array and Map. The index of a map holds positions into the entries; an erased entry keeps its
// place (and its slot in the index) until a quarter of the entries is erased, then everything is laid out anew, unless somebody is walking
// over the map at that moment.
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvMapContainer.h"

#include "MrvObject/MrvGUIDClass.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Node/MrvOMStored.h"

#include <algorithm>
#include <new>

namespace Mrv
{
namespace
{
const std::shared_ptr<IOMNode> &nodeOfPlace(Value &place)
{
	if (!place.isCell() && !place.isNode())
	{
		place = Value::cell(place.toNode());
	}
	return place.node();
}

// The slot at which the search for a hash begins. Names come from other people's texts, and it is easy to find many whose hashes end alike:
// so the slot is made of all bits of the hash, and differently in each process.
size_t firstSlot(uint64_t hash, size_t mask) noexcept
{
	static const uint64_t sFactor = GUIDClass::randomBits() | 1;
	return ((hash * sFactor) >> 32) & mask;
}
}

bool ArrayContainer::growTo(size_t index) noexcept
{
	if (index < fItems.size())
	{
		return true;
	}
	if (index - fItems.size() >= MAX_GROWTH)
	{
		return false;
	}
	try
	{
		if (index >= fItems.capacity())
		{
			fItems.reserve(std::max(index + 1, fItems.capacity() * 2));
		}
		fItems.resize(index + 1);
	}
	catch (const std::exception &)
	{
		return false;
	}
	return true;
}

const std::shared_ptr<IOMNode> &ArrayContainer::nodeAt(size_t index)
{
	return nodeOfPlace(fItems[index]);
}

Name::Name(std::string_view name) : text(Value::string(name)), hash(fnvHash(name)) {}

size_t MapContainer::find(const Name &name) const noexcept
{
	if (fIndex.empty())
	{
		for (size_t position = 0; position < fEntries.size(); ++position)
		{
			if (fEntries[position].name == name)
			{
				return position;
			}
		}
		return NOT_FOUND;
	}
	const size_t mask = fIndex.size() - 1;
	for (size_t slot = firstSlot(name.hash, mask); fIndex[slot] != FREE; slot = (slot + 1) & mask)
	{
		if (fEntries[fIndex[slot]].name == name)
		{
			return fIndex[slot];
		}
	}
	return NOT_FOUND;
}

Value &MapContainer::getOrCreate(const Name &name)
{
	const size_t found = find(name);
	if (found != NOT_FOUND)
	{
		return fEntries[found].value;
	}
	if (fErasedCount > LINEAR_LIMIT && fErasedCount * 4 > fEntries.size() && fCursorCount == 0)
	{
		compact();
	}
	const size_t position = fEntries.size();
	fEntries.push_back({name, Value()});
	if (fEntries.size() > LINEAR_LIMIT)
	{
		if (fEntries.size() * 3 > fIndex.size() * 2)
		{
			rebuildIndex(fEntries.size() * 2);
		}
		else
		{
			const size_t mask = fIndex.size() - 1;
			size_t slot = firstSlot(name.hash, mask);
			while (fIndex[slot] != FREE)
			{
				slot = (slot + 1) & mask;
			}
			fIndex[slot] = static_cast<uint32_t>(position);
		}
	}
	return fEntries[position].value;
}

bool MapContainer::erase(const Name &name)
{
	const size_t position = find(name);
	if (position != NOT_FOUND)
	{
		fEntries[position].name.text = Value::absent();
		fEntries[position].value = Value();
		++fErasedCount;
	}
	return true;
}

void MapContainer::clear() noexcept
{
	fEntries.clear();
	fIndex.clear();
	fErasedCount = 0;
}

void MapContainer::compact()
{
	std::erase_if(fEntries, [](const Entry &entry) { return entry.isErased(); });
	fErasedCount = 0;
	if (!fIndex.empty())
	{
		rebuildIndex(fEntries.size() * 2);
	}
}

void MapContainer::rebuildIndex(size_t minimumCapacity)
{
	size_t capacity = 32;
	while (capacity < minimumCapacity)
	{
		capacity *= 2;
	}
	fIndex.assign(capacity, FREE);
	for (size_t position = 0; position < fEntries.size(); ++position)
	{
		size_t slot = firstSlot(fEntries[position].name.hash, capacity - 1);
		while (fIndex[slot] != FREE)
		{
			slot = (slot + 1) & (capacity - 1);
		}
		fIndex[slot] = static_cast<uint32_t>(position);
	}
}

std::vector<Name> MapContainer::sortedNames() const
{
	std::vector<Name> names;
	names.reserve(size());
	for (const Entry &entry : fEntries)
	{
		if (!entry.isErased())
		{
			names.push_back(entry.name);
		}
	}
	std::sort(names.begin(), names.end(), [](const Name &a, const Name &b) { return a.view() < b.view(); });
	return names;
}

const std::shared_ptr<IOMNode> &MapContainer::nodeAt(size_t position)
{
	return nodeOfPlace(fEntries[position].value);
}

uint8_t MapContainer::getPermissions(std::string_view name) const
{
	if (fPermissions)
	{
		const auto found = fPermissions->find(std::string(name));
		if (found != fPermissions->end())
		{
			return found->second;
		}
	}
	return DEFAULT_PERMISSIONS;
}

void MapContainer::setPermissions(std::string_view name, uint8_t permissions)
{
	if (permissions == DEFAULT_PERMISSIONS)
	{
		if (fPermissions)
		{
			fPermissions->erase(std::string(name));
		}
		return;
	}
	if (!fPermissions)
	{
		fPermissions = std::make_unique<std::unordered_map<std::string, uint8_t>>();
	}
	(*fPermissions)[std::string(name)] = permissions;
}
}
