#include "MrvCoordinator/MrvSiblingCoordinator.h"

#include "MrvAddress/MrvIAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPipes/MrvPipe.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvService/MrvServicePing.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvLimits.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
const std::string SiblingCoordinator::TYPENAME = "SiblingCoordinator";
const std::string SiblingCoordinator::SERVICE_NAME = "net.morvane.service.sibling";
SiblingCoordinator::TransitionObserver SiblingCoordinator::sTransitionObserver = nullptr;

namespace
{
constexpr std::int64_t QUIET_LOOK_FACTOR = 10;      // one that gets no messages is looked at so much more rarely
constexpr std::size_t MESSAGE_OVERHEAD_BYTES = 512; // of addresses and the like, in the queue
}

// --- Coming and going

SiblingCoordinator::SiblingCoordinator(const std::string &name)
    : fCoordinatorName(name),
      fNamedPipePath(InternalCoordinator::getPipeFolderPath() + name),
      fPublished(InternalCoordinator::getSessionDataFolderPath(), name)
{
}

SiblingCoordinator::Table &SiblingCoordinator::table()
{
	static auto &sTable = Platform::makeLasting<Table>();
	return sTable;
}

std::shared_ptr<IObject> SiblingCoordinator::factoryFromParentName(std::shared_ptr<IObject> parentObj, const std::string &name)
{
	const std::shared_ptr<IObject> internalCoordinator = InternalCoordinator::instance();
	SANITY_CHECK_AS(parentObj && parentObj == internalCoordinator, "parentObj == internalCoordinator", return nullptr);
	if (std::shared_ptr<SiblingCoordinator> known = find(name))
	{
		return known;
	}
	std::shared_ptr<SiblingCoordinator> sibling(new SiblingCoordinator(name), &SiblingCoordinator::deleter);
	sibling->registerObjectID(sibling);
	table()[name] = sibling;
	SANITY_CHECK_AS(sibling->attachToParent(parentObj), "coordinator->attachToParent(parentObj)", return nullptr);
	return sibling;
}

void SiblingCoordinator::deleter(SiblingCoordinator *sibling)
{
	if (!sibling->getGUID())
	{
		LOG_TRACE("destroying unregistered SiblingCoordinator");
	}
	Object::deleter(sibling);
	delete sibling;
}

bool SiblingCoordinator::registerDeregisterClass(RegisterDeregister registerDeregister)
{
	return registerDeregister == RegisterDeregister::REGISTER ? registerByNameFactory(TYPENAME, &SiblingCoordinator::factoryFromParentName)
	                                                          : deregisterByNameFactory(TYPENAME);
}

bool SiblingCoordinator::deregisterObject()
{
	closeHandle();
	clearQueue();
	table().erase(fCoordinatorName);
	return Service_abstract::deregisterObject();
}

std::shared_ptr<SiblingCoordinator> SiblingCoordinator::find(const std::string &name)
{
	const auto entry = table().find(name);
	return entry == table().end() ? nullptr : entry->second.lock();
}

std::vector<std::shared_ptr<SiblingCoordinator>> SiblingCoordinator::all()
{
	std::vector<std::shared_ptr<SiblingCoordinator>> siblings;
	siblings.reserve(table().size());
	for (const auto &[name, entry] : table())
	{
		if (std::shared_ptr<SiblingCoordinator> sibling = entry.lock())
		{
			siblings.push_back(std::move(sibling));
		}
	}
	return siblings;
}

void SiblingCoordinator::forgetExpired()
{
	std::erase_if(table(), [](const auto &entry) { return entry.second.expired(); });
}

bool SiblingCoordinator::isForgettable() const
{
	const bool isAtRest = fSiblingState == SiblingState::IDLE || fSiblingState == SiblingState::INACTIVE;
	return isAtRest && !fMustLook && !fIsAlive && !fHasPipe && fQueue.empty() && fHandle == 0 &&
	       fCoordinatorName != InternalCoordinator::MAIN_NAME && !InternalCoordinator::getCoordinatorMap().find(fCoordinatorName);
}

// --- States

const char *SiblingCoordinator::getStateName(SiblingState state)
{
	switch (state)
	{
		case SiblingState::IDLE:
			return "IDLE";
		case SiblingState::SENDING:
			return "SENDING";
		case SiblingState::LAUNCHED:
			return "LAUNCHED";
		case SiblingState::RUNNING:
			return "RUNNING";
		case SiblingState::INACTIVE:
			return "INACTIVE";
	}
	return "UNKNOWN";
}

