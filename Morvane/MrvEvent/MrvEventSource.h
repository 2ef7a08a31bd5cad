#pragma once

#include "MrvEvent/MrvEventListener.h"
#include "MrvObject/MrvHash.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace Mrv
{
enum class AttachDetach
{
	ATTACH = 0,
	DETACH = 1,
};

class IEventSource
{
public:
	virtual ~IEventSource() = default;
	virtual bool attachDetachEventHandler(AttachDetach attachDetach, const std::string &eventName, const std::string &handlerId,
	    const std::shared_ptr<IEventListener> &listener) = 0;
	virtual bool fireEvent(const std::shared_ptr<IObject> &eventObj) = 0;

protected:
	IEventSource() = default;
	IEventSource(const IEventSource &) = default;
	IEventSource &operator=(const IEventSource &) = default;
};

// Fires events at the listeners of their names. Listeners are held weakly; one that has died is passed over until it is detached. The order
// among the listeners of a name is not to be relied on.
class EventSource : public virtual IEventSource
{
public:
	// Enters or removes a listener under an id of its own for that name. False, with a log line, when the id is taken, or, on DETACH, when
	// there is no such entry.
	bool attachDetachEventHandler(AttachDetach attachDetach, const std::string &eventName, const std::string &handlerId,
	    const std::shared_ptr<IEventListener> &listener) override;

	// Tells all listeners of the event's name, also those that a listener detaches meanwhile. False when one of them failed, or when
	// `eventObj` is no event.
	bool fireEvent(const std::shared_ptr<IObject> &eventObj) override;
	// Whether anybody was attached to the name: without one an event need not be made.
	bool hasListeners(const std::string &eventName) const { return fEventNameMap && fEventNameMap->contains(eventName); }

private:
	using ListenerMap = std::unordered_map<std::string, std::weak_ptr<IEventListener>, StringHash, std::equal_to<>>;
	using EventNameMap = std::unordered_map<std::string, std::shared_ptr<ListenerMap>, StringHash, std::equal_to<>>;

	bool attach(const std::string &eventName, const std::string &handlerId, const std::shared_ptr<IEventListener> &listener);
	bool detach(const std::string &eventName, const std::string &handlerId);

	std::shared_ptr<EventNameMap> fEventNameMap; // none while there are no listeners
};
}
