#pragma once

#include "MrvObject/MrvIObject.h"

#include <memory>
#include <string>

namespace Mrv
{
// What addresses ask of the coordinator of this process. The coordinator implements it and is the current one while it exists.
class IRoutingCoordinator
{
public:
	// Null before the coordinator is made and when it has gone. May make it on first use.
	static IRoutingCoordinator *current();
	// Says how `current` finds the coordinator. A null function means that there is none.
	static void setProvider(IRoutingCoordinator *(*provider)());

	virtual const std::string &getOwnCoordinatorName() const = 0;
	// Whether a name in an address, which may be a short one, is this coordinator's.
	virtual bool isOwnCoordinatorName(const std::string &coordinatorName) const = 0;
	virtual GUIDClass *getOwnGUID() = 0;

	// What is known of the coordinator with that GUID; empty when nothing is.
	virtual const std::string &getCoordinatorName(GUIDClass *upstreamCoordinatorGUID) = 0;
	virtual const std::string &getHostName(GUIDClass *upstreamCoordinatorGUID) = 0;
	virtual bool isValidUpstreamCoordinatorGUID(GUIDClass *upstreamCoordinatorGUID) = 0;
	// The GUID of the coordinator of that name, null when it isn't known. An empty host is this one.
	virtual GUIDClass *getUpstreamCoordinatorGUID(const std::string &hostName, const std::string &coordinatorName) = 0;
	virtual bool isLocalHost(const std::string &hostName) const = 0;

	// The service or coordinator in this process that an address leads to; empty when there is none.
	virtual std::shared_ptr<const IObject> resolveAddress(const std::shared_ptr<const IObject> &addressObj) = 0;

protected:
	~IRoutingCoordinator() = default;
};
}
