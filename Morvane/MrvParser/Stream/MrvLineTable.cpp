#include "MrvParser/Stream/MrvLineTable.h"

#include <algorithm>
#include <cstring>

namespace Mrv
{
void LineTable::add(std::string_view bytes, uint64_t position)
{
	if (fLineStarts.empty())
	{
		fLineStarts.push_back(static_cast<uint32_t>(std::min(position, MAX_POSITION)));
		fKnownEnd = position;
	}
	const uint64_t end = position + bytes.size();
	if (end <= fKnownEnd)
	{
		return;
	}
	const char *cursor = bytes.data() + (fKnownEnd > position ? fKnownEnd - position : 0);
	const char *const last = bytes.data() + bytes.size();
	while (cursor < last)
	{
		const void *found = std::memchr(cursor, '\n', static_cast<size_t>(last - cursor));
		if (!found)
		{
			break;
		}
		cursor = static_cast<const char *>(found) + 1;
		const uint64_t lineStart = position + static_cast<uint64_t>(cursor - bytes.data());
		if (lineStart > MAX_POSITION)
		{
			break;
		}
		fLineStarts.push_back(static_cast<uint32_t>(lineStart));
	}
	fKnownEnd = end;
}

LineTable::Place LineTable::locate(uint64_t position) const
{
	if (fLineStarts.empty())
	{
		return {1, static_cast<size_t>(position) + 1};
	}
	const auto next = std::upper_bound(fLineStarts.begin() + 1, fLineStarts.end(), position);
	const uint64_t lineStart = *(next - 1);
	return {static_cast<size_t>(next - fLineStarts.begin()), static_cast<size_t>(position > lineStart ? position - lineStart : 0) + 1};
}
}
