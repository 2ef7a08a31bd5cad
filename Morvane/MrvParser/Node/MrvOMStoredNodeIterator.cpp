#include "MrvParser/Node/MrvOMStoredNodeIterator.h"

#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOMStored.h"

namespace Mrv
{
OMStoredNodeIterator::OMStoredNodeIterator(const std::shared_ptr<OMStored> &node) : fContainer(node->getValue())
{
	if (fContainer.isMap())
	{
		++fContainer.map()->fCursorCount;
	}
	skipErased();
}

OMStoredNodeIterator::~OMStoredNodeIterator()
{
	if (fContainer.isMap())
	{
		--fContainer.map()->fCursorCount;
	}
}

bool OMStoredNodeIterator::isEnd() const
{
	if (fContainer.isArray())
	{
		return fPosition >= fContainer.array()->size();
	}
	return !fContainer.isMap() || fPosition >= fContainer.map()->entries().size();
}

int64_t OMStoredNodeIterator::getIndex() const
{
	return fContainer.isArray() ? static_cast<int64_t>(fPosition) : -1;
}

std::string OMStoredNodeIterator::getKey() const
{
	if (isEnd())
	{
		return {};
	}
	return fContainer.isArray() ? std::to_string(fPosition) : std::string(fContainer.map()->entries()[fPosition].name.view());
}

void OMStoredNodeIterator::next()
{
	++fPosition;
	skipErased();
}

void OMStoredNodeIterator::skipErased()
{
	while (fContainer.isMap() && !isEnd() && fContainer.map()->entries()[fPosition].isErased())
	{
		++fPosition;
	}
}

std::shared_ptr<IOMNode> OMStoredNodeIterator::getValue()
{
	if (isEnd())
	{
		return nullptr;
	}
	return fContainer.isArray() ? fContainer.array()->nodeAt(fPosition) : fContainer.map()->nodeAt(fPosition);
}
}
