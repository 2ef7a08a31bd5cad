#include "MrvParser/Reference/MrvMatchNodeCompareMatch.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"

#include <array>

namespace Mrv
{
namespace
{
struct Opposite
{
	BinOp comparison;
	BinOp inverted;
};
constexpr std::array OPPOSITES{
    Opposite{BinOp::LT, BinOp::GE},
    Opposite{BinOp::LE, BinOp::GT},
    Opposite{BinOp::GT, BinOp::LE},
    Opposite{BinOp::GE, BinOp::LT},
    Opposite{BinOp::EQ, BinOp::NE},
    Opposite{BinOp::NE, BinOp::EQ},
    Opposite{BinOp::IDENTICAL, BinOp::NOT_IDENTICAL},
    Opposite{BinOp::NOT_IDENTICAL, BinOp::IDENTICAL},
};
}

MatchNodeCompareMatch::MatchNodeCompareMatch(BinOp comparison, std::string text, uint64_t minCount, uint64_t maxCount)
    : MatchNode(Kind::CHILDREN, minCount, maxCount),
      fComparison(comparison),
      fText(std::move(text))
{
}

std::shared_ptr<MatchNode> MatchNodeCompareMatch::factory(const std::shared_ptr<MatchNode> &parent, bool isInverted, BinOp comparison,
    const std::string &text, uint64_t minCount, uint64_t maxCount)
{
	for (const Opposite &opposite : OPPOSITES)
	{
		if (opposite.comparison != comparison)
		{
			continue;
		}
		const BinOp effective = isInverted ? opposite.inverted : comparison;
		if (effective == BinOp::EQ)
		{
			return MatchNodeExactMatch::factory(parent, text, minCount, maxCount);
		}
		auto link = std::make_shared<MatchNodeCompareMatch>(effective, text, minCount, maxCount);
		setParent(parent, link);
		return link;
	}
	LOG_ERROR("unexpected comparison");
	return nullptr;
}

bool MatchNodeCompareMatch::isIterMatch(const ChildCursor &cursor) const
{
	ChildCursor::KeyRoom room;
	const int order = cursor.getKey(room).compare(fText);
	if (fComparison == BinOp::LT)
	{
		return order < 0;
	}
	if (fComparison == BinOp::LE)
	{
		return order <= 0;
	}
	if (fComparison == BinOp::GT)
	{
		return order > 0;
	}
	if (fComparison == BinOp::GE)
	{
		return order >= 0;
	}
	if (fComparison == BinOp::NE || fComparison == BinOp::NOT_IDENTICAL)
	{
		return order != 0;
	}
	LOG_WARNING("unexpected comparison");
	return fComparison == BinOp::EQ && order == 0;
}
}
