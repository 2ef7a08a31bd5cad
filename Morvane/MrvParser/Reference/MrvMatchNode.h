#pragma once

#include "MrvParser/Reference/MrvChildCursor.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
// One link of a parsed reference: what one segment says. The links of a chain are made by ReferenceParser, don't change, and are walked by
// ReferenceWalk, which keeps all that belongs to one walk.
class MatchNode
{
public:
	// What the walk does at a link.
	enum class Kind : uint8_t
	{
		KEY,      // goes straight to one child, and can create it
		CHILDREN, // looks at each child
		FUNCTION, // takes no level: calculates something from the matches below it
	};

	// As a maximum: no limit.
	static constexpr uint64_t UNLIMITED = ~uint64_t{0};

	MatchNode(Kind kind, uint64_t minCount, uint64_t maxCount) : fMinCount(minCount), fMaxCount(maxCount), fKind(kind) {}
	MatchNode(const MatchNode &) = delete;
	MatchNode &operator=(const MatchNode &) = delete;
	virtual ~MatchNode();

	// Appends a link to a chain. An empty parent leaves a top link; an empty link is refused with a log line.
	static bool setParent(const std::shared_ptr<MatchNode> &parent, const std::shared_ptr<MatchNode> &thisNode);
	const std::shared_ptr<MatchNode> &getNext() const { return fNext; }
	std::shared_ptr<MatchNode> getParent() const { return fParent.lock(); }

	Kind getKind() const { return fKind; }
	// How many levels of the tree the link must take, and may.
	uint64_t getMinCount() const { return fMinCount; }
	uint64_t getMaxCount() const { return fMaxCount; }
	bool isUnlimited() const { return fMaxCount == UNLIMITED; }
	// Position in the chain, from 0.
	size_t getDepth() const { return fDepth; }

	// Whether the child at the cursor, which is not at its end, matches.
	virtual bool isIterMatch(const ChildCursor &) const { return true; }
	// A link that can't match anything fails the walk when that comes to it.
	virtual bool isValid() const { return true; }

private:
	std::weak_ptr<MatchNode> fParent;
	std::shared_ptr<MatchNode> fNext;
	const uint64_t fMinCount;
	const uint64_t fMaxCount;
	size_t fDepth = 0;
	const Kind fKind;
};
}