void SiblingCoordinator::setTransitionObserver(TransitionObserver observer)
{
	sTransitionObserver = observer;
}

void SiblingCoordinator::switchToState(SiblingState state)
{
	if (state == fSiblingState)
	{
		return;
	}
	LOG_TRACE(fCoordinatorName + ": switch from SiblingState::" + getStateName(fSiblingState) + " to SiblingState::" + getStateName(state));
	if (sTransitionObserver)
	{
		sTransitionObserver(*this, fSiblingState, state);
	}
	fSiblingState = state;
}

// --- What is seen of the other one

std::int64_t SiblingCoordinator::getLookInterval() const
{
	const CoordinatorSettings &settings = InternalCoordinator::getSettings();
	const std::int64_t interval = settings.scanActiveSiblingsIntervalMicroseconds;
	if (isLaunching())
	{
		return std::min(interval, settings.sleepWaitForPipeMicroseconds);
	}
	return fQueue.empty() ? std::min(interval, INT64_MAX / QUIET_LOOK_FACTOR) * QUIET_LOOK_FACTOR : interval;
}

void SiblingCoordinator::look()
{
	const std::int64_t now = Platform::steadyNanoseconds();
	if (!fMustLook && (now - fLastLook) / 1000 < getLookInterval())
	{
		return;
	}
	fMustLook = false;
	fLastLook = now;
	fHasPipe = Pipes::namedPipeIsActive(fNamedPipePath);
	// The process alone is no evidence: one that has ended in order may live on as a host.
	const PublishedProcess::Publication publication = fPublished.read();
	fIsAlive = publication.isAlive();
	fProcessId = fIsAlive ? publication.processId : 0;
	if (fIsAlive)
	{
		fIsLaunched = false;
	}
	else if (publication.isPublished())
	{
		PublishedProcess::removeDead(fPublished.getPidFilePath());
	}
}

bool SiblingCoordinator::isRunning()
{
	look();
	return fIsAlive;
}

bool SiblingCoordinator::isRunning(const std::string &name)
{
	if (name == InternalCoordinator::getCoordinatorName())
	{
		return true;
	}
	const std::shared_ptr<SiblingCoordinator> sibling = find(name);
	return (sibling && sibling->isRunning()) || PublishedProcess(InternalCoordinator::getSessionDataFolderPath(), name).findRunning() != 0;
}

bool SiblingCoordinator::deleteNamedPipe() const
{
	return Pipes::deleteNamedPipe(fNamedPipePath);
}

// --- Launching

std::vector<std::string> SiblingCoordinator::getLaunchArgs() const
{
	if (const auto *const entry = InternalCoordinator::getCoordinatorMap().find(fCoordinatorName))
	{
		return entry->values;
	}
	if (fCoordinatorName == InternalCoordinator::MAIN_NAME)
	{
		for (const char *const program : {"morvane", "morvane.exe"})
		{
			const std::string path = Dirs::getAppDirPath() + program;
			if (Dirs::fileExists(path))
			{
				return {path, "-n", InternalCoordinator::MAIN_NAME, "-s"};
			}
		}
	}
	return {};
}

std::string SiblingCoordinator::getLaunchLogPath(const std::string &coordinatorName)
{
	const std::string &folder = Dirs::getLogDirPath();
	return folder.empty() || !Utils::isCoordinatorName(coordinatorName) ? std::string() : folder + coordinatorName + ".log";
}

bool SiblingCoordinator::launchIfNotRunning()
{
	if (isLaunching() || isRunning())
	{
		LOG_TRACE("already running or launching");
		return true;
	}
	const bool isMain = fCoordinatorName == InternalCoordinator::MAIN_NAME;
	if (!InternalCoordinator::isMainCoordinator() && !isMain)
	{
		LOG_TRACE("We're not main coordinator, so cannot launch: " + fCoordinatorName);
		return true;
	}
	const std::vector<std::string> launchArgs = getLaunchArgs();
	if (launchArgs.empty())
	{
		LOG_ERROR((isMain ? "Cannot launch main coordinator - no launchArgs: " : "Cannot launch - no launchArgs: ") + fCoordinatorName);
		return false;
	}
	// The new process learns in this way that nobody sees its standard error.
	Platform::setEnvironmentVariable(InternalCoordinator::LAUNCHED_VARIABLE, InternalCoordinator::getCoordinatorName());
	fLaunchedProcessId = Process::launchProcess(launchArgs, fPublished.getPidFilePath());
	Platform::unsetEnvironmentVariable(InternalCoordinator::LAUNCHED_VARIABLE);
	fIsLaunched = fLaunchedProcessId != 0;
	fWaitStart = Platform::steadyNanoseconds();
	return fIsLaunched;
}

