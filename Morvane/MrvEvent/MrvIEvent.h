#pragma once

#include "MrvData/MrvIData.h"

#include <memory>
#include <string>

namespace Mrv
{
class EventSource;

// Something that happened, told to whoever listens to its name.
class IEvent : public virtual IData
{
public:
	// Whether a queued event may be fired yet.
	virtual bool isReady() const = 0;
	virtual const std::string &getName() const = 0;
	// An IData object, or null.
	virtual const std::shared_ptr<IObject> &getPayloadObj() const = 0;
	virtual void setPayloadObj(const std::shared_ptr<IObject> &payloadObj) = 0;
	// Who fires it, while it does; not owned.
	virtual EventSource *getEventSource() const = 0;
	virtual void setEventSource(EventSource *eventSource) = 0;
	// Whether the listener that is being told has called the root's `handleEvent`.
	virtual bool wasRootListenerCalled() const = 0;
	virtual void setWasRootListenerCalled(bool wasCalled) = 0;
	// Forgets source and flag.
	virtual void reset() = 0;
};
}
