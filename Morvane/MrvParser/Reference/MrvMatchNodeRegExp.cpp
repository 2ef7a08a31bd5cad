#include "MrvParser/Reference/MrvMatchNodeRegExp.h"

namespace Mrv
{
MatchNodeRegExp::MatchNodeRegExp(bool isInverted, const std::string &pattern, uint64_t minCount, uint64_t maxCount)
    : MatchNode(Kind::CHILDREN, minCount, maxCount),
      fRegExp(RegularExpression::compile(pattern)),
      fIsInverted(isInverted)
{
}

std::shared_ptr<MatchNode> MatchNodeRegExp::factory(
    const std::shared_ptr<MatchNode> &parent, bool isInverted, const std::string &pattern, uint64_t minCount, uint64_t maxCount)
{
	auto link = std::make_shared<MatchNodeRegExp>(isInverted, pattern, minCount, maxCount);
	setParent(parent, link);
	return link;
}

bool MatchNodeRegExp::isIterMatch(const ChildCursor &cursor) const
{
	ChildCursor::KeyRoom room;
	const bool isFound = fRegExp->search(cursor.getKey(room));
	return isFound != fIsInverted && fRegExp->isValid(); // it may have failed just now
}
}
