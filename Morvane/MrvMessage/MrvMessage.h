#pragma once

#include "MrvData/MrvDataClass.h"
#include "MrvMessage/MrvIMessage.h"

#include <memory>
#include <string>

namespace Mrv
{
// Sender, receiver, operation and payload. Its serialized form: both addresses, the opcode in decimal digits, the payload.
class Message final : public DataClass<Message>, public IMessage
{
public:
	static const std::string TYPENAME;

	// Sender and destination are addresses, or services and other things that have one; anything else is no address.
	static std::shared_ptr<IObject> factoryFromSenderDestinationAddressOpCodePayloadStr(const std::shared_ptr<const IObject> &sender,
	    const std::shared_ptr<const IObject> &destination, OpCode opCode, std::string payload);
	// The payload is the node's JSON text. Empty, with a log line, without a node.
	static std::shared_ptr<IObject> factoryFromSenderDestinationAddressOpCodeOMNode(const std::shared_ptr<const IObject> &sender,
	    const std::shared_ptr<const IObject> &destination, OpCode opCode, const std::shared_ptr<IOMNode> &messageNode);

	// Whether it is worth starting a process for: ping, eval, evalFile, dataRequest.
	static bool isRequest(OpCode opCode);

	// The log of every message that is routed, for people who look for where one went: off unless asked for. It goes to a file, which each
	// message is added to, or to standard error when the path is empty. What can't be written is lost.
	static void logIPCMessage(const std::shared_ptr<const IObject> &messageObj);
	static void setLogIPC(bool isLogged) { sIsIPCLogged = isLogged; }
	static bool getLogIPC() { return sIsIPCLogged; }
	static void setIPCLogFilePath(const std::string &filePath);
	static const std::string &getIPCLogFilePath();

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::shared_ptr<OMStored> getAsOMNode() const override;
	OpCode getOpCode() const override { return fOpCode; }
	const std::string &getPayload() const override { return fPayload; }
	const std::shared_ptr<const IObject> &getReceiverAddressObj() const override { return fReceiverAddressObj; }
	const std::shared_ptr<const IObject> &getSenderAddressObj() const override { return fSenderAddressObj; }
	bool setReceiverAddressObj(const std::shared_ptr<const IObject> &addressObj) override;

	// Some lines for people, beginning with the seconds since the process's clock began. GUIDs have short names, which are explained in
	// the message that shows them first.
	std::string toString() const override;
	// By addresses, opcode and payload.
	bool operator==(const IObject &other) const override;

private:
	friend class DataClass<Message>;
	Message() = default;
	Message(std::shared_ptr<const IObject> senderAddressObj, std::shared_ptr<const IObject> receiverAddressObj, OpCode opCode,
	    std::string payload)
	    : fSenderAddressObj(std::move(senderAddressObj)),
	      fReceiverAddressObj(std::move(receiverAddressObj)),
	      fOpCode(opCode),
	      fPayload(std::move(payload))
	{
	}
	bool serialize(ISerializer &serializer) const;
	bool deserialize(ISerializer &serializer);

	static bool sIsIPCLogged;

	std::shared_ptr<const IObject> fSenderAddressObj;
	std::shared_ptr<const IObject> fReceiverAddressObj;
	OpCode fOpCode = OpCode::NONE;
	std::string fPayload;
};
}
