#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
class IOMNode;

// A cursor over the children of a node. It survives any change of the container: an element cursor is an index that is tested
// against the size each time, a map cursor passes over entries that have been erased.
class IOMNodeIterator
{
public:
	virtual ~IOMNodeIterator() = default;

	virtual bool isEnd() const = 0;
	// The position in an array, -1 for other nodes.
	virtual int64_t getIndex() const = 0;
	// The attribute name, or the index in decimal digits.
	virtual std::string getKey() const = 0;
	virtual void next() = 0;
	// The child, null at the end.
	virtual std::shared_ptr<IOMNode> getValue() = 0;
};
}
