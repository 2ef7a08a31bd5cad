#pragma once

#include "MrvParser/Reference/MrvMatchNode.h"
#include "MrvUtils/MrvRegularExpression.h"

#include <string>

namespace Mrv
{
// `$re`, `?re`, `*re`, `+re`, `{m,n}re`: children in whose key text a regular expression is found, on as many levels as the prefix says.
class MatchNodeRegExp final : public MatchNode
{
public:
	static std::shared_ptr<MatchNode> factory(
	    const std::shared_ptr<MatchNode> &parent, bool isInverted, const std::string &pattern, uint64_t minCount, uint64_t maxCount);

	MatchNodeRegExp(bool isInverted, const std::string &pattern, uint64_t minCount, uint64_t maxCount);
	bool isIterMatch(const ChildCursor &cursor) const override;
	bool isValid() const override { return fRegExp->isValid(); }

private:
	const std::shared_ptr<const RegularExpression> fRegExp;
	const bool fIsInverted;
};
}
