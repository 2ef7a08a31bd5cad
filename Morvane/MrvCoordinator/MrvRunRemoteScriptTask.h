#pragma once

#include "MrvCoordinator/MrvRemoteRequestTask.h"

#include <memory>
#include <string>

namespace Mrv
{
// Has a script run elsewhere. The value of the script is the task's result.
class RunRemoteScriptTask final : public RemoteRequestTask
{
public:
	// opCode: EVAL with the text of the script, EVAL_FILE with the path of its file. timeoutMicroseconds: negative for the setting. Null,
	// with a log line, without an address.
	static std::shared_ptr<RunRemoteScriptTask> factory(const std::shared_ptr<const IObject> &targetAddressObj, const std::string &script,
	    int64_t timeoutMicroseconds, OpCode opCode, Callback callback = {});
	// Use the factory.
	RunRemoteScriptTask(
	    std::shared_ptr<const IObject> targetAddressObj, std::string script, int64_t timeoutMicroseconds, OpCode opCode, Callback callback);

	// The answer to an "eval" or "evalFile". False without a result.
	bool handleEventScriptResults(const std::shared_ptr<OMStored> &result) { return takeAnswer(result); }

	std::string makePayload() const override;
	bool namesServiceSession() const override { return true; }

protected:
	void timeslice() override;

private:
	std::string fScript;
};
}
