#pragma once

#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvTask/MrvTask.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Mrv
{
class OMScope;

// A function that answers data requests, for as long as it is registered. The task's name is the id of the call-back, so that the
// scheduler's table of names is the registry; the calls are its children. It does no work of its own.
class HandleDataRequestTask final : public Task
{
public:
	// Takes the name, and starts. Who had it before goes when its present calls have ended.
	static std::shared_ptr<HandleDataRequestTask> start(
	    const std::string &callBackID, const std::shared_ptr<IOMNode> &functionNode, const std::shared_ptr<OMScope> &scope);
	// The task that is registered under the id; null, without a log line, for what is none.
	static std::shared_ptr<HandleDataRequestTask> find(const std::string &callBackID);
	// Whether there is any at all.
	static bool isAnyRegistered() { return sCount > 0; }

	// Use `start`.
	HandleDataRequestTask(std::shared_ptr<IOMNode> functionNode, std::shared_ptr<OMScope> scope);
	~HandleDataRequestTask() override { --sCount; }

	const std::shared_ptr<IOMNode> &getFunctionNode() const { return fFunctionNode; }
	const std::shared_ptr<OMScope> &getScope() const { return fScope; }
	// Gives up the name, and ends when the calls that run have ended.
	void unregister();
	AncestorKind getAncestorKind() const override { return AncestorKind::HANDLE_DATA_REQUEST; }

protected:
	void timeslice() override;

private:
	static inline std::size_t sCount = 0;

	std::shared_ptr<IOMNode> fFunctionNode;
	std::shared_ptr<OMScope> fScope;
};
}
