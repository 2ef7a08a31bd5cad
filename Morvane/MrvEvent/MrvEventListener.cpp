#include "MrvEvent/MrvEventListener.h"

#include "MrvEvent/MrvIEvent.h"
#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
bool EventListener::handleEvent(const std::string &, const std::shared_ptr<IObject> &eventObj)
{
	ASSIGN_TYPED(IEvent, event, eventObj, return false);
	event->setWasRootListenerCalled(true);
	return true;
}
}
