#pragma once

#include "MrvParser/Node/MrvIOMNodeIterator.h"
#include "MrvParser/Node/MrvValue.h"

namespace Mrv
{
class OMStored;

// The cursor over the children of a stored node. It shares the container, so that this outlives the walk.
class OMStoredNodeIterator final : public IOMNodeIterator
{
public:
	explicit OMStoredNodeIterator(const std::shared_ptr<OMStored> &node);
	OMStoredNodeIterator(const OMStoredNodeIterator &) = delete;
	OMStoredNodeIterator &operator=(const OMStoredNodeIterator &) = delete;
	~OMStoredNodeIterator() override;

	bool isEnd() const override;
	int64_t getIndex() const override;
	std::string getKey() const override;
	void next() override;
	std::shared_ptr<IOMNode> getValue() override;

private:
	void skipErased();

	Value fContainer;
	size_t fPosition = 0;
};
}
