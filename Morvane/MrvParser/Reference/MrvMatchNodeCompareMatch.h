#pragma once

#include "MrvParser/Node/MrvOperators.h"
#include "MrvParser/Reference/MrvMatchNode.h"

#include <string>

namespace Mrv
{
// `<abc`, `>=abc`, `!abc`: children whose key text compares so with a text, byte by byte.
class MatchNodeCompareMatch final : public MatchNode
{
public:
	// Inverted, an operator becomes its opposite. What comes to equality then is made a MatchNodeExactMatch. Null, with a log line, for an
	// operator that doesn't compare.
	static std::shared_ptr<MatchNode> factory(const std::shared_ptr<MatchNode> &parent, bool isInverted, BinOp comparison,
	    const std::string &text, uint64_t minCount, uint64_t maxCount);

	MatchNodeCompareMatch(BinOp comparison, std::string text, uint64_t minCount, uint64_t maxCount);
	bool isIterMatch(const ChildCursor &cursor) const override;

private:
	const BinOp fComparison;
	const std::string fText;
};
}
