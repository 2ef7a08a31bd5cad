#include "MrvParser/Reference/MrvChildCursor.h"

#include "MrvParser/Node/MrvOMStored.h"

#include <charconv>

namespace Mrv
{
ChildCursor::ChildCursor(const std::shared_ptr<IOMNode> &omNode)
{
	const auto stored = omNode->getOMStoredPtr();
	if (!stored || stored->getValue().isNode())
	{
		fNode = stored ? stored->getValue().node() : omNode;
		fIterator = fNode->getNodeIterator();
		return;
	}
	fContainer = stored->getValue();
	enter();
}

ChildCursor::ChildCursor(const Value &container) : fContainer(container)
{
	enter();
}

ChildCursor::ChildCursor(ChildCursor &&other) noexcept
    : fContainer(std::move(other.fContainer)),
      fPosition(other.fPosition),
      fNode(std::move(other.fNode)),
      fIterator(std::move(other.fIterator))
{
}

ChildCursor &ChildCursor::operator=(ChildCursor &&other) noexcept
{
	if (this != &other)
	{
		leave();
		fContainer = std::move(other.fContainer);
		fPosition = other.fPosition;
		fNode = std::move(other.fNode);
		fIterator = std::move(other.fIterator);
	}
	return *this;
}

// While a map has cursors its entries keep their positions.
void ChildCursor::enter()
{
	if (fContainer.isMap())
	{
		++fContainer.map()->fCursorCount;
		skipErased();
	}
}

void ChildCursor::leave() noexcept
{
	if (fContainer.isMap())
	{
		--fContainer.map()->fCursorCount;
	}
}

bool ChildCursor::isEnd() const
{
	if (fContainer.isMap())
	{
		return fPosition >= fContainer.map()->entries().size();
	}
	if (fContainer.isArray())
	{
		return fPosition >= fContainer.array()->size();
	}
	return !fIterator || fIterator->isEnd();
}

void ChildCursor::next()
{
	if (fIterator)
	{
		fIterator->next();
		return;
	}
	++fPosition;
	skipErased();
}

void ChildCursor::skipErased()
{
	if (fContainer.isMap())
	{
		const auto &entries = fContainer.map()->entries();
		while (fPosition < entries.size() && entries[fPosition].isErased())
		{
			++fPosition;
		}
	}
}

std::string_view ChildCursor::getKey(KeyRoom &room) const
{
	if (fContainer.isMap())
	{
		return fContainer.map()->entries()[fPosition].name.view();
	}
	if (fContainer.isArray())
	{
		const auto [end, error] = std::to_chars(room.digits.data(), room.digits.data() + room.digits.size(), fPosition);
		return {room.digits.data(), static_cast<size_t>(end - room.digits.data())};
	}
	room.text = fIterator->getKey();
	return room.text;
}

int64_t ChildCursor::getIndex() const
{
	if (fContainer.isArray())
	{
		return static_cast<int64_t>(fPosition);
	}
	return fIterator ? fIterator->getIndex() : -1;
}

const Value *ChildCursor::getPlace() const
{
	if (fContainer.isMap())
	{
		const MapContainer::Entry &entry = fContainer.map()->entries()[fPosition];
		return entry.isErased() ? nullptr : &entry.value;
	}
	return fContainer.isArray() ? &fContainer.array()->fItems[fPosition] : nullptr;
}

OMType ChildCursor::getType() const
{
	if (const Value *place = getPlace())
	{
		return place->type();
	}
	return fIterator ? fNode->getType(fIterator->getKey()) : OMType::Undefined;
}

std::shared_ptr<IOMNode> ChildCursor::getNode() const
{
	if (isEnd())
	{
		return nullptr;
	}
	if (fIterator)
	{
		return fIterator->getValue();
	}
	if (!getPlace())
	{
		return nullptr;
	}
	return fContainer.isMap() ? fContainer.map()->nodeAt(fPosition) : fContainer.array()->nodeAt(fPosition);
}

bool ChildCursor::isWritable() const
{
	return !fContainer.isMap() || fContainer.map()->isWritable(fContainer.map()->entries()[fPosition].name.view());
}

const void *ChildCursor::getContainerIdentity() const
{
	if (fContainer.isMap())
	{
		return fContainer.map();
	}
	return fContainer.isArray() ? static_cast<const void *>(fContainer.array()) : fNode.get();
}
}
