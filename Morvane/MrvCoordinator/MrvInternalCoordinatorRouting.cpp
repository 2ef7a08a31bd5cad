// The way of a message, and from an address to its target.
//
// A message goes one of three ways, by the most exact form of its receiver's address: to a service of this process, to another coordinator
// on this machine, or to the gateway, which knows other machines. Only the main coordinator knows everybody; all others send through it.
// How to answer is learnt from the senders of what arrives.
#include "MrvAddress/MrvIndexedAddress_trait.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvCoordinator/MrvHostNames.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvEvent/MrvEvent.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
const std::string InternalCoordinator::GATEWAY_NAME = "net.morvane.coordinator.gateway";

namespace
{
std::string urlOf(const IAddress *address)
{
	return address ? address->getURL() : std::string();
}
}

// --- Names of hosts and coordinators

// Made at its first use, when all constants are, and there until the last coordinator has gone.
HostNames &InternalCoordinator::hostNames()
{
	static auto &sHostNames = Platform::makeLasting<HostNames>();
	return sHostNames;
}

bool InternalCoordinator::registerHostName(const std::string &hostName, const std::string &ipAddress)
{
	return hostNames().registerHostName(hostName, ipAddress);
}

bool InternalCoordinator::registerLocalHostName(const std::string &hostName)
{
	return hostNames().registerLocalHostName(hostName);
}

const std::string &InternalCoordinator::getHostAddress(const std::string &hostName)
{
	return hostNames().getHostAddress(hostName);
}

bool InternalCoordinator::isLocalHost(const std::string &hostName) const
{
	return hostNames().isLocalHost(hostName);
}

// A name without a dot is short for the one with the common prefix, unless something goes by it.
std::string InternalCoordinator::toFullName(const std::string &coordinatorName) const
{
	const bool isShort = coordinatorName.find('.') == std::string::npos && !(fSiblings && fSiblings->isKnownName(coordinatorName));
	return isShort ? Utils::normaliseCoordinatorName(coordinatorName) : coordinatorName;
}

bool InternalCoordinator::isOwnCoordinatorName(const std::string &coordinatorName) const
{
	return coordinatorName == fSettings.coordinatorName ||
	       (!coordinatorName.empty() && toFullName(coordinatorName) == fSettings.coordinatorName);
}

// --- What is known of others

const std::string &InternalCoordinator::getCoordinatorName(GUIDClass *upstreamCoordinatorGUID)
{
	static const std::string NONE;
	SANITY_CHECK(upstreamCoordinatorGUID, return NONE);
	return upstreamCoordinatorGUID == getOwnGUID() ? fSettings.coordinatorName : fRoutingTable.getCoordinatorName(upstreamCoordinatorGUID);
}

const std::string &InternalCoordinator::getHostName(GUIDClass *upstreamCoordinatorGUID)
{
	static const std::string NONE;
	SANITY_CHECK(upstreamCoordinatorGUID, return NONE);
	return upstreamCoordinatorGUID == getOwnGUID() ? HostNames::LOCAL : fRoutingTable.getHostName(upstreamCoordinatorGUID);
}

bool InternalCoordinator::isValidUpstreamCoordinatorGUID(GUIDClass *upstreamCoordinatorGUID)
{
	return upstreamCoordinatorGUID &&
	       (!getCoordinatorName(upstreamCoordinatorGUID).empty() || !getHostName(upstreamCoordinatorGUID).empty());
}

GUIDClass *InternalCoordinator::getUpstreamCoordinatorGUID(const std::string &hostName, const std::string &coordinatorName)
{
	SANITY_CHECK_AS(!coordinatorName.empty(), "! coordinatorName.empty()", return nullptr);
	const std::string hostKey = hostNames().toKey(hostName);
	const bool isOwn = hostKey == HostNames::LOCAL && isOwnCoordinatorName(coordinatorName);
	return isOwn ? getOwnGUID() : fRoutingTable.getUpstreamGUID(hostKey, toFullName(coordinatorName));
}

