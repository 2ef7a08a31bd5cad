#include "MrvAddress/MrvInternalAddress.h"

#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
const std::string InternalAddress::TYPENAME = "InternalAddress";

std::shared_ptr<IObject> InternalAddress::factoryFromIndices(const std::string &indices)
{
	return make(indices);
}

bool InternalAddress::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	return Address_abstract::serializeDeserializeContent(mode, serializer) && serializeDeserializeIndices(mode, serializer);
}

std::string InternalAddress::getURL() const
{
	return "mrv:////" + getIndices();
}

std::string InternalAddress::getCoordinatorName() const
{
	const IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return coordinator ? coordinator->getOwnCoordinatorName() : std::string();
}

std::string InternalAddress::getHostName() const
{
	return "localhost";
}

std::shared_ptr<const IObject> InternalAddress::resolved() const
{
	return resolveInProcess();
}

GUIDClass *InternalAddress::getAddressedGUID() const
{
	return guidOfTargetInProcess();
}

GUIDClass *InternalAddress::getUpstreamCoordinatorGUID() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return coordinator ? coordinator->getOwnGUID() : nullptr;
}
}
