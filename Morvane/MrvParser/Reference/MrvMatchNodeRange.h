#pragma once

#include "MrvParser/Reference/MrvMatchNode.h"

#include <string>

namespace Mrv
{
// `[]`, `[2-5]`, `[-5]`, `[2-]`: elements of an array by index, both ends included.
class MatchNodeRange final : public MatchNode
{
public:
	static constexpr size_t LAST = ~size_t{0};

	// The link for what stands between brackets: a range, or the key that it is otherwise. Inversion is for a range alone.
	static std::shared_ptr<MatchNode> factory(
	    const std::shared_ptr<MatchNode> &parent, bool isInverted, const std::string &content, uint64_t minCount, uint64_t maxCount);

	MatchNodeRange(bool isInverted, size_t first, size_t last, uint64_t minCount, uint64_t maxCount);
	// Never for what is no element, inverted or not.
	bool isIterMatch(const ChildCursor &cursor) const override;

private:
	const size_t fFirst;
	const size_t fLast;
	const bool fIsInverted;
};
}
