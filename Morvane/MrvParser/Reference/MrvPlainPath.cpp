#include "MrvParser/Reference/MrvPlainPath.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"
#include "MrvParser/Reference/MrvReferenceParser.h"

namespace Mrv
{
namespace
{
// What a plain path can't have, and blanks, which segments may lose.
constexpr std::string_view NOT_PLAIN("\\!$?*+{<>=()'\" \t\r\n\0", 19);

// Takes the next segment off a plain path; false for one that isn't plain, as far as its brackets tell.
bool takeSegment(std::string_view &path, std::string_view &segment)
{
	const size_t end = path.find_first_of("/[", path.starts_with('[') ? 1 : 0);
	segment = path.substr(0, end);
	path.remove_prefix(segment.size());
	if (!segment.starts_with('['))
	{
		return true;
	}
	if (segment.size() < 3 || segment.back() != ']')
	{
		return false;
	}
	segment = segment.substr(1, segment.size() - 2);
	size_t index = 0;
	return MatchNodeExactMatch::readIndex(segment, index);
}

// The place of a child. Null when there is none.
const Value *findChild(const Value &container, std::string_view key, size_t &position)
{
	if (MatchNodeExactMatch::readIndex(key, position))
	{
		return container.isArray() && position < container.array()->size() ? &container.array()->fItems[position] : nullptr;
	}
	position = container.isMap() ? container.map()->find(key) : MapContainer::NOT_FOUND;
	return position == MapContainer::NOT_FOUND ? nullptr : &container.map()->entries()[position].value;
}
}

bool PlainPath::find(const std::shared_ptr<IOMNode> &root, const std::string &reference, std::shared_ptr<IOMNode> &omNode)
{
	const auto stored = root->getOMStoredPtr();
	if (!stored || reference.find_first_of(NOT_PLAIN) != std::string::npos || std::dynamic_pointer_cast<OMScope>(stored))
	{
		return false;
	}
	Value container; // of the child
	size_t position = 0;
	Value value = stored->getValue();
	bool hasSegments = false;
	std::string_view path = reference;
	for (size_t count = 0; !path.empty(); ++count)
	{
		if (path.front() == '/')
		{
			path.remove_prefix(1);
			continue;
		}
		std::string_view segment;
		if (!takeSegment(path, segment) || value.isNode() || value.type() == OMType::Expression || count == ReferenceParser::MAX_SEGMENTS)
		{
			return false;
		}
		hasSegments = true;
		container = std::move(value);
		const Value *const place = findChild(container, segment, position);
		if (!place)
		{
			omNode = nullptr;
			return true;
		}
		value = place->inPlace();
	}
	if (!hasSegments || value.type() == OMType::Expression)
	{
		return false;
	}
	omNode = container.isMap() ? container.map()->nodeAt(position) : container.array()->nodeAt(position);
	return true;
}
}
