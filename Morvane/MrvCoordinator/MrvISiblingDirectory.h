#pragma once

#include "MrvObject/MrvIObject.h"

#include <memory>
#include <string>

namespace Mrv
{
class GUIDClass;

// Another coordinator on this machine, as the router sees it.
class ISibling
{
public:
	// Takes a message on its way there. False, with a log line, when it can't.
	virtual bool relayOutgoingMessage(const std::shared_ptr<const IObject> &messageObj) = 0;

protected:
	~ISibling() = default;
};

// Who finds the other coordinators on this machine. Without one there are none.
class ISiblingDirectory
{
public:
	virtual ~ISiblingDirectory() = default;

	// The coordinator of that full name, made if it is one that can be reached or started; null for one that nobody has heard of.
	virtual std::shared_ptr<ISibling> findSibling(const std::string &coordinatorName) = 0;
	// Whether something goes by exactly this name, so that it isn't short for another. Looks at what is known already, at no file.
	virtual bool isKnownName(const std::string &coordinatorName) const = 0;
	// Whether the coordinator of that name is known to live under this GUID: then nobody else can take the name.
	virtual bool isAliveUnder(const std::string &coordinatorName, GUIDClass *coordinatorGUID) const = 0;

	// The searches of a pass: which siblings are still there, which pipes have come, which are configured. Each looks only at its
	// intervals. False, with a log line, when something found is no sibling.
	virtual bool scanForActiveSiblings() { return true; }
	virtual bool scanForNamedPipeSiblings() { return true; }
	virtual bool scanForConfigSiblings() { return true; }
	// Whether a message waits to be sent, or is being sent, to any of them.
	virtual bool hasMessagesToSend() const { return false; }
	// Whether the end of this process has to wait for one of them: messages for it are left, and it lives.
	virtual bool isHoldingSiblingResponsesForTermination() const { return false; }

protected:
	ISiblingDirectory() = default;
	ISiblingDirectory(const ISiblingDirectory &) = default;
	ISiblingDirectory &operator=(const ISiblingDirectory &) = default;
};
}
