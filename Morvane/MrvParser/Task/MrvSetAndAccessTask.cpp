#include "MrvParser/Task/MrvSetAndAccessTask.h"

#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
SetAndAccessTask::SetAndAccessTask(std::shared_ptr<IOMNode> node, Key key, std::shared_ptr<IOMNode> value)
    : fNode(std::move(node)),
      fKey(std::move(key))
{
	fRetValNode = std::move(value);
}

bool SetAndAccessTask::callWithKey(const std::shared_ptr<IOMNode> &node, const Key &key, std::shared_ptr<IOMNode> &omNode)
{
	const bool isSet = callForSuccess(omNode, node, key, omNode);
	if (!isSet)
	{
		omNode = nullptr;
	}
	return isSet;
}

bool SetAndAccessTask::call(const std::shared_ptr<IOMNode> &node, std::shared_ptr<IOMNode> &omNode)
{
	return callWithKey(node, {}, omNode);
}

bool SetAndAccessTask::call(const std::shared_ptr<IOMNode> &node, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	return callWithKey(node, attribute, omNode);
}

bool SetAndAccessTask::call(const std::shared_ptr<IOMNode> &node, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	return callWithKey(node, index, omNode);
}

bool SetAndAccessTask::hasArguments() const
{
	SANITY_CHECK_AS(fNode, "node", return false);
	SANITY_CHECK_AS(fRetValNode, "value", return false);
	return true;
}

void SetAndAccessTask::timeslice()
{
	if (const auto *attribute = std::get_if<std::string>(&fKey))
	{
		fNode->setAndAccess_yielding(shared_from_this(), fSuccess, *attribute, fRetValNode);
	}
	else if (const auto *index = std::get_if<size_t>(&fKey))
	{
		fNode->setAndAccess_yielding(shared_from_this(), fSuccess, *index, fRetValNode);
	}
	else
	{
		fNode->setAndAccess_yielding(shared_from_this(), fSuccess, fRetValNode);
	}
}
}
