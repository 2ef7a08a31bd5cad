// The text is split into segments first, escapes are gone then; each segment makes one link.
#include "MrvParser/Reference/MrvReferenceParser.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Reference/MrvMatchNodeCompareMatch.h"
#include "MrvParser/Reference/MrvMatchNodeFunction.h"
#include "MrvParser/Reference/MrvMatchNodeRange.h"
#include "MrvParser/Reference/MrvMatchNodeRegExp.h"
#include "MrvUtils/MrvUtils.h"

#include <array>

namespace Mrv
{
namespace
{
bool isBlank(char character)
{
	return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

// How far a segment has come: a pattern can begin only behind blanks and one `!`.
enum class Begun : uint8_t
{
	BLANKS,
	INVERSION,
	REST,
};

Begun after(Begun begun, char character)
{
	if (begun == Begun::BLANKS && isBlank(character))
	{
		return Begun::BLANKS;
	}
	return begun == Begun::BLANKS && character == '!' ? Begun::INVERSION : Begun::REST;
}

struct Operator
{
	std::string_view text;
	BinOp comparison;
};
// The longer ones first.
constexpr std::array OPERATORS{
    Operator{"<=", BinOp::LE},
    Operator{"=<", BinOp::LE},
    Operator{">=", BinOp::GE},
    Operator{"=>", BinOp::GE},
    Operator{"<", BinOp::LT},
    Operator{">", BinOp::GT},
    Operator{"=", BinOp::EQ},
};

std::shared_ptr<MatchNode> refuse(const char *why, std::string *reason)
{
	LOG_ERROR(why);
	if (reason)
	{
		*reason = why;
	}
	return nullptr;
}

std::shared_ptr<MatchNode> makeComparison(
    const std::shared_ptr<MatchNode> &parent, bool isInverted, const std::string &segment, std::string *reason)
{
	for (const Operator &candidate : OPERATORS)
	{
		if (segment.starts_with(candidate.text))
		{
			if (segment.size() == candidate.text.size())
			{
				return refuse("empty comparison segment", reason);
			}
			return MatchNodeCompareMatch::factory(parent, isInverted, candidate.comparison, segment.substr(candidate.text.size()), 1, 1);
		}
	}
	return MatchNodeCompareMatch::factory(parent, isInverted, BinOp::EQ, segment, 1, 1);
}

std::shared_ptr<MatchNode> makeLink(const std::shared_ptr<MatchNode> &parent, std::string segment, std::string *reason)
{
	if (segment.empty())
	{
		return refuse("empty segment", reason);
	}
	const bool isInverted = segment.front() == '!';
	if (isInverted)
	{
		segment.erase(0, 1);
		if (segment.empty())
		{
			return refuse("empty inverted segment", reason);
		}
	}
	if (ReferenceParser::isPatternPrefix(segment.front()))
	{
		uint64_t minCount = 0;
		uint64_t maxCount = 0;
		std::string regExp;
		if (!ReferenceParser::extractRegExpStr(segment, minCount, maxCount, regExp))
		{
			return refuse("invalid regexp segment", reason);
		}
		return MatchNodeRegExp::factory(parent, isInverted, regExp, minCount, maxCount);
	}
	if (segment.ends_with("()"))
	{
		return MatchNodeFunction::factory(parent, segment.substr(0, segment.size() - 2));
	}
	if (segment.size() >= 2 && segment.front() == '[' && segment.back() == ']')
	{
		return MatchNodeRange::factory(parent, isInverted, segment.substr(1, segment.size() - 2), 1, 1);
	}
	return makeComparison(parent, isInverted, segment, reason);
}

// The counts between braces: digits, a comma, digits; anything else ends them. Digits behind the comma go on where those ahead of it
// stopped, so that `{1,1}` is 1 to 11: a peculiarity that is kept. Gives the position behind.
size_t readCounts(const std::string &segment, uint64_t &minCount, uint64_t &maxCount)
{
	minCount = 0;
	maxCount = 0;
	bool hasComma = false;
	size_t position = 1;
	for (; position < segment.size(); ++position)
	{
		const char character = segment[position];
		if (character >= '0' && character <= '9')
		{
			maxCount = maxCount * 10 + static_cast<uint64_t>(character - '0'); // wraps
		}
		else if (character == ',')
		{
			minCount = maxCount;
			hasComma = true;
		}
		else
		{
			position += character == '}' ? 1 : 0;
			break;
		}
	}
	maxCount = maxCount == 0 ? 1 : maxCount;
	minCount = hasComma ? minCount : maxCount;
	return position;
}
}

std::vector<std::string> ReferenceParser::parseReferenceSegments(const std::string &reference, std::string::const_iterator &position)
{
	std::vector<std::string> segments;
	std::string segment;
	Begun begun = Begun::BLANKS;
	bool isEscaped = false;
	bool isPattern = false;
	for (;; ++position)
	{
		const char character = position == reference.end() ? '\0' : *position;
		if (isEscaped && character != '\0')
		{
			segment += character;
			begun = after(begun, character);
			isEscaped = false;
			continue;
		}
		isPattern = isPattern || (begun != Begun::REST && isPatternPrefix(character));
		if (character == '\0' || character == '/' || (character == '[' && !isPattern && begun == Begun::REST))
		{
			segment = Utils::trim(segment);
			if (!segment.empty())
			{
				segments.push_back(std::move(segment));
			}
			segment.clear();
			if (segments.size() == MAX_SEGMENTS)
			{
				LOG_ERROR("max segment count reached");
				return segments;
			}
			begun = Begun::BLANKS;
			isPattern = false;
			if (character == '\0')
			{
				return segments;
			}
		}
		isEscaped = character == '\\';
		if (!isEscaped && character != '/')
		{
			segment += character;
			begun = after(begun, character);
		}
	}
}

std::string ReferenceParser::parseReference(const std::string &reference, std::string::const_iterator &position)
{
	const std::vector<std::string> referenceSegments = parseReferenceSegments(reference, position);
	SANITY_CHECK(!referenceSegments.empty(), return {});
	std::string joined = referenceSegments.front();
	for (size_t index = 1; index < referenceSegments.size(); ++index)
	{
		joined += '/' + referenceSegments[index];
	}
	return joined;
}

std::shared_ptr<MatchNode> ReferenceParser::parseReference(const std::string &reference, std::string *reason)
{
	auto position = reference.begin();
	std::shared_ptr<MatchNode> top;
	std::shared_ptr<MatchNode> last;
	for (const std::string &segment : parseReferenceSegments(reference, position))
	{
		last = makeLink(last, segment, reason);
		if (!last)
		{
			return nullptr;
		}
		top = top ? top : last;
	}
	if (!top && reason)
	{
		*reason = "empty reference";
	}
	return top;
}

bool ReferenceParser::extractRegExpStr(const std::string &segment, uint64_t &minCount, uint64_t &maxCount, std::string &regExp)
{
	const std::string &segmentRegExpStr = segment;
	SANITY_CHECK_AS(!segmentRegExpStr.empty(), "! segmentRegExpStr.empty()", return false);
	size_t behind = 1;
	switch (segment.front())
	{
		case '?':
			minCount = 0;
			maxCount = 1;
			break;
		case '$':
			minCount = 1;
			maxCount = 1;
			break;
		case '*':
			minCount = 0;
			maxCount = MatchNode::UNLIMITED;
			break;
		case '+':
			minCount = 1;
			maxCount = MatchNode::UNLIMITED;
			break;
		case '{':
			behind = readCounts(segment, minCount, maxCount);
			break;
		default:
			LOG_ERROR("unexpected first char");
			return false;
	}
	regExp = segment.substr(behind);
	return true;
}

std::string ReferenceParser::escapeReference(std::string_view key)
{
	key = key.substr(0, key.find('\0'));
	if (Utils::isNumeric(key))
	{
		return "$^" + std::string(key) + "$";
	}
	std::string escaped;
	for (const char character : key)
	{
		if (character == '\\' || character == '/' || character == '[')
		{
			escaped += '\\';
		}
		escaped += character;
	}
	// Between quotes where a segment would lose blanks, or read the beginning of the key as more of the operator, or be a function.
	const bool needsQuotes = key.empty() || isBlank(key.front()) || isBlank(key.back()) || key.front() == '=' || key.front() == '<' ||
	                         key.front() == '>' || key.ends_with("()");
	return needsQuotes ? "['" + escaped + "']" : "=" + escaped;
}
}
