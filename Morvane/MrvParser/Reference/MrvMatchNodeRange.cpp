#include "MrvParser/Reference/MrvMatchNodeRange.h"

#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
namespace
{
// Two ends, each a number or nothing, with the first below the last. Anything else is no range.
bool readRange(const std::string &content, size_t &first, size_t &last)
{
	const std::vector<std::string> ends = Utils::split(content, '-');
	if (ends.size() != 2)
	{
		return false;
	}
	first = 0;
	last = MatchNodeRange::LAST;
	return (ends[0].empty() || MatchNodeExactMatch::readIndex(ends[0], first)) &&
	       (ends[1].empty() || MatchNodeExactMatch::readIndex(ends[1], last)) && first < last;
}

std::string withoutQuotes(const std::string &content)
{
	const bool isQuoted = content.size() >= 2 && content.front() == content.back() && (content.front() == '\'' || content.front() == '"');
	return isQuoted ? content.substr(1, content.size() - 2) : content;
}
}

MatchNodeRange::MatchNodeRange(bool isInverted, size_t first, size_t last, uint64_t minCount, uint64_t maxCount)
    : MatchNode(Kind::CHILDREN, minCount, maxCount),
      fFirst(first),
      fLast(last),
      fIsInverted(isInverted)
{
}

std::shared_ptr<MatchNode> MatchNodeRange::factory(
    const std::shared_ptr<MatchNode> &parent, bool isInverted, const std::string &content, uint64_t minCount, uint64_t maxCount)
{
	size_t first = 0;
	size_t last = LAST;
	if (!content.empty() && (Utils::isNumeric(content) || !readRange(content, first, last)))
	{
		return MatchNodeExactMatch::factory(parent, withoutQuotes(content), minCount, maxCount);
	}
	auto link = std::make_shared<MatchNodeRange>(isInverted, first, last, minCount, maxCount);
	setParent(parent, link);
	return link;
}

bool MatchNodeRange::isIterMatch(const ChildCursor &cursor) const
{
	const int64_t index = cursor.getIndex();
	if (index < 0)
	{
		return false;
	}
	const auto position = static_cast<size_t>(index);
	return (fFirst <= position && position <= fLast) != fIsInverted;
}
}
