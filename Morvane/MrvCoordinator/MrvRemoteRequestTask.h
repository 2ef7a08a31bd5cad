#pragma once

#include "MrvObject/MrvIObject.h"
#include "MrvObject/MrvOpCode.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvService/MrvRemoteExchange.h"
#include "MrvTask/MrvTask.h"

#include <memory>
#include <string>

namespace Mrv
{
class OMScope;
class RemotePayloadWriter;

// A request to a service elsewhere: it is sent in the first slice, and the task waits until it is answered, has failed, or its deadline has
// passed. Its result is the answer; when it fails, `fErrorNote` says why.
class RemoteRequestTask : public Task
{
public:
	enum class Stage : uint8_t
	{
		WAITING,
		ANSWERED,
		FAILED,
		SESSION_LOST, // the session that it named is gone: it is to be sent again without
	};
	// A function to be called with the answer, and the scope of that call. Null: none.
	struct Callback
	{
		std::shared_ptr<IOMNode> functionNode;
		std::shared_ptr<OMScope> scope;
	};

	const std::shared_ptr<const IObject> &getTargetAddressObj() const { return fTargetAddressObj; }
	const std::string &getTargetURL() const { return fTargetURL; }
	OpCode getOpCode() const { return fOpCode; }
	Stage getStage() const { return fStage; }
	// The numbers of the request as it was sent last.
	const RemoteExchange &getExchange() const { return fExchange; }
	virtual bool namesServiceSession() const { return false; }

	// Begins anew with these numbers.
	void restart(const RemoteExchange &exchange);
	// The payload for them.
	virtual std::string makePayload() const = 0;

	// The answer has come: it is the result, the call-back is started, and the task ends. False without an answer.
	bool takeAnswer(const std::shared_ptr<OMStored> &answer);
	// There will be none.
	void fail(const std::string &reason);
	void loseSession() { fStage = Stage::SESSION_LOST; }

	void handleCompletion() override;

protected:
	// timeoutMicroseconds: negative for the setting; there always is a deadline.
	RemoteRequestTask(std::shared_ptr<const IObject> targetAddressObj, OpCode opCode, int64_t timeoutMicroseconds, Callback callback);

private:
	void startCallback(const std::shared_ptr<OMStored> &answer);

	std::shared_ptr<const IObject> fTargetAddressObj;
	std::string fTargetURL;
	OpCode fOpCode;
	int64_t fTimeLimitMicroseconds;
	Callback fCallback;
	RemoteExchange fExchange;
	Stage fStage = Stage::WAITING;
};
}
