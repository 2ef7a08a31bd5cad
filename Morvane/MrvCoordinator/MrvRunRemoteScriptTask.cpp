#include "MrvCoordinator/MrvRunRemoteScriptTask.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvService/MrvRemotePayload.h"

#include <utility>

namespace Mrv
{
RunRemoteScriptTask::RunRemoteScriptTask(
    std::shared_ptr<const IObject> targetAddressObj, std::string script, int64_t timeoutMicroseconds, OpCode opCode, Callback callback)
    : RemoteRequestTask(std::move(targetAddressObj), opCode, timeoutMicroseconds, std::move(callback)),
      fScript(std::move(script))
{
}

std::shared_ptr<RunRemoteScriptTask> RunRemoteScriptTask::factory(const std::shared_ptr<const IObject> &targetAddressObj,
    const std::string &script, int64_t timeoutMicroseconds, OpCode opCode, Callback callback)
{
	SANITY_CHECK(targetAddressObj, return nullptr);
	auto task = std::make_shared<RunRemoteScriptTask>(targetAddressObj, script, timeoutMicroseconds, opCode, std::move(callback));
	registerTask(task);
	return task;
}

std::string RunRemoteScriptTask::makePayload() const
{
	const RemoteExchange &exchange = getExchange();
	RemotePayloadWriter writer;
	writer.add(RemoteField::CLIENT_SEQUENCE_NR, exchange.clientNumber);
	writer.add(RemoteField::CLIENT_SESSION_ID, exchange.clientSession);
	writer.addText(RemoteField::SCRIPT, fScript);
	writer.add(RemoteField::SERVICE_SESSION_ID, exchange.serviceSession);
	return writer.finish();
}

void RunRemoteScriptTask::timeslice()
{
	if (const auto internalCoordinator = InternalCoordinator::instance())
	{
		internalCoordinator->runRemoteScript_yielding(shared_from_this(), fSuccess);
	}
}
}
