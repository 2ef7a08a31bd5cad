#pragma once

#include "MrvParser/Node/MrvOMNode.h"

namespace Mrv
{
// What the nodes of the file system share: a Map whose children are made by `getOMNode` when they are asked for, and that refuses each
// change with a log line.
class ReadOnlyMap : public OMNode
{
public:
	using OMNode::getOMNode;
	using OMNode::getType;

	OMType getType() const override { return OMType::Map; }
	void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	using OMNode::accessOMNodeReadOnlyResolved_yielding;
	void set_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void set_yielding(const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	bool eraseAttribute(const std::string &attribute) override;
	bool eraseIndex(size_t index) override;
	bool set(const std::shared_ptr<IOMNode> &omNode) override;
	using OMNode::set;

protected:
	ReadOnlyMap() = default;
	static bool refuseChange();
};
}
