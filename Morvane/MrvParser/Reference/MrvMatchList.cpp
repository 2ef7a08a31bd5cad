#include "MrvParser/Reference/MrvMatchList.h"

namespace Mrv
{
void MatchList::add(const std::shared_ptr<IOMNode> &omNode, std::string_view key)
{
	if ((fNodes.size() + 1) * 2 > fSlots.size())
	{
		grow();
	}
	uint32_t &slot = fSlots[findSlot(omNode.get())];
	if (slot == FREE)
	{
		slot = static_cast<uint32_t>(fNodes.size());
		fNodes.push_back(omNode);
		++fCount;
		if (needsKeys())
		{
			fKeys.emplace_back(key);
		}
	}
}

void MatchList::addOnce(const std::shared_ptr<IOMNode> &omNode, std::string_view key)
{
	++fCount;
	if (needsNodes())
	{
		fNodes.push_back(omNode);
	}
	else if (needsKeys())
	{
		fKeys.emplace_back(key);
	}
}

void MatchList::clear()
{
	fCount = 0;
	fFirst = fNodes.size();
	fKeys.clear();
}

std::vector<std::shared_ptr<IOMNode>> MatchList::getNodes() const
{
	return {fNodes.begin() + static_cast<std::ptrdiff_t>(fFirst), fNodes.end()};
}

size_t MatchList::findSlot(const IOMNode *omNode) const
{
	const size_t mask = fSlots.size() - 1;
	// Nodes lie at multiples of 16: multiplying spreads what differs.
	size_t slot = static_cast<size_t>((reinterpret_cast<uintptr_t>(omNode) >> 4) * 0x9e3779b97f4a7c15U >> 20) & mask;
	while (fSlots[slot] != FREE && fNodes[fSlots[slot]].get() != omNode)
	{
		slot = (slot + 1) & mask;
	}
	return slot;
}

void MatchList::grow()
{
	size_t size = fSlots.empty() ? 16 : fSlots.size();
	while (size < (fNodes.size() + 1) * 2)
	{
		size *= 2;
	}
	fSlots.assign(size, FREE);
	for (size_t position = 0; position < fNodes.size(); ++position)
	{
		fSlots[findSlot(fNodes[position].get())] = static_cast<uint32_t>(position);
	}
}
}
