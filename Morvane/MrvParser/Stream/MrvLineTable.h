#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Mrv
{
// Where the lines of a text begin: turns byte positions into the lines and columns that messages name. Lines end at LF.
class LineTable
{
public:
	// Both count from 1; columns count bytes.
	struct Place
	{
		size_t line = 1;
		size_t column = 1;
	};

	// Tells the table of bytes that begin at this position of the text. Bytes that it knows already are passed over.
	void add(std::string_view bytes, uint64_t position);

	// The place of a position. What lies behind the bytes that the table knows counts to their last line.
	Place locate(uint64_t position) const;
	// The positions where lines begin, ascending; empty before anything was added.
	const std::vector<uint32_t> &getLineStarts() const { return fLineStarts; }

private:
	static constexpr uint64_t MAX_POSITION = UINT32_MAX; // lines that begin further on are not told apart

	std::vector<uint32_t> fLineStarts; // ascending; the first is the beginning of the text
	uint64_t fKnownEnd = 0;
};
}
