// The tree. A parent keeps its children in the order in which they came; the tables that lead from a name to them are made anew from that
// after each change, when somebody asks. So does the list that a turn walks over: a turn that is suspended keeps the list it began with,
// and what came or went meanwhile is of no concern to it.
#include "MrvService/MrvService_abstract.h"

#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvEvent/MrvEvent.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvService/MrvIMessagingCoordinator.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
namespace
{
constexpr std::string_view DEFAULT_NAME = "default"; // of the first of its kind
}

// --- The tree

std::vector<std::shared_ptr<IService>> Service_abstract::getChildList() const
{
	std::vector<std::shared_ptr<IService>> children;
	children.reserve(fChildren.size());
	for (const auto &[number, child] : fChildren)
	{
		children.push_back(child);
	}
	return children;
}

bool Service_abstract::isChild(const Service_abstract &service) const
{
	const auto child = fChildren.find(service.fAttachNumber);
	return child != fChildren.end() && child->second.get() == &service;
}

bool Service_abstract::ownsChild(const std::shared_ptr<const IObject> &childObj) const
{
	const auto *child = castTo<const Service_abstract>(childObj.get());
	return child && isChild(*child);
}

bool Service_abstract::attachToParent(const std::shared_ptr<IObject> &parentObj)
{
	const auto parent = sharedCastTo<Service_abstract>(parentObj);
	if (isCoordinator() || !parent || parent->isChild(*this))
	{
		return true;
	}
	if (!fParent.expired())
	{
		LOG_ERROR("child of different parent");
		return false;
	}
	for (std::shared_ptr<Service_abstract> above = parent; above; above = above->fParent.lock())
	{
		SANITY_CHECK_AS(above.get() != this, "! isBelow(parentObj)", return false);
	}
	fParent = parent;
	return parent->insertChild(sharedCastTo<Service_abstract>(shared_from_this()));
}

bool Service_abstract::detachFromParent()
{
	const std::shared_ptr<Service_abstract> parent = fParent.lock();
	SANITY_CHECK_AS(parent && parent->isChild(*this), "parent->ownsChild(thisObj)", return false);
	return parent->removeChild(*this);
}

bool Service_abstract::attachChildObj(const std::shared_ptr<IObject> &childObj)
{
	ASSIGN_TYPED(Service_abstract, child, childObj, return false);
	if (child->isCoordinator())
	{
		LOG_ERROR("cannot attach coordinator");
		return false;
	}
	return child->attachToParent(shared_from_this());
}

bool Service_abstract::detachChildObj(const std::shared_ptr<IObject> &childObj)
{
	ASSIGN_TYPED(Service_abstract, child, childObj, return false);
	if (child->isCoordinator())
	{
		LOG_ERROR("cannot detach coordinator");
		return false;
	}
	SANITY_CHECK_AS(isChild(*child), "ownsChild(childObj)", return false);
	return removeChild(*child);
}

bool Service_abstract::insertChild(const Child &child)
{
	child->fAttachNumber = ++fLastAttachNumber;
	fChildren.emplace_hint(fChildren.end(), child->fAttachNumber, child);
	tablesChanged();
	return true;
}

bool Service_abstract::removeChild(Service_abstract &child)
{
	const auto entry = fChildren.find(child.fAttachNumber);
	const Child held = entry->second; // it may be the last one who holds it
	fChildren.erase(entry);
	tablesChanged();
	child.fParent.reset();
	child.fIndexInNameMap = NO_INDEX;
	return true;
}

// --- Look-up

void Service_abstract::tablesChanged()
{
	fAreLookupTablesStale = true;
	fSnapshot = nullptr;
	fChildrenByName.clear();
	fChildrenByServiceName.clear();
}

void Service_abstract::refreshChildIndexLookupTables() const
{
	if (!fAreLookupTablesStale)
	{
		return;
	}
	fAreLookupTablesStale = false;
	for (const auto &[number, child] : fChildren)
	{
		const std::string &name = child->getName();
		SANITY_CHECK_AS(!name.empty(), "! childName.empty()", continue);
		std::vector<Service_abstract *> &namesakes = fChildrenByName[name];
		child->fIndexInNameMap = static_cast<int32_t>(namesakes.size());
		namesakes.push_back(child.get());
		if (const std::string &serviceName = child->getServiceName(); serviceName != name)
		{
			std::vector<Service_abstract *> &kin = fChildrenByServiceName[serviceName];
			kin.insert(name == DEFAULT_NAME ? kin.begin() : kin.end(), child.get());
		}
	}
}