GUIDClass *InternalCoordinator::getSenderGUID(const std::string &hostName, const std::string &coordinatorName)
{
	SANITY_CHECK_AS(!coordinatorName.empty(), "! coordinatorName.empty()", return nullptr);
	const std::string hostKey = hostNames().toKey(hostName);
	const bool isOwn = hostKey == HostNames::LOCAL && isOwnCoordinatorName(coordinatorName);
	return isOwn ? getOwnGUID() : fRoutingTable.getSenderGUID(hostKey, toFullName(coordinatorName));
}

std::shared_ptr<const IObject> InternalCoordinator::getAddressFromGUID(GUIDClass *guid)
{
	SANITY_CHECK(guid, return nullptr);
	GUIDClass *upstream = fRoutingTable.getUpstreamOfSender(guid);
	if (upstream && upstream != getOwnGUID())
	{
		return RemoteResolvedAddress::factoryFromGUIDs(guid, upstream);
	}
	const std::shared_ptr<const IObject> object = Object::getRegisteredObject(guid);
	const auto service = object ? sharedCastTo<IService>(Object::getObjectFromID(object->getID())) : nullptr;
	return service ? service->getAddressObj() : nullptr;
}

// The name under which a sender's coordinator is entered. Nobody takes this coordinator's own by saying so, nor that of one that lives.
std::string InternalCoordinator::getNameToRegister(GUIDClass *upstreamGUID, const std::string &hostKey, const std::string &coordinatorName)
{
	if (hostKey != HostNames::LOCAL || coordinatorName.empty())
	{
		return coordinatorName;
	}
	GUIDClass *holder = fRoutingTable.getUpstreamGUID(hostKey, coordinatorName);
	const bool isTaken = holder && holder != upstreamGUID && fSiblings && fSiblings->isAliveUnder(coordinatorName, holder);
	if (isTaken || isOwnCoordinatorName(coordinatorName))
	{
		LOG_ERROR("a sender claims the name of another coordinator: " + coordinatorName);
		return {};
	}
	return coordinatorName;
}

bool InternalCoordinator::registerSenderAddressObj(const std::shared_ptr<const IObject> &senderAddressObj)
{
	ASSIGN_CONST_TYPED(IGUIDAddress, senderGUIDAddress, senderAddressObj, return false);
	GUIDClass *upstreamCoordinatorGUID = senderGUIDAddress->getUpstreamCoordinatorGUID();
	SANITY_CHECK(upstreamCoordinatorGUID, return false);
	if (upstreamCoordinatorGUID == getOwnGUID())
	{
		return true;
	}
	GUIDClass *senderGUID = senderGUIDAddress->getAddressedGUID();
	SANITY_CHECK(senderGUID, return false);
	ASSIGN_CONST_TYPED(IHostNameAddress, senderHostNameAddress, senderAddressObj, return false);
	ASSIGN_CONST_TYPED(ICoordinatorNameAddress, senderCoordinatorNameAddress, senderAddressObj, return false);
	const std::string hostName = senderHostNameAddress->getHostName();
	// Only a remote one can be on a host that nobody knows.
	const bool isHostUnknown = hostName.empty() && castTo<const RemoteResolvedAddress>(senderAddressObj.get());
	const std::string hostKey = isHostUnknown ? std::string() : hostNames().toKey(hostName);
	fRoutingTable.registerSender(senderGUID, upstreamCoordinatorGUID, hostKey,
	    getNameToRegister(upstreamCoordinatorGUID, hostKey, senderCoordinatorNameAddress->getCoordinatorName()));
	return true;
}

// --- From an address to its target

std::shared_ptr<IService> InternalCoordinator::getRootService()
{
	return sharedCastTo<IService>(shared_from_this());
}

