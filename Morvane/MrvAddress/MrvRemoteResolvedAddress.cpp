#include "MrvAddress/MrvRemoteResolvedAddress.h"

#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
const std::string RemoteResolvedAddress::TYPENAME = "RemoteResolvedAddress";

std::shared_ptr<IObject> RemoteResolvedAddress::factoryFromGUIDs(GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID)
{
	return make(addressedGUID, upstreamCoordinatorGUID);
}

std::shared_ptr<IObject> RemoteResolvedAddress::factoryFromGUIDsNameHost(
    GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID, const std::string &coordinatorName, const std::string &hostName)
{
	const std::shared_ptr<RemoteResolvedAddress> retVal = make(addressedGUID, upstreamCoordinatorGUID);
	retVal->fTravelledName = coordinatorName;
	retVal->fTravelledHost = hostName;
	return retVal;
}

bool RemoteResolvedAddress::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	if (!Address_abstract::serializeDeserializeContent(mode, serializer) || !serializeDeserializeGUIDs(mode, serializer))
	{
		return false;
	}
	if (mode == SerializeDeserialize::SERIALIZE)
	{
		return serializer.putString(upstreamHost());
	}
	if (!serializer.isStringAvailable())
	{
		LOG_ERROR("serializer at end");
		return false;
	}
	fTravelledHost = serializer.getString();
	return true;
}

std::shared_ptr<const IObject> RemoteResolvedAddress::resolved() const
{
	const std::string hostName = upstreamHost();
	if (hostName.empty())
	{
		return nullptr;
	}
	LOG_TRACE("hostName = " + hostName);
	if (!isLocalHost(hostName))
	{
		return factoryFromGUIDsNameHost(fAddressedGUID, fUpstreamCoordinatorGUID, fTravelledName, fTravelledHost);
	}
	LOG_TRACE("resolves to local");
	const auto local =
	    sharedCastTo<const IAddress>(LocalResolvedAddress::factoryFromGUIDsName(fAddressedGUID, fUpstreamCoordinatorGUID, fTravelledName));
	return local ? local->resolved() : nullptr;
}
}
