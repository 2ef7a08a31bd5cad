#pragma once

#include "MrvParser/Node/MrvValue.h"

#include <vector>

namespace Mrv
{
// The elements of an Array. Values that were assigned from each other share one container: that is the whole of the
// language's reference semantics.
class ArrayContainer final : public HeapObject
{
public:
	// An index more than this many elements beyond the end does not grow an array: it is refused.
	static constexpr size_t MAX_GROWTH = size_t{1} << 20;

	ArrayContainer() noexcept : HeapObject(Children::SOME) {}

	size_t size() const noexcept { return fItems.size(); }

	// Makes sure that an element with this index exists; what is missing becomes Undefined. False when the index lies too far
	// beyond the end or memory is short; nothing has changed then.
	bool growTo(size_t index) noexcept;

	// The node of an element; from then on the element is a CELL that shares it. The index must be below the size.
	const std::shared_ptr<IOMNode> &nodeAt(size_t index);

	std::vector<Value> fItems;
	// The node whose children the elements exclusively are, when it is a data structure; not owned.
	OMStored *fDataStructureOwner = nullptr;
	// No element holds code at any depth, so that evaluating a literal is copying it. Told by the parser, which alone
	// builds containers with code in them.
	bool fIsData = false;
};

inline ArrayContainer *Value::array() const noexcept
{
	return static_cast<ArrayContainer *>(object());
}
}
