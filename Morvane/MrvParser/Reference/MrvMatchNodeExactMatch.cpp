#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"

#include "MrvUtils/MrvUtils.h"

#include <limits>

namespace Mrv
{
MatchNodeExactMatch::MatchNodeExactMatch(const std::string &text, uint64_t minCount, uint64_t maxCount)
    : MatchNode(Kind::KEY, minCount, maxCount),
      fIndexOrAttrName(text),
      fIsIndex(readIndex(text, fIndex))
{
}

std::shared_ptr<MatchNode> MatchNodeExactMatch::factory(
    const std::shared_ptr<MatchNode> &parent, const std::string &text, uint64_t minCount, uint64_t maxCount)
{
	auto link = std::make_shared<MatchNodeExactMatch>(text, minCount, maxCount);
	setParent(parent, link);
	return link;
}

bool MatchNodeExactMatch::readIndex(std::string_view text, size_t &index)
{
	if (!Utils::isNumeric(text))
	{
		return false;
	}
	uint64_t number = std::numeric_limits<uint64_t>::max();
	Utils::toUInt64(text, number);
	index = number;
	return true;
}
}
