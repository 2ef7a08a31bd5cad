#pragma once

#include "MrvParser/Node/MrvHeapObject.h"

#include <memory>

namespace Mrv
{
class IOMNode;

// Carries a node inside a value.
class NodeBox final : public HeapObject
{
public:
	explicit NodeBox(std::shared_ptr<IOMNode> node) noexcept : HeapObject(Children::SOME), fNode(std::move(node)) {}
	const std::shared_ptr<IOMNode> fNode;
};
}
