#include "MrvEvent/MrvEventSource.h"

#include "MrvEvent/MrvIEvent.h"
#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
bool EventSource::attachDetachEventHandler(
    AttachDetach attachDetach, const std::string &eventName, const std::string &handlerId, const std::shared_ptr<IEventListener> &listener)
{
	switch (attachDetach)
	{
		case AttachDetach::ATTACH:
			return attach(eventName, handlerId, listener);
		case AttachDetach::DETACH:
			return detach(eventName, handlerId);
	}
	LOG_ERROR("no attachDetach");
	return false;
}

bool EventSource::attach(const std::string &eventName, const std::string &handlerId, const std::shared_ptr<IEventListener> &listener)
{
	if (!fEventNameMap)
	{
		fEventNameMap = std::make_shared<EventNameMap>();
	}
	std::shared_ptr<ListenerMap> &eventListenerMap = (*fEventNameMap)[eventName];
	if (!eventListenerMap)
	{
		eventListenerMap = std::make_shared<ListenerMap>();
	}
	const auto eventListenerIter = eventListenerMap->find(handlerId);
	SANITY_CHECK(eventListenerIter == eventListenerMap->end(), return false);
	eventListenerMap->emplace(handlerId, listener);
	return true;
}

bool EventSource::detach(const std::string &eventName, const std::string &handlerId)
{
	SANITY_CHECK(fEventNameMap, return false);
	const auto eventNameIter = fEventNameMap->find(eventName);
	SANITY_CHECK(eventNameIter != fEventNameMap->end(), return false);
	const std::shared_ptr<ListenerMap> eventListenerMap = eventNameIter->second;
	SANITY_CHECK(eventListenerMap, return false);
	const auto eventHandlerEntryIter = eventListenerMap->find(handlerId);
	SANITY_CHECK(eventHandlerEntryIter != eventListenerMap->end(), return false);
	eventListenerMap->erase(eventHandlerEntryIter);
	if (eventListenerMap->empty())
	{
		fEventNameMap->erase(eventNameIter);
	}
	if (fEventNameMap->empty())
	{
		fEventNameMap = nullptr;
	}
	return true;
}

bool EventSource::fireEvent(const std::shared_ptr<IObject> &eventObj)
{
	ASSIGN_TYPED(IEvent, event, eventObj, return false);
	if (!fEventNameMap)
	{
		return true;
	}
	const auto eventNameIter = fEventNameMap->find(event->getName());
	if (eventNameIter == fEventNameMap->end())
	{
		return true;
	}
	// A copy, since listeners attach and detach while the event is being told.
	const ListenerMap eventListenerMap = *eventNameIter->second;
	bool isHandled = true;
	for (const auto &[handlerId, weakListener] : eventListenerMap)
	{
		const std::shared_ptr<IEventListener> eventListener = weakListener.lock();
		if (!eventListener)
		{
			continue;
		}
		event->reset();
		event->setEventSource(this);
		if (!eventListener->handleEvent(event->getName(), eventObj))
		{
			LOG_ERROR("handleEvent failed");
			isHandled = false;
		}
		EXPECTED(event->wasRootListenerCalled());
		event->setEventSource(nullptr);
	}
	return isHandled;
}
}