std::shared_ptr<const IObject> InternalCoordinator::walkIndexPath(std::vector<std::string> indexVector)
{
	if (indexVector.empty() && !fSettings.defaultEngine.empty())
	{
		std::string indexPath = fSettings.defaultEngine;
		IndexedAddress_trait::splitIndices(indexPath, indexVector);
	}
	std::shared_ptr<IService> service = getRootService();
	for (std::size_t position = 0; service && position < indexVector.size(); position += 2)
	{
		const std::string indexStr = position + 1 < indexVector.size() ? indexVector[position + 1] : "0";
		std::uint64_t index = 0;
		SANITY_CHECK_AS(Utils::isNumeric(indexStr) && Utils::toUInt64(indexStr, index), "Utils::isNumeric(indexStr)", return nullptr);
		service = service->getChildByNameIndex(indexVector[position], index);
	}
	return service;
}

std::shared_ptr<const IObject> InternalCoordinator::resolveAddress(const std::shared_ptr<const IObject> &addressObj)
{
	const auto *hostNameAddress = castTo<const IHostNameAddress>(addressObj.get());
	if (!hostNameAddress || !isLocalHost(hostNameAddress->getHostName()))
	{
		return nullptr;
	}
	if (const auto *guidAddress = castTo<const IGUIDAddress>(addressObj.get()))
	{
		const bool isOwn = guidAddress->getUpstreamCoordinatorGUID() == getOwnGUID();
		return isOwn && guidAddress->getAddressedGUID() ? Object::getRegisteredObject(guidAddress->getAddressedGUID()) : nullptr;
	}
	const auto *coordinatorNameAddress = castTo<const ICoordinatorNameAddress>(addressObj.get());
	const auto *indexedAddress = castTo<const IIndexedAddress>(addressObj.get());
	if (!coordinatorNameAddress || !indexedAddress || !isOwnCoordinatorName(coordinatorNameAddress->getCoordinatorName()))
	{
		return nullptr;
	}
	return walkIndexPath(indexedAddress->getIndexVector());
}

// --- The way of a message

// Of the coordinator that a message is for; empty when it stays on this side of the process's boundary.
std::string InternalCoordinator::getDestinationName(const IAddress &resolvedAddress) const
{
	std::string coordinatorName;
	if (castTo<const RemoteUnresolvedAddress>(&resolvedAddress) || castTo<const RemoteResolvedAddress>(&resolvedAddress))
	{
		coordinatorName = fGatewaySend ? std::string() : GATEWAY_NAME;
	}
	else if (castTo<const LocalUnresolvedAddress>(&resolvedAddress) || castTo<const LocalResolvedAddress>(&resolvedAddress))
	{
		coordinatorName = toFullName(resolvedAddress.getCoordinatorName());
	}
	return coordinatorName == fSettings.coordinatorName ? std::string() : coordinatorName;
}

bool InternalCoordinator::relayMessage(const std::shared_ptr<const IObject> &messageObj, MessageOrigin origin)
{
	SANITY_CHECK(messageObj, return false);
	Message::logIPCMessage(messageObj);
	ASSIGN_TYPED(IMessage, message, Object::getObjectFromID(messageObj->getID()), return false);
	const auto receiverAddress = sharedCastTo<const IAddress>(message->getReceiverAddressObj());
	LOG_TRACE("receiverAddress: " + urlOf(receiverAddress.get()));
	const std::shared_ptr<const IObject> resolvedReceiverAddressObj = receiverAddress ? receiverAddress->resolved() : nullptr;
	const auto *resolvedReceiverAddress = castTo<const IAddress>(resolvedReceiverAddressObj.get());
	if (!resolvedReceiverAddress)
	{
		LOG_ERROR("discarding message receiverAddress: " + urlOf(receiverAddress.get()));
		return true;
	}
	LOG_TRACE("resolvedReceiverAddress: " + urlOf(resolvedReceiverAddress));
	message->setReceiverAddressObj(resolvedReceiverAddressObj);
	std::string destinationName = getDestinationName(*resolvedReceiverAddress);
	if (!destinationName.empty())
	{
		return relayToSibling(message, std::move(destinationName), origin);
	}
	return deliver(message, resolvedReceiverAddressObj);
}

