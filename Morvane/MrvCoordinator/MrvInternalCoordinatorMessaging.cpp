// The message queue, what arrives from other processes and machines, and what is addressed to the coordinator itself.
//
// Whatever is sent goes through the queue. A pass takes all of it at once: what a receiver sends in answer waits for the next pass, so
// that two that answer each other can't hold up the rest.
#include "MrvAddress/MrvIAddress.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvCoordinator/MrvHostNames.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvService/MrvServiceLog.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Mrv
{
int32_t InternalCoordinator::fIsProcessingMessageQueue = 0;

// --- Settings

// Whoever sends needs a name to be answered by. It is the process's, so that many can do without one of their own.
void InternalCoordinator::giveNameIfUnnamed()
{
	if (fSettings.coordinatorName.empty())
	{
		fSettings.coordinatorName = Utils::normaliseCoordinatorName("p" + std::to_string(Platform::currentProcessId()));
	}
}

void InternalCoordinator::applyMessagingSettings()
{
	Message::setLogIPC(fSettings.logIPC);
	Message::setIPCLogFilePath(fSettings.ipcMessageLogFile);
	if (const std::shared_ptr<ServiceLog> log = ServiceLog::instance())
	{
		log->setLogLevel(static_cast<int32_t>(std::min<int64_t>(fSettings.logLevel, INT32_MAX)));
		log->setLogFilePath(fSettings.logFile);
	}
	if (!fSettings.configurationNodeSuffix.empty())
	{
		registerLocalHostName(fSettings.configurationNodeSuffix.substr(1));
	}
	for (const ConfigurationStack::MapEntry &host : fHostMap)
	{
		for (const std::string &address : host.values)
		{
			registerHostName(host.name, address);
		}
	}
}

void InternalCoordinator::forgetMessaging()
{
	hostNames() = HostNames();
	fIsProcessingMessageQueue = 0;
	Message::setLogIPC(false);
	Message::setIPCLogFilePath({});
}

// --- The queue

bool InternalCoordinator::queueMessage(const std::shared_ptr<const IObject> &messageObj)
{
	return queueMessage(messageObj, MessageOrigin::OWN);
}

bool InternalCoordinator::queueMessage(const std::shared_ptr<const IObject> &messageObj, MessageOrigin origin)
{
	const bool isMessage = castTo<const IMessage>(messageObj.get()) != nullptr;
	if (!isMessage)
	{
		LOG_ERROR("ASSIGN_CONST_TYPED failed: 'IMessage message = messageObj;'");
		return false;
	}
	fMessageQueue.push_back({messageObj, origin});
	return true;
}

bool InternalCoordinator::processMessageQueues()
{
	if (fMessageQueue.empty())
	{
		return true;
	}
	const std::vector<QueuedMessage> messages = std::exchange(fMessageQueue, {});
	const std::shared_ptr<InternalCoordinator> internalCoordinator = instance();
	SANITY_CHECK(internalCoordinator, return false);
	struct Counted
	{
		Counted() { ++fIsProcessingMessageQueue; }
		~Counted() { --fIsProcessingMessageQueue; }
		Counted(const Counted &) = delete;
		Counted &operator=(const Counted &) = delete;
	};
	bool allOK = true;
	{
		const Counted counted;
		for (const QueuedMessage &message : messages)
		{
			SANITY_CHECK(reportMessagingActivityInEventLoop(), return false);
			allOK = relayMessage(message.messageObj, message.origin) && allOK;
		}
	}
	SANITY_CHECK(allOK, return false);
	return true;
}

// --- Arrivals

bool InternalCoordinator::receiveMessageStr(const std::string &str)
{
	const std::shared_ptr<IObject> ipcMessageObj = Data_abstract::deserializeFromStr(str);
	SANITY_CHECK(ipcMessageObj, return false);
	ASSIGN_TYPED(IMessage, ipcMessage, ipcMessageObj, return false);
	const std::shared_ptr<const IObject> senderAddressObj = ipcMessage->getSenderAddressObj();
	ASSIGN_CONST_TYPED(ICoordinatorNameAddress, coordinatorNameAddress, senderAddressObj, return false);
	SANITY_CHECK_AS(!isOwnCoordinatorName(coordinatorNameAddress->getCoordinatorName()),
	    "coordinatorNameAddress->getCoordinatorName() != fCoordinatorName", return false);
	SANITY_CHECK_AS(
	    registerSenderAddressObj(senderAddressObj), "registerSenderAddressObj(ipcMessage->getSenderAddressObj())", return false);
	return queueMessage(ipcMessageObj, MessageOrigin::PIPE);
}

// A message names this machine as its sender knows it. That is taken as true where it can't do harm: nobody may turn the name of another
// machine into one of ours.
void InternalCoordinator::registerReceiverHost(const std::string &receiverHostName, const std::string &senderHostName)
{
	if (isLocalHost(receiverHostName))
	{
		return;
	}
	if (receiverHostName.empty() || HostNames::toLower(receiverHostName) == HostNames::toLower(senderHostName) ||
	    !getHostAddress(receiverHostName).empty())
	{
		LOG_WARNING("host not registered as local: " + receiverHostName.substr(0, 100));
		return;
	}
	registerLocalHostName(receiverHostName);
}

namespace
{
// The receiver as this machine sees it, from how another one did.
std::shared_ptr<const IObject> toLocalView(const std::shared_ptr<const IObject> &receiverAddressObj)
{
	if (const auto *ura = castTo<const RemoteUnresolvedAddress>(receiverAddressObj.get()))
	{
		return LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(ura->getCoordinatorName(), ura->getIndices());
	}
	if (const auto *rra = castTo<const RemoteResolvedAddress>(receiverAddressObj.get()))
	{
		return LocalResolvedAddress::factoryFromGUIDsName(
		    rra->getAddressedGUID(), rra->getUpstreamCoordinatorGUID(), rra->getCoordinatorName());
	}
	return receiverAddressObj;
}
}

bool InternalCoordinator::receiveGatewayMessageStr(const std::string &senderHostName, const std::string &str)
{
	SANITY_CHECK_AS(!senderHostName.empty(), "! senderHostName.empty()", return false);
	const std::shared_ptr<IObject> ipcMessageObj = Data_abstract::deserializeFromStr(str);
	SANITY_CHECK(ipcMessageObj, return false);
	ASSIGN_TYPED(IMessage, ipcMessage, ipcMessageObj, return false);
	const std::shared_ptr<const IObject> receiverAddressObj = ipcMessage->getReceiverAddressObj();
	const auto receiverHostNameAddress = sharedCastTo<const IHostNameAddress>(receiverAddressObj);
	SANITY_CHECK(receiverHostNameAddress, return false);
	const std::shared_ptr<const IObject> senderAddressObj = ipcMessage->getSenderAddressObj();
	ASSIGN_CONST_TYPED(IGUIDAddress, senderGUIDAddress, senderAddressObj, return false);
	GUIDClass *addressedGUID = senderGUIDAddress->getAddressedGUID();
	GUIDClass *upstreamCoordinatorGUID = senderGUIDAddress->getUpstreamCoordinatorGUID();
	SANITY_CHECK(upstreamCoordinatorGUID, return false);
	SANITY_CHECK(addressedGUID, return false);

	registerReceiverHost(receiverHostNameAddress->getHostName(), senderHostName);
	if (upstreamCoordinatorGUID != getOwnGUID())
	{
		fRoutingTable.setHostIfUnknown(upstreamCoordinatorGUID, hostNames().toKey(senderHostName));
	}
	// The name that travelled is how the sender can be found again.
	const std::string senderName = dynamic_cast<const IAddress &>(*senderAddressObj).getCoordinatorName();
	const std::shared_ptr<IObject> senderAddress =
	    RemoteResolvedAddress::factoryFromGUIDsNameHost(addressedGUID, upstreamCoordinatorGUID, senderName, senderHostName);
	const std::shared_ptr<IObject> repackagedMessage = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
	    senderAddress, toLocalView(receiverAddressObj), ipcMessage->getOpCode(), ipcMessage->getPayload());
	LOG_TRACE("repackaged message: " + repackagedMessage->toString());
	SANITY_CHECK_AS(registerSenderAddressObj(senderAddress), "registerSenderAddressObj(message->getSenderAddressObj())", return false);
	return queueMessage(repackagedMessage, MessageOrigin::GATEWAY);
}

