#include "MrvService/MrvRemoteReply.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvService/MrvIMessagingCoordinator.h"
#include "MrvService/MrvRemotePayload.h"
#include "MrvTask/MrvTask.h"

namespace Mrv
{
bool RemoteReply::send(OpCode opCode, bool success, const Value *value, const std::string &errorText) const
{
	IMessagingCoordinator *internalCoordinator = IMessagingCoordinator::current();
	SANITY_CHECK(internalCoordinator, return false);
	const bool isData = opCode == OpCode::DATA_REPLY;
	std::string literal;
	const bool isWritten = !value || appendForTransfer(literal, *value);
	if (!isWritten)
	{
		literal = RemotePayloadWriter::ERROR_LITERAL;
	}
	RemotePayloadWriter writer;
	writer.add(RemoteField::CLIENT_SEQUENCE_NR, exchange.clientNumber);
	writer.add(RemoteField::CLIENT_SESSION_ID, exchange.clientSession);
	if (value && isData)
	{
		writer.addLiteral(RemoteField::DATA, literal);
	}
	if (!errorText.empty() || !isWritten)
	{
		writer.addText(RemoteField::ERROR_TEXT, isWritten ? errorText : "the value can't be sent");
	}
	if (value && !isData)
	{
		writer.addLiteral(RemoteField::RESULT, literal);
	}
	writer.add(RemoteField::SERVICE_SEQUENCE_NR, exchange.serviceNumber);
	writer.add(RemoteField::SERVICE_SESSION_ID, exchange.serviceSession);
	writer.add(RemoteField::SUCCESS, success);
	const std::shared_ptr<IObject> resultMessage =
	    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(senderObj, destinationObj, opCode, writer.finish());
	SANITY_CHECK(internalCoordinator->queueMessage(resultMessage), return false);
	return true;
}

bool RemoteReply::sendResultOf(const Task &task, OpCode opCode) const
{
	if (task.isTimedOut())
	{
		return send(opCode, false, nullptr, "cut off at its deadline");
	}
	if (!task.hasResult())
	{
		return send(opCode, false, nullptr, task.fErrorNote.empty() ? "ended without a value" : task.fErrorNote);
	}
	const Value value = Value::fromNode(task.getResult());
	return send(opCode, true, &value, value.isError() ? task.fErrorNote : std::string());
}
}
