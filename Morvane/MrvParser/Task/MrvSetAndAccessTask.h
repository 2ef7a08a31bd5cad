#pragma once

#include "MrvParser/Task/MrvWrapperTask.h"

#include <variant>

namespace Mrv
{
// Stores a value and gives what is stored then: as the node's own value, in an attribute, or in an element.
class SetAndAccessTask final : public WrapperTask<SetAndAccessTask>
{
public:
	static constexpr const char *LOCAL_NAME = "setAndAccess";
	using Key = std::variant<std::monostate, std::string, size_t>;

	SetAndAccessTask(std::shared_ptr<IOMNode> node, std::shared_ptr<IOMNode> value)
	    : SetAndAccessTask(std::move(node), {}, std::move(value))
	{
	}
	SetAndAccessTask(std::shared_ptr<IOMNode> node, Key key, std::shared_ptr<IOMNode> value);

	// omNode: the value, then what is stored; null when that failed.
	static bool call(const std::shared_ptr<IOMNode> &node, std::shared_ptr<IOMNode> &omNode);
	static bool call(const std::shared_ptr<IOMNode> &node, const std::string &attribute, std::shared_ptr<IOMNode> &omNode);
	static bool call(const std::shared_ptr<IOMNode> &node, size_t index, std::shared_ptr<IOMNode> &omNode);
	bool hasArguments() const;

protected:
	void timeslice() override;

private:
	static bool callWithKey(const std::shared_ptr<IOMNode> &node, const Key &key, std::shared_ptr<IOMNode> &omNode);

	std::shared_ptr<IOMNode> fNode;
	Key fKey;
};
}
