#pragma once

#include "MrvParser/Node/MrvValue.h"

#include <unordered_map>
#include <vector>

namespace Mrv
{
// The name of an attribute or variable with its FNV-1a hash, computed once.
struct Name
{
	Name() = default;
	explicit Name(std::string_view text);

	std::string_view view() const noexcept { return text.text(); }
	bool operator==(const Name &other) const noexcept
	{
		return hash == other.hash && text.kind() == other.text.kind() &&
		       (text.hasSameBits(other.text) || (text.kind() == Value::Kind::STRING && view() == other.view()));
	}

	Value text; // always a string
	uint64_t hash = 0;
};

// The attributes of a Map: an insertion-ordered hash table. Entries stand in the order of first insertion; overwriting keeps
// the place. Small maps are searched in a line, larger ones by an open-addressing index of positions with linear probing.
class MapContainer final : public HeapObject
{
public:
	static constexpr uint8_t PERMISSION_WRITE = 2;
	static constexpr uint8_t DEFAULT_PERMISSIONS = 7;
	static constexpr size_t NOT_FOUND = static_cast<size_t>(-1);

	struct Entry
	{
		Name name; // an erased entry has the kind ABSENT as text, until the next compaction
		Value value;

		bool isErased() const noexcept { return name.text.isAbsent(); }
	};

	MapContainer() noexcept : HeapObject(Children::SOME) {}

	// Number of attributes.
	size_t size() const noexcept { return fEntries.size() - fErasedCount; }

	// The position of a name among the entries, or NOT_FOUND. Positions hold until something is erased.
	size_t find(const Name &name) const noexcept;
	size_t find(std::string_view name) const { return find(Name(name)); }
	// The same, with a guess that is tried first: what `find` gave for this name last time, in any map.
	size_t find(const Name &name, uint32_t &guess) const noexcept
	{
		if (guess < fEntries.size() && fEntries[guess].name == name)
		{
			return guess;
		}
		const size_t position = find(name);
		guess = static_cast<uint32_t>(position);
		return position;
	}

	Value *get(const Name &name) noexcept
	{
		const size_t position = find(name);
		return position == NOT_FOUND ? nullptr : &fEntries[position].value;
	}
	Value *get(std::string_view name) { return get(Name(name)); }

	// Finds the place of a name, making one that holds Undefined if there is none. Memory short: throws std::bad_alloc.
	Value &getOrCreate(const Name &name);
	// Stores a value under a name.
	void set(const Name &name, Value value) { getOrCreate(name) = std::move(value); }

	// True also when the name isn't there.
	bool erase(const Name &name);
	void clear() noexcept;

	// Entries in order of insertion, erased ones included: look at `isErased`.
	std::vector<Entry> &entries() noexcept { return fEntries; }
	const std::vector<Entry> &entries() const noexcept { return fEntries; }
	// The keys in byte order.
	std::vector<Name> sortedNames() const;

	// The node of an entry; from then on the place is a CELL that shares it.
	const std::shared_ptr<IOMNode> &nodeAt(size_t position);

	// Permission bits of an attribute; 7 for one that has no entry of its own.
	uint8_t getPermissions(std::string_view name) const;
	void setPermissions(std::string_view name, uint8_t permissions);
	bool isWritable(std::string_view name) const { return !fPermissions || (getPermissions(name) & PERMISSION_WRITE) != 0; }

	// The node whose children the attributes exclusively are, when it is a data structure; not owned.
	OMStored *fDataStructureOwner = nullptr;
	// No attribute holds code at any depth (see ArrayContainer).
	bool fIsData = false;
	// Kept apart from the attributes, since hardly any map has them.
	std::unique_ptr<std::unordered_map<std::string, uint8_t>> fPermissions;

private:
	static constexpr size_t LINEAR_LIMIT = 8;
	static constexpr uint32_t FREE = static_cast<uint32_t>(-1);

	void rebuildIndex(size_t minimumCapacity);
	void compact();

	std::vector<Entry> fEntries;
	std::vector<uint32_t> fIndex; // empty while there are at most LINEAR_LIMIT entries; its size is a power of two
	size_t fErasedCount = 0;
};

inline MapContainer *Value::map() const noexcept
{
	return static_cast<MapContainer *>(object());
}
}
