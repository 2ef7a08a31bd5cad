#pragma once

#include "MrvParser/Node/MrvIOMNode.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
// The matches that one link of a walk keeps, in order of discovery and each node once. What has been kept is remembered for the whole
// walk, also when the list has been cleared.
class MatchList
{
public:
	// What will be asked of the list.
	enum class Content : uint8_t
	{
		COUNT,
		KEYS,
		NODES,
	};

	explicit MatchList(Content content = Content::NODES) : fContent(content) {}

	// Whether a match that is known to come but once must be a node.
	bool needsNodes() const { return fContent == Content::NODES; }
	bool needsKeys() const { return fContent == Content::KEYS; }

	// Another match; nothing happens when the node is there already.
	void add(const std::shared_ptr<IOMNode> &omNode, std::string_view key);
	// One that comes but once. `omNode` only where the list needs nodes.
	void addOnce(const std::shared_ptr<IOMNode> &omNode, std::string_view key);
	void clear();

	size_t size() const { return fCount; }
	bool empty() const { return fCount == 0; }
	// Of a list of nodes.
	std::vector<std::shared_ptr<IOMNode>> getNodes() const;
	// Of a list of keys.
	const std::vector<std::string> &getKeys() const { return fKeys; }

private:
	void grow();
	// Where a node is, or where it would go.
	size_t findSlot(const IOMNode *omNode) const;

	static constexpr uint32_t FREE = UINT32_MAX;

	Content fContent;
	size_t fCount = 0;
	size_t fFirst = 0; // of those since the last `clear`
	std::vector<std::shared_ptr<IOMNode>> fNodes;
	std::vector<std::string> fKeys;
	std::vector<uint32_t> fSlots; // positions in fNodes; open addressing with linear probing, a power of two
};
}