bool InternalCoordinator::relayToSibling(const std::shared_ptr<IMessage> &message, std::string coordinatorName, MessageOrigin origin)
{
	const bool mayRelay = isMainCoordinator() || origin != MessageOrigin::PIPE;
	if (!isMainCoordinator())
	{
		coordinatorName = MAIN_NAME;
	}
	if (!mayRelay)
	{
		// It came from the main coordinator, which would only send it here again.
		LOG_ERROR("a message for another coordinator is not sent back to " + coordinatorName);
		return reportNotRelayed(message);
	}
	SANITY_CHECK(ensurePublished(), reportNotRelayed(message); return false);
	const std::shared_ptr<ISibling> siblingCoordinator = fSiblings ? fSiblings->findSibling(coordinatorName) : nullptr;
	if (!siblingCoordinator)
	{
		LOG_ERROR("no coordinator to relay the message to: " + coordinatorName);
		return reportNotRelayed(message);
	}
	SANITY_CHECK_AS(siblingCoordinator->relayOutgoingMessage(withTravellingSender(message)),
	                "siblingCoordinator->relayOutgoingMessage(messageObj)", reportNotRelayed(message);
	                return false);
	fireMessageEvent("messageRelayed", message);
	return true;
}

bool InternalCoordinator::deliver(const std::shared_ptr<IMessage> &message, const std::shared_ptr<const IObject> &resolvedReceiverAddress)
{
	const auto *hostNameAddress = castTo<const IHostNameAddress>(resolvedReceiverAddress.get());
	const std::string hostName = hostNameAddress ? hostNameAddress->getHostName() : std::string();
	LOG_TRACE("hostName: " + hostName);
	if (fGatewaySend && !hostName.empty() && !isLocalHost(hostName))
	{
		const std::string text = Data_abstract::serializeToStr(withTravellingSender(message));
		LOG_TRACE("gatewaySend to " + hostName + ": " + text);
		fGatewaySend(hostName, text);
		return true;
	}
	ASSIGN_CONST_TYPED_AS(IObject, destinationObj, resolveAddress(resolvedReceiverAddress),
	    "IObject destinationObj = internalCoordinator->resolveAddress(resolvedReceiverAddress);", return false);
	const auto receiver = sharedCastTo<IReceiver>(Object::getObjectFromID(destinationObj->getID()));
	if (!receiver)
	{
		LOG_ERROR("destination has no IReceiver interface");
		return true;
	}
	SANITY_CHECK(receiver->receiveMessage(message), return false);
	return true;
}

bool InternalCoordinator::fireMessageEvent(const std::string &eventName, const std::shared_ptr<IObject> &messageObj)
{
	return !hasListeners(eventName) || fireEvent(Event::factoryFromNamePayload(eventName, messageObj));
}

bool InternalCoordinator::reportNotRelayed(const std::shared_ptr<IMessage> &message)
{
	return fireMessageEvent("messageNotRelayed", message);
}

// What leaves the process says who sent it in a way that is true outside as well: a path in this process is replaced by GUIDs, and nobody
// by the coordinator.
std::shared_ptr<const IObject> InternalCoordinator::withTravellingSender(const std::shared_ptr<IMessage> &message)
{
	const std::shared_ptr<const IObject> &senderAddressObj = message->getSenderAddressObj();
	const auto *senderAddress = castTo<const IAddress>(senderAddressObj.get());
	const auto isTravelling = [](const IObject *address) { return castTo<const IGUIDAddress>(address) != nullptr; };
	if (isTravelling(senderAddressObj.get()) || (senderAddress && !isOwnCoordinatorName(senderAddress->getCoordinatorName())))
	{
		return message;
	}
	std::shared_ptr<const IObject> sender = senderAddress ? senderAddress->resolved() : nullptr;
	if (!isTravelling(sender.get()))
	{
		sender = getAddressObj();
	}
	return Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
	    sender, message->getReceiverAddressObj(), message->getOpCode(), message->getPayload());
}
}
