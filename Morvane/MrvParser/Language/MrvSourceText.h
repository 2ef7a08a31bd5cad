#pragma once

#include "MrvParser/Node/MrvHeapObject.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace Mrv
{
// Where a program came from: the name of the text and where its lines begin, so that a place can be told as line and column.
// Shared by the expressions of the text.
class SourceText final : public HeapObject
{
public:
	explicit SourceText(std::string name) : HeapObject(Children::NONE), fName(std::move(name)) {}

	// Tells of a line that begins at an offset. Offsets only grow; one that is known already is ignored.
	void addLineStart(uint32_t offset)
	{
		if (offset > fLineStarts.back())
		{
			fLineStarts.push_back(offset);
		}
	}

	// "NAME:LINE:COLUMN", both counted from 1, columns in bytes.
	std::string describe(uint32_t offset) const
	{
		const auto behind = std::upper_bound(fLineStarts.begin(), fLineStarts.end(), offset);
		const auto line = static_cast<size_t>(behind - fLineStarts.begin());
		return fName + ":" + std::to_string(line) + ":" + std::to_string(offset - fLineStarts[line - 1] + 1);
	}
	const std::string &getName() const { return fName; }

private:
	std::string fName;
	std::vector<uint32_t> fLineStarts{0};
};
}
