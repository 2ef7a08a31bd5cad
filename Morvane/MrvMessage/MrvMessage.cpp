#include "MrvMessage/MrvMessage.h"

#include "MrvAddress/MrvIAddress.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvUtils/MrvUtils.h"

#include <limits>

namespace Mrv
{
const std::string Message::TYPENAME = "Message";

namespace
{
std::shared_ptr<const IObject> addressOf(const std::shared_ptr<const IObject> &object)
{
	if (!object || castTo<const IAddress>(object.get()))
	{
		return object;
	}
	// An address is made on demand, so a constant object won't do.
	const auto addressable = sharedCastTo<IAddressable>(Object::getObjectFromID(object->getID()));
	return addressable ? addressable->getAddressObj() : nullptr;
}

// An address, or null; false for anything else.
bool readAddress(ISerializer &serializer, std::shared_ptr<const IObject> &addressObj)
{
	std::shared_ptr<IObject> object;
	if (!Data_abstract::readTypePrefixed(serializer, object))
	{
		return false;
	}
	SANITY_CHECK_AS(!object || sharedCastTo<IAddress>(object), "std::dynamic_pointer_cast<IAddress>(addressObj)", return false);
	addressObj = std::move(object);
	return true;
}
}

std::shared_ptr<IObject> Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
    const std::shared_ptr<const IObject> &sender, const std::shared_ptr<const IObject> &destination, OpCode opCode, std::string payload)
{
	return make(addressOf(sender), addressOf(destination), opCode, std::move(payload));
}

std::shared_ptr<IObject> Message::factoryFromSenderDestinationAddressOpCodeOMNode(const std::shared_ptr<const IObject> &sender,
    const std::shared_ptr<const IObject> &destination, OpCode opCode, const std::shared_ptr<IOMNode> &messageNode)
{
	SANITY_CHECK(messageNode, return nullptr);
	return factoryFromSenderDestinationAddressOpCodePayloadStr(sender, destination, opCode, messageNode->toString());
}

bool Message::isRequest(OpCode opCode)
{
	return opCode == OpCode::PING || opCode == OpCode::EVAL || opCode == OpCode::EVAL_FILE || opCode == OpCode::DATA_REQUEST;
}

bool Message::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	SANITY_CHECK_AS(Data_abstract::serializeDeserializeContent(mode, serializer),
	    "Data_abstract::serializeDeserializeContent(serializeDeserialize, serializerObj)", return false);
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serialize(serializer);
		case SerializeDeserialize::DESERIALIZE:
			return deserialize(serializer);
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}

bool Message::serialize(ISerializer &serializer) const
{
	return Data_abstract::serialize(fSenderAddressObj, serializer) && Data_abstract::serialize(fReceiverAddressObj, serializer) &&
	       serializer.putString(std::to_string(static_cast<std::uint32_t>(fOpCode))) && serializer.putString(fPayload);
}

bool Message::deserialize(ISerializer &serializer)
{
	SANITY_CHECK_AS(!serializer.atEnd(), "! serializer->atEnd()", return false);
	if (!readAddress(serializer, fSenderAddressObj) || !readAddress(serializer, fReceiverAddressObj))
	{
		return false;
	}
	SANITY_CHECK_AS(serializer.isStringAvailable(), "serializer->isStringAvailable()", return false);
	const std::string opCodeStr = serializer.getString();
	if (!opCodeStr.empty())
	{
		SANITY_CHECK(Utils::isNumeric(opCodeStr), return false);
		std::uint64_t opCode = 0;
		SANITY_CHECK_AS(Utils::toUInt64(opCodeStr, opCode) && opCode <= std::numeric_limits<std::uint32_t>::max(),
		    "Utils::isNumeric(opCodeStr)", return false);
		fOpCode = static_cast<OpCode>(opCode);
	}
	SANITY_CHECK_AS(serializer.isStringAvailable(), "serializer->isStringAvailable()", return false);
	fPayload = serializer.getString();
	return true;
}

std::shared_ptr<OMStored> Message::getAsOMNode() const
{
	SANITY_CHECK_AS(!fPayload.empty(), "! fPayload.empty()", return nullptr);
	std::shared_ptr<OMStored> retVal = OMStored::undefinedFactory();
	SANITY_CHECK_AS(ParseTask::call(retVal, fPayload, Task::DEFAULT_TIMEOUT), "ParseTask::call(retVal, fPayload)", return nullptr);
	return retVal;
}

bool Message::setReceiverAddressObj(const std::shared_ptr<const IObject> &addressObj)
{
	SANITY_CHECK(addressObj, return false);
	fReceiverAddressObj = addressObj;
	return true;
}

bool Message::operator==(const IObject &other) const
{
	const auto *message = castTo<const Message>(&other);
	const auto areEqual = [](const std::shared_ptr<const IObject> &left, const std::shared_ptr<const IObject> &right)
	{ return left && right ? *left == *right : left == right; };
	return message && fOpCode == message->fOpCode && fPayload == message->fPayload &&
	       areEqual(fSenderAddressObj, message->fSenderAddressObj) && areEqual(fReceiverAddressObj, message->fReceiverAddressObj);
}
}
