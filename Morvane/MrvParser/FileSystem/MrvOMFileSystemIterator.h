#pragma once

#include "MrvParser/Node/MrvIOMNodeIterator.h"

#include <string>
#include <vector>

namespace Mrv
{
// The cursor over a node of the file system: its attributes, or the entries of a folder, as they were when it was made.
class OMFileSystemIterator final : public IOMNodeIterator
{
public:
	OMFileSystemIterator(std::shared_ptr<IOMNode> node, std::vector<std::string> names) : fNode(std::move(node)), fNames(std::move(names))
	{
	}

	bool isEnd() const override { return fPosition >= fNames.size(); }
	int64_t getIndex() const override { return -1; }
	std::string getKey() const override { return isEnd() ? std::string() : fNames[fPosition]; }
	void next() override { ++fPosition; }
	std::shared_ptr<IOMNode> getValue() override;

private:
	std::shared_ptr<IOMNode> fNode;
	std::vector<std::string> fNames;
	size_t fPosition = 0;
};
}