const std::vector<Service_abstract *> *Service_abstract::findByName(std::string_view name) const
{
	refreshChildIndexLookupTables();
	const auto namesakes = fChildrenByName.find(name);
	return namesakes == fChildrenByName.end() ? nullptr : &namesakes->second;
}

int32_t Service_abstract::getIndexInNameMap() const
{
	const std::shared_ptr<Service_abstract> parent = fParent.lock();
	if (!parent)
	{
		return NO_INDEX;
	}
	parent->refreshChildIndexLookupTables();
	return fIndexInNameMap;
}

int32_t Service_abstract::getChildIndexInNameMap(const std::shared_ptr<const IObject> &childObj) const
{
	const auto *child = castTo<const Service_abstract>(childObj.get());
	return child && isChild(*child) ? child->getIndexInNameMap() : NO_INDEX;
}

std::size_t Service_abstract::getChildCountByName(std::string_view name) const
{
	const std::vector<Service_abstract *> *namesakes = findByName(name);
	return namesakes ? namesakes->size() : 0;
}

std::vector<std::shared_ptr<IService>> Service_abstract::getChildrenByName(std::string_view name) const
{
	std::vector<std::shared_ptr<IService>> children;
	if (const std::vector<Service_abstract *> *namesakes = findByName(name))
	{
		for (const Service_abstract *child : *namesakes)
		{
			children.push_back(fChildren.at(child->fAttachNumber));
		}
	}
	return children;
}

std::shared_ptr<IService> Service_abstract::getChildByNameIndex(std::string_view name, std::uint64_t index) const
{
	const std::vector<Service_abstract *> *namesakes = findByName(name);
	if (!namesakes)
	{
		const auto kin = fChildrenByServiceName.find(name);
		namesakes = kin == fChildrenByServiceName.end() ? nullptr : &kin->second;
	}
	if (!namesakes || index >= namesakes->size())
	{
		return nullptr;
	}
	return fChildren.at((*namesakes)[index]->fAttachNumber);
}

// --- Identity

GUIDClass *Service_abstract::createGUID()
{
	if (GUIDClass *guid = getGUID())
	{
		return guid;
	}
	if (!isCoordinator() && fParent.expired())
	{
		LOG_ERROR("no parent");
		return nullptr;
	}
	GUIDClass *guid = Object::createGUID();
	if (!guid)
	{
		LOG_ERROR("no guid");
	}
	return guid;
}

std::shared_ptr<const IObject> Service_abstract::getAddressObj()
{
	IRoutingCoordinator *coordinator = nullptr;
	ASSIGN_AS(coordinator, IRoutingCoordinator::current(),
	    "internalCoordinator = std::dynamic_pointer_cast<Mrv::InternalCoordinator>(Mrv::InternalCoordinator::factory());", return nullptr);
	GUIDClass *guid = createGUID();
	GUIDClass *coordinatorGUID = coordinator->getOwnGUID();
	SANITY_CHECK_AS(guid && coordinatorGUID, "guid", return nullptr);
	const auto *known = castTo<const LocalResolvedAddress>(fAddressObj.get());
	if (!known || known->getAddressedGUID() != guid || known->getUpstreamCoordinatorGUID() != coordinatorGUID)
	{
		fAddressObj = LocalResolvedAddress::factoryFromGUIDs(guid, coordinatorGUID);
	}
	return fAddressObj;
}

bool Service_abstract::deregisterObject()
{
	const std::shared_ptr<Object> self = shared_from_this(); // the parent may be the last one who holds it
	bool isDone = true;
	if (!fParent.expired())
	{
		isDone = detachFromParent();
	}
	while (!fChildren.empty())
	{
		removeChild(*fChildren.begin()->second);
	}
	fAddressObj = nullptr;
	return Object::deregisterObject() && isDone;
}

