#pragma once

#include "MrvService/MrvIService.h"
#include "MrvService/MrvRemoteExchange.h"

#include <memory>
#include <string>

namespace Mrv
{
class Task;
class Value;

// What services ask of the coordinator of this process. The coordinator implements it and is the current one while it exists.
class IMessagingCoordinator
{
public:
	// Null before the coordinator is made and when it has gone. May make it on first use.
	static IMessagingCoordinator *current();
	// Says how `current` finds the coordinator. A null function means that there is none.
	static void setProvider(IMessagingCoordinator *(*provider)());

	// The root of the tree.
	virtual std::shared_ptr<IService> getRootService() = 0;
	// Puts a message in the queue, to be relayed in the next pass. False, with a log line, for anything else.
	virtual bool queueMessage(const std::shared_ptr<const IObject> &messageObj) = 0;
	// There is traffic: the process doesn't go to sleep.
	virtual bool reportMessagingActivityInEventLoop() = 0;
	// Starts the function that was registered under an id, with the data as its argument; the sender is answered when it has ended. Null,
	// with a log line, when there is no such function.
	virtual std::shared_ptr<Task> handleDataRequest(const std::shared_ptr<const IObject> &senderAddressObj, const std::string &callBackID,
	    const Value &data, const RemoteExchange &exchange) = 0;

protected:
	~IMessagingCoordinator() = default;
};
}