void SiblingCoordinator::resetNamedPipeTimeout()
{
	fNamedPipeTimeout = Pipe::timeAfter(InternalCoordinator::getSettings().maxWaitPipeReappearMicroseconds);
}

// --- Messages

bool SiblingCoordinator::queueOpCode(const std::string &indices, OpCode opCode)
{
	const std::shared_ptr<InternalCoordinator> internalCoordinator = InternalCoordinator::instance();
	SANITY_CHECK(internalCoordinator, return false);
	const std::shared_ptr<IObject> address = LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(fCoordinatorName, indices);
	return internalCoordinator->queueMessage(
	    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(getAddressObj(), address, opCode, {}));
}

bool SiblingCoordinator::ping()
{
	return queueOpCode(ServicePing::SERVICE_NAME, OpCode::PING);
}

bool SiblingCoordinator::terminate()
{
	return queueOpCode({}, OpCode::TERMINATE);
}

bool SiblingCoordinator::relayOutgoingMessage(const std::shared_ptr<const IObject> &messageObj)
{
	SANITY_CHECK(messageObj, return false);
	ASSIGN_TYPED(IMessage, message, Object::getObjectFromID(messageObj->getID()), return false);
	const std::size_t bytes = message->getPayload().size() + MESSAGE_OVERHEAD_BYTES;
	if (fQueueBytes + bytes > Limits::SIBLING_QUEUE_BYTES)
	{
		if (!fIsQueueFullLogged)
		{
			LOG_ERROR("too much waits to be sent to " + fCoordinatorName + "; further messages are lost");
		}
		fIsQueueFullLogged = true;
		return false;
	}
	fIsQueueFullLogged = false;
	fQueueBytes += bytes;
	fQueue.push_back({message, bytes});
	return true;
}

bool SiblingCoordinator::relayIncomingMessage(const std::shared_ptr<const IObject> &messageObj)
{
	ASSIGN_CONST_TYPED(IMessage, message, messageObj, return false);
	const auto receiver = sharedCastTo<const IAddress>(message->getReceiverAddressObj());
	SANITY_CHECK_AS(receiver, "receiverAddress", return false);
	const std::shared_ptr<const IObject> resolved = receiver->resolved();
	const auto *const address = castTo<const IAddress>(resolved.get());
	SANITY_CHECK_AS(address && address->getCoordinatorName() == InternalCoordinator::getCoordinatorName(),
	    "destinationCoordinator == InternalCoordinator::getCoordinatorName()", return false);
	const auto *const hostNameAddress = castTo<const IHostNameAddress>(resolved.get());
	SANITY_CHECK_AS(!hostNameAddress || InternalCoordinator::instance()->isLocalHost(hostNameAddress->getHostName()),
	    "internalCoordinator->isLocalHost(hostName)", return false);
	return true;
}

void SiblingCoordinator::popFront()
{
	fQueueBytes -= fQueue.front().bytes;
	fQueue.pop_front();
	fQueuedBeforeEnd -= fQueuedBeforeEnd > 0 ? 1 : 0;
}

void SiblingCoordinator::loseFront()
{
	const std::shared_ptr<IMessage> message = fQueue.front().message;
	popFront();
	if (const std::shared_ptr<InternalCoordinator> internalCoordinator = InternalCoordinator::instance())
	{
		internalCoordinator->reportNotRelayed(message);
	}
}

void SiblingCoordinator::loseQueue()
{
	for (std::size_t count = fQueue.size(); count > 0 && !fQueue.empty(); --count) // not what is queued meanwhile
	{
		loseFront();
	}
}

void SiblingCoordinator::clearQueue()
{
	fQueue.clear();
	fQueueBytes = 0;
	fQueuedBeforeEnd = 0;
}

void SiblingCoordinator::closeHandle()
{
	if (fHandle != 0)
	{
		Pipes::closeWriteNamedPipeForced(fHandle);
		fHandle = 0;
	}
	fIdleSince = 0;
}
}
