#pragma once

#include "MrvCoordinator/MrvRemoteRequestTask.h"

#include <memory>
#include <string>

namespace Mrv
{
// Asks a function elsewhere for data, by the id of its call-back. What it gives is the task's result, Undefined when it gave nothing.
class SendDataToRemoteTask final : public RemoteRequestTask
{
public:
	// dataLiteral: the data as `appendForTransfer` writes it. timeoutMicroseconds: negative for the setting. Null, with a log line, without
	// an address.
	static std::shared_ptr<SendDataToRemoteTask> factory(const std::shared_ptr<const IObject> &targetAddressObj,
	    const std::string &callBackID, std::string dataLiteral, int64_t timeoutMicroseconds, Callback callback = {});
	// Use the factory.
	SendDataToRemoteTask(std::shared_ptr<const IObject> targetAddressObj, std::string callBackID, std::string dataLiteral,
	    int64_t timeoutMicroseconds, Callback callback);

	// The answer to a "dataRequest". False without data.
	bool handleEventDataResults(const std::shared_ptr<OMStored> &data) { return takeAnswer(data); }

	std::string makePayload() const override;

protected:
	void timeslice() override;

private:
	std::string fCallBackID;
	std::string fDataLiteral;
};
}
