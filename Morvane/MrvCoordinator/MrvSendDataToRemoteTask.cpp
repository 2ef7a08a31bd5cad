#include "MrvCoordinator/MrvSendDataToRemoteTask.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvService/MrvRemotePayload.h"

#include <utility>

namespace Mrv
{
SendDataToRemoteTask::SendDataToRemoteTask(std::shared_ptr<const IObject> targetAddressObj, std::string callBackID, std::string dataLiteral,
    int64_t timeoutMicroseconds, Callback callback)
    : RemoteRequestTask(std::move(targetAddressObj), OpCode::DATA_REQUEST, timeoutMicroseconds, std::move(callback)),
      fCallBackID(std::move(callBackID)),
      fDataLiteral(std::move(dataLiteral))
{
}

std::shared_ptr<SendDataToRemoteTask> SendDataToRemoteTask::factory(const std::shared_ptr<const IObject> &targetAddressObj,
    const std::string &callBackID, std::string dataLiteral, int64_t timeoutMicroseconds, Callback callback)
{
	SANITY_CHECK(targetAddressObj, return nullptr);
	auto task = std::make_shared<SendDataToRemoteTask>(
	    targetAddressObj, callBackID, std::move(dataLiteral), timeoutMicroseconds, std::move(callback));
	registerTask(task);
	return task;
}

std::string SendDataToRemoteTask::makePayload() const
{
	RemotePayloadWriter writer;
	writer.addText(RemoteField::CALL_BACK_ID, fCallBackID);
	writer.add(RemoteField::CLIENT_SEQUENCE_NR, getExchange().clientNumber);
	writer.add(RemoteField::CLIENT_SESSION_ID, getExchange().clientSession);
	writer.addLiteral(RemoteField::DATA, fDataLiteral);
	return writer.finish();
}

void SendDataToRemoteTask::timeslice()
{
	if (const auto internalCoordinator = InternalCoordinator::instance())
	{
		internalCoordinator->sendDataToRemote_yielding(shared_from_this(), fSuccess);
	}
}
}