// --- Events and messages

bool Service_abstract::queueEvent(const std::shared_ptr<IObject> &eventObj)
{
	ASSIGN_TYPED(IEvent, event, eventObj, return false);
	fEventQueue.push_back(eventObj);
	return true;
}

bool Service_abstract::receiveMessage(const std::shared_ptr<IObject> &messageObj)
{
	static const std::string MESSAGE_RECEIVED = "messageReceived";
	return !hasListeners(MESSAGE_RECEIVED) || fireEvent(Event::factoryFromNamePayload(MESSAGE_RECEIVED, messageObj));
}

bool Service_abstract::isIdle() const
{
	if (!fEventQueue.empty() || hasWorkingEvent())
	{
		return false;
	}
	for (const auto &[number, child] : fChildren)
	{
		if (!child->isIdle())
		{
			return false;
		}
	}
	return true;
}

// --- A turn

std::shared_ptr<const Service_abstract::Snapshot> Service_abstract::getSnapshot() const
{
	if (!fSnapshot && !fChildren.empty())
	{
		auto snapshot = std::make_shared<Snapshot>();
		snapshot->reserve(fChildren.size());
		for (const auto &[number, child] : fChildren)
		{
			snapshot->push_back(child);
		}
		fSnapshot = std::move(snapshot);
	}
	return fSnapshot;
}

void Service_abstract::collectEvents()
{
	if (fEventQueue.empty())
	{
		return;
	}
	if (IMessagingCoordinator *coordinator = IMessagingCoordinator::current())
	{
		coordinator->reportMessagingActivityInEventLoop();
	}
	fWorkingQueue.insert(fWorkingQueue.end(), fEventQueue.begin(), fEventQueue.end());
	fEventQueue.clear();
}

// Whether a handler ran.
bool Service_abstract::fireNextEvent()
{
	const std::shared_ptr<IObject> eventObj = std::move(fWorkingQueue[fNextWorkingEvent++]);
	if (!hasWorkingEvent())
	{
		fWorkingQueue.clear();
		fNextWorkingEvent = 0;
	}
	const auto event = sharedCastTo<IEvent>(eventObj);
	if (!event->isReady())
	{
		fEventQueue.push_back(eventObj);
		return false;
	}
	fIsBusy = true;
	fireEvent(eventObj);
	return true;
}

void Service_abstract::timeslice_yielding(const std::shared_ptr<Task> &task, bool &success)
{
	struct LocalVariableState : OMFunctionState
	{
		std::shared_ptr<const Snapshot> children;
		std::size_t childrenLeft = 0;
		bool success = true;
		bool childSuccess = true;
	};
	enum At : int32_t
	{
		START = 0,
		EVENTS_COLLECTED = 1,
		EVENTS_FIRED = 2,
		CHILD_DONE = 1000002,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				fIsBusy = false;
				frame->children = getSnapshot();
				frame->childrenLeft = frame->children ? frame->children->size() : 0;
				collectEvents();
				frame.goTo(EVENTS_COLLECTED);
				[[fallthrough]];
			case EVENTS_COLLECTED:
				if (hasWorkingEvent())
				{
					if (fireNextEvent())
					{
						task->requestYield(); // a handler may have taken a whole slice
					}
					break;
				}
				frame.goTo(EVENTS_FIRED);
				[[fallthrough]];
			case EVENTS_FIRED:
			{
				if (frame->childrenLeft == 0)
				{
					success = frame->success;
					SANITY_CHECK(success, static_cast<void>(0));
					frame.finish();
					break;
				}
				const Child childServiceObj = (*frame->children)[frame->childrenLeft - 1].lock();
				if (!childServiceObj)
				{
					LOG_TRACE("no childServiceObj");
					frame->childSuccess = true;
					frame.goTo(CHILD_DONE);
					break;
				}
				frame.call(CHILD_DONE, [&] { childServiceObj->timeslice_yielding(task, frame->childSuccess); });
				break;
			}
			case CHILD_DONE:
				frame->success = frame->success && frame->childSuccess;
				--frame->childrenLeft;
				frame.goTo(EVENTS_FIRED);
				break;
			case DONE:
				break;
		}
	}
}
}
