#pragma once

#include "MrvParser/Reference/MrvMatchNode.h"

#include <string>
#include <string_view>

namespace Mrv
{
// `abc`, `=abc`, `[3]`, `['abc']`: the one child with this key. Digits alone are the index of an array's element, anything else is the name
// of a map's attribute.
class MatchNodeExactMatch final : public MatchNode
{
public:
	static std::shared_ptr<MatchNode> factory(
	    const std::shared_ptr<MatchNode> &parent, const std::string &text, uint64_t minCount, uint64_t maxCount);
	explicit MatchNodeExactMatch(const std::string &text, uint64_t minCount = 1, uint64_t maxCount = 1);

	const std::string &getText() const { return fIndexOrAttrName; }
	bool isIndex() const { return fIsIndex; }
	// Of an index. A number that is too large for one is beyond the end of every array.
	size_t getIndex() const { return fIndex; }

	// Whether a text names an element; `index` is set then.
	static bool readIndex(std::string_view text, size_t &index);

private:
	const std::string fIndexOrAttrName;
	size_t fIndex = 0;
	const bool fIsIndex;
};
}
