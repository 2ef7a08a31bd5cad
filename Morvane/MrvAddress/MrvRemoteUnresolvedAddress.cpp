#include "MrvAddress/MrvRemoteUnresolvedAddress.h"

#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
const std::string RemoteUnresolvedAddress::TYPENAME = "RemoteUnresolvedAddress";

std::shared_ptr<IObject> RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName(
    const std::string &coordinatorName, const std::string &indices, const std::string &hostName)
{
	return make(coordinatorName, indices, hostName);
}

bool RemoteUnresolvedAddress::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	return Address_abstract::serializeDeserializeContent(mode, serializer) && serializeDeserializeName(mode, serializer) &&
	       serializeDeserializeIndices(mode, serializer) && serializeDeserializeHost(mode, serializer);
}

std::string RemoteUnresolvedAddress::getURL() const
{
	return isInternalCoordinatorAddress() ? "mrv:////" : "mrv://" + fHostName + "/" + fCoordinatorName + "/" + getIndices();
}

bool RemoteUnresolvedAddress::isInternalCoordinatorAddress() const
{
	return getIndices().empty() && isLocalHost(fHostName) && isOwnCoordinatorName(fCoordinatorName);
}

std::shared_ptr<const IObject> RemoteUnresolvedAddress::resolved() const
{
	LOG_TRACE("fHostName = " + fHostName);
	if (!isLocalHost(fHostName))
	{
		return shared_from_this();
	}
	LOG_TRACE("resolves to local");
	const auto local =
	    sharedCastTo<const IAddress>(LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(fCoordinatorName, getIndices()));
	return local ? local->resolved() : nullptr;
}

GUIDClass *RemoteUnresolvedAddress::getAddressedGUID() const
{
	return isLocalHost(fHostName) && isOwnCoordinatorName(fCoordinatorName) ? guidOfTargetInProcess() : nullptr;
}

GUIDClass *RemoteUnresolvedAddress::getUpstreamCoordinatorGUID() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return coordinator ? coordinator->getUpstreamCoordinatorGUID(fHostName, fCoordinatorName) : nullptr;
}
}
