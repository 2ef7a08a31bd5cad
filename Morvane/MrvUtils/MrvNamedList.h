#pragma once

#include "MrvObject/MrvHash.h"

#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace Mrv
{
// Items in the order in which they were added, found by their names in constant time. An item is made from its name, and has it as
// the member `name`, which must not be changed. Items stay where they are until they are erased.
template <typename Item>
class NamedList
{
public:
	NamedList() = default;
	NamedList(const NamedList &other) : fItems(other.fItems) { index(); }
	NamedList(NamedList &&other) noexcept = default;
	NamedList &operator=(NamedList other) noexcept
	{
		fItems.swap(other.fItems);
		fIndex.swap(other.fIndex);
		return *this;
	}
	~NamedList() = default;

	// Null when there is none.
	const Item *find(std::string_view name) const
	{
		const auto found = fIndex.find(name);
		return found == fIndex.end() ? nullptr : &*found->second;
	}
	Item *find(std::string_view name) { return const_cast<Item *>(std::as_const(*this).find(name)); }

	// The item of that name, added at the end when there is none.
	Item &findOrAdd(std::string_view name)
	{
		if (Item *const item = find(name))
		{
			return *item;
		}
		fItems.emplace_back(std::string(name));
		const auto added = std::prev(fItems.end());
		fIndex.emplace(added->name, added);
		return *added;
	}

	// False when there is none.
	bool erase(std::string_view name)
	{
		const auto found = fIndex.find(name);
		if (found == fIndex.end())
		{
			return false;
		}
		const auto item = found->second;
		fIndex.erase(found);
		fItems.erase(item);
		return true;
	}

	std::size_t size() const { return fItems.size(); }
	auto begin() const { return fItems.begin(); }
	auto end() const { return fItems.end(); }

private:
	void index()
	{
		for (auto item = fItems.begin(); item != fItems.end(); ++item)
		{
			fIndex.emplace(item->name, item);
		}
	}

	std::list<Item> fItems;
	// The keys are the names in the items.
	std::unordered_map<std::string_view, typename std::list<Item>::iterator, StringHash> fIndex;
};
}
