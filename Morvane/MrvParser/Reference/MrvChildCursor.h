#pragma once

#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Node/MrvIOMNodeIterator.h"

#include <array>
#include <string>
#include <string_view>

namespace Mrv
{
// A walk's place among the children of a node. The children of a stored container are looked at where they lie, and none becomes a node
// before somebody asks for it; any other node is asked through its iterator. It survives any change of the container, and keeps it alive.
class ChildCursor
{
public:
	// Where a key is put together that isn't stored as text: an index, or the key of an iterator.
	struct KeyRoom
	{
		std::array<char, 20> digits;
		std::string text;
	};

	// Without children.
	ChildCursor() = default;
	explicit ChildCursor(const std::shared_ptr<IOMNode> &omNode);
	// Of a container; other values have no children.
	explicit ChildCursor(const Value &container);
	ChildCursor(ChildCursor &&other) noexcept;
	ChildCursor &operator=(ChildCursor &&other) noexcept;
	~ChildCursor() { leave(); }

	bool isEnd() const;
	void next();

	// All of these only while it is not at its end.
	// The attribute's name, or the index in decimal digits; valid as long as the room and until anything changes.
	std::string_view getKey(KeyRoom &room) const;
	// -1 for what is no element.
	int64_t getIndex() const;
	OMType getType() const;
	// The child as a node; null when it has gone.
	std::shared_ptr<IOMNode> getNode() const;
	// The child where it lies; null where there is no such place.
	const Value *getPlace() const;
	// Whether a script may write the child.
	bool isWritable() const;
	// Whether nothing of the container can be written: its children only look like places.
	bool isReadOnly() const { return fIterator != nullptr; }

	// What tells containers apart: two cursors with the same one are over the same children. Null without any.
	const void *getContainerIdentity() const;
	// What keeps that alive.
	Value getHolder() const { return fNode ? Value::nodeItself(fNode) : fContainer; }

private:
	void enter();
	void leave() noexcept;
	void skipErased();

	Value fContainer; // an Array or Map, or something without children
	size_t fPosition = 0;
	std::shared_ptr<IOMNode> fNode; // of an iterator
	std::shared_ptr<IOMNodeIterator> fIterator;
};
}
