#include "MrvAddress/MrvLocalUnresolvedAddress.h"

#include "MrvAddress/MrvIRoutingCoordinator.h"

namespace Mrv
{
const std::string LocalUnresolvedAddress::TYPENAME = "LocalUnresolvedAddress";

std::shared_ptr<IObject> LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(
    const std::string &coordinatorName, const std::string &indices)
{
	return make(coordinatorName, indices);
}

bool LocalUnresolvedAddress::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	return Address_abstract::serializeDeserializeContent(mode, serializer) && serializeDeserializeName(mode, serializer) &&
	       serializeDeserializeIndices(mode, serializer);
}

std::string LocalUnresolvedAddress::getURL() const
{
	return isInternalCoordinatorAddress() ? "mrv:////" : "mrv:///" + fCoordinatorName + "/" + getIndices();
}

bool LocalUnresolvedAddress::isInternalCoordinatorAddress() const
{
	return getIndices().empty() && isOwnCoordinatorName(fCoordinatorName);
}

std::shared_ptr<const IObject> LocalUnresolvedAddress::resolved() const
{
	return isOwnCoordinatorName(fCoordinatorName) ? resolveInProcess() : shared_from_this();
}

GUIDClass *LocalUnresolvedAddress::getAddressedGUID() const
{
	return isOwnCoordinatorName(fCoordinatorName) ? guidOfTargetInProcess() : nullptr;
}

GUIDClass *LocalUnresolvedAddress::getUpstreamCoordinatorGUID() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return coordinator ? coordinator->getUpstreamCoordinatorGUID({}, fCoordinatorName) : nullptr;
}
}
