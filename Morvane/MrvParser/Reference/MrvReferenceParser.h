#pragma once

#include "MrvParser/Reference/MrvMatchNode.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv
{
// From the text of a reference to its chain of links.
class ReferenceParser
{
public:
	static constexpr size_t MAX_SEGMENTS = 1000;

	// The top link; null, with a log line that says why (which `reason` repeats, if given), when the text is no reference or an empty one.
	static std::shared_ptr<MatchNode> parseReference(const std::string &reference, std::string *reason = nullptr);

	// The segments of the text between the position and its end or its first NUL, where the position is left. Beyond MAX_SEGMENTS a log
	// line, and the rest is left out.
	static std::vector<std::string> parseReferenceSegments(const std::string &reference, std::string::const_iterator &position);

	// The segments joined by `/`; empty, with a log line, when there are none.
	static std::string parseReference(const std::string &reference, std::string::const_iterator &position);

	// Takes a pattern segment apart: how many levels, and the regular expression behind the prefix. False, with a log line, for any other
	// segment.
	static bool extractRegExpStr(const std::string &segment, uint64_t &minCount, uint64_t &maxCount, std::string &regExp);

	// A segment that stands for the attribute with exactly this name, whatever characters it has. A name made of digits alone has no exact
	// form, and gets a pattern that no other name matches. An embedded NUL can't be expressed: the segment ends there.
	static std::string escapeReference(std::string_view key);

	// Whether a character begins a pattern segment.
	static bool isPatternPrefix(char character)
	{
		return character == '$' || character == '?' || character == '*' || character == '+' || character == '{';
	}
};
}
