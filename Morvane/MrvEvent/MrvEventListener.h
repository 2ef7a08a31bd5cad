#pragma once

#include "MrvObject/MrvIObject.h"

#include <memory>
#include <string>

namespace Mrv
{
class IEventListener
{
public:
	virtual ~IEventListener() = default;
	// Is told of an event (an IEvent object). False: it failed; the others are told all the same.
	virtual bool handleEvent(const std::string &eventName, const std::shared_ptr<IObject> &eventObj) = 0;

protected:
	IEventListener() = default;
	IEventListener(const IEventListener &) = default;
	IEventListener &operator=(const IEventListener &) = default;
};

// The root of all listeners: each override calls it.
class EventListener : public virtual IEventListener
{
public:
	bool handleEvent(const std::string &eventName, const std::shared_ptr<IObject> &eventObj) override;
};
}
