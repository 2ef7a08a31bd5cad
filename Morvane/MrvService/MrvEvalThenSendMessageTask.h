#pragma once

#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvService/MrvRemoteReply.h"
#include "MrvTask/MrvTask.h"

#include <memory>
#include <string>

namespace Mrv
{
class OMScope;

// Runs a script that came in a message, and answers when it has ended: with its value, or, at the default time-out, that there is none.
class EvalThenSendMessageTask final : public Task
{
public:
	// scriptFilePath: what the scope shows as the script's path while it runs; empty for a text.
	static std::shared_ptr<EvalThenSendMessageTask> factory(const std::shared_ptr<IOMNode> &scriptNode,
	    const std::shared_ptr<OMScope> &scope, RemoteReply reply, const std::string &scriptFilePath = {});
	// Use the factory.
	EvalThenSendMessageTask(
	    std::shared_ptr<IOMNode> scriptNode, std::shared_ptr<OMScope> scope, RemoteReply reply, std::string scriptFilePath);

	void handleCompletion() override;
	AncestorKind getAncestorKind() const override { return AncestorKind::EVAL_THEN_SEND_MESSAGE; }

protected:
	void timeslice() override;

private:
	std::shared_ptr<IOMNode> fScriptNode;
	std::shared_ptr<OMScope> fScope;
	RemoteReply fReply;
	std::string fScriptFilePath;
	std::shared_ptr<IOMNode> fRetValNode;
};
}
