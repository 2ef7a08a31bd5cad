#include "MrvParser/Node/MrvContainerRelease.h"

#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOMStored.h"

#include <vector>

namespace Mrv
{
void emptyReachableContainers(const Value &root)
{
	// A container that has been emptied has no children any more, so each is taken apart once.
	std::vector<Value> pending{root};
	while (!pending.empty())
	{
		const Value value = Value(std::move(pending.back())).inPlace();
		pending.pop_back();
		if (value.isArray())
		{
			for (Value &item : value.array()->fItems)
			{
				pending.push_back(std::move(item));
			}
			value.array()->fItems.clear();
		}
		else if (value.isMap())
		{
			for (MapContainer::Entry &entry : value.map()->entries())
			{
				pending.push_back(std::move(entry.value));
			}
			value.map()->clear();
		}
	}
}
}
