#include "MrvAddress/MrvLocalResolvedAddress.h"

namespace Mrv
{
const std::string LocalResolvedAddress::TYPENAME = "LocalResolvedAddress";

std::shared_ptr<IObject> LocalResolvedAddress::factoryFromGUIDs(GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID)
{
	return make(addressedGUID, upstreamCoordinatorGUID);
}

std::shared_ptr<IObject> LocalResolvedAddress::factoryFromGUIDsName(
    GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID, const std::string &coordinatorName)
{
	const std::shared_ptr<LocalResolvedAddress> retVal = make(addressedGUID, upstreamCoordinatorGUID);
	retVal->fTravelledName = coordinatorName;
	return retVal;
}

bool LocalResolvedAddress::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	return Address_abstract::serializeDeserializeContent(mode, serializer) && serializeDeserializeGUIDs(mode, serializer);
}

std::shared_ptr<const IObject> LocalResolvedAddress::resolved() const
{
	if (!isUpstreamKnown())
	{
		return nullptr;
	}
	return isOwnUpstream() ? addressOfTarget() : shared_from_this();
}
}