// --- To the coordinator itself

namespace
{
// A terminal shows text as it comes, so it gets it by lines.
void writeToStream(Platform::StandardStream stream, std::string_view text)
{
	constexpr std::size_t MAX_CHUNK = 1024;
	Platform::IConsole &console = Platform::console();
	if (!console.isTerminal(stream))
	{
		console.write(stream, text);
		console.flush();
		return;
	}
	while (!text.empty())
	{
		const std::size_t lineEnd = text.find('\n');
		const std::size_t size = std::min(lineEnd == std::string_view::npos ? text.size() : lineEnd + 1, MAX_CHUNK);
		console.write(stream, text.substr(0, size));
		console.flush();
		text.remove_prefix(size);
	}
}

bool writeOutput(const IMessage &message, Platform::StandardStream stream)
{
	const std::shared_ptr<OMStored> omNode = message.getAsOMNode();
	SANITY_CHECK(omNode, return false);
	if (omNode->getType() != OMType::Undefined)
	{
		writeToStream(stream, omNode->getAsString());
	}
	return true;
}
}

bool InternalCoordinator::receiveMessage(const std::shared_ptr<IObject> &messageObj)
{
	SANITY_CHECK(Service_abstract::receiveMessage(messageObj), return false);
	ASSIGN_TYPED(IMessage, message, messageObj, return false);
	const OpCode opCode = message->getOpCode();
	if (opCode == OpCode::TERMINATE)
	{
		LOG_TRACE("terminate requested");
		SANITY_CHECK(terminate(), return false);
	}
	else if (opCode == OpCode::STD_OUT || opCode == OpCode::STD_ERR)
	{
		return writeOutput(*message, opCode == OpCode::STD_OUT ? Platform::StandardStream::OUTPUT : Platform::StandardStream::ERROR_OUTPUT);
	}
	return true;
}
}
