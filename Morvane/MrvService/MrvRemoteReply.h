#pragma once

#include "MrvObject/MrvIObject.h"
#include "MrvObject/MrvOpCode.h"
#include "MrvParser/Node/MrvValue.h"
#include "MrvService/MrvRemoteExchange.h"

#include <memory>
#include <string>

namespace Mrv
{
class Task;

// Where the answer to a request goes, and what it repeats of it. Kept by whoever works on the request.
struct RemoteReply
{
	std::shared_ptr<const IObject> senderObj; // addresses
	std::shared_ptr<const IObject> destinationObj;
	RemoteExchange exchange;

	// Puts the answer in the coordinator's queue: an "evalResult" with the field `result`, or a "dataReply" with `data`. value: null for
	// none. errorText: why there is no value or why it is an Error; empty when there is nothing to say. False, with a log line, when
	// it can't be sent.
	bool send(OpCode opCode, bool success, const Value *value, const std::string &errorText) const;
	// The answer that a task has worked out: its result, unless it has none or was cut off at its deadline.
	bool sendResultOf(const Task &task, OpCode opCode) const;
};
}
