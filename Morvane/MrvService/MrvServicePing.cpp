#include "MrvService/MrvServicePing.h"

#include "MrvMessage/MrvMessage.h"

namespace Mrv
{
const std::string ServicePing::TYPENAME = "ServicePing";
const std::string ServicePing::SERVICE_NAME = "net.morvane.service.ping";

bool ServicePing::receiveMessage(const std::shared_ptr<IObject> &messageObj)
{
	SANITY_CHECK(Service_abstract::receiveMessage(messageObj), return false);
	ASSIGN_TYPED(IMessage, message, messageObj, return false);
	const std::shared_ptr<const IObject> &senderAddress = message->getSenderAddressObj();
	if (!senderAddress || message->getOpCode() == OpCode::PING_REPLY)
	{
		return true;
	}
	IMessagingCoordinator *coordinator = IMessagingCoordinator::current();
	SANITY_CHECK_AS(coordinator, "internalCoordinator", return false);
	const std::shared_ptr<IObject> pingMessage = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
	    getAddressObj(), senderAddress, OpCode::PING_REPLY, message->getPayload());
	SANITY_CHECK_AS(coordinator->queueMessage(pingMessage), "internalCoordinator->queueMessage(pingMessage)", return false);
	return true;
}
}
