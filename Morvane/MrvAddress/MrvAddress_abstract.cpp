#include "MrvAddress/MrvAddress_abstract.h"

#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
bool Address_abstract::registerDeregisterClasses(RegisterDeregister registerDeregister)
{
	bool isDone = InternalAddress::registerDeregisterClass(registerDeregister);
	isDone = LocalUnresolvedAddress::registerDeregisterClass(registerDeregister) && isDone;
	isDone = RemoteUnresolvedAddress::registerDeregisterClass(registerDeregister) && isDone;
	isDone = LocalResolvedAddress::registerDeregisterClass(registerDeregister) && isDone;
	return RemoteResolvedAddress::registerDeregisterClass(registerDeregister) && isDone;
}

bool Address_abstract::isOwnCoordinatorName(const std::string &coordinatorName)
{
	const IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return coordinator && coordinator->isOwnCoordinatorName(coordinatorName);
}

bool Address_abstract::isLocalHost(const std::string &hostName)
{
	const IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return coordinator && coordinator->isLocalHost(hostName);
}

namespace
{
// What an address leads to, as the object that it is.
std::shared_ptr<IObject> findTarget(const std::shared_ptr<const IObject> &addressObj)
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	const std::shared_ptr<const IObject> target = coordinator ? coordinator->resolveAddress(addressObj) : nullptr;
	return target ? Object::getObjectFromID(target->getID()) : nullptr;
}

// What two addresses that lead to the same target have in common.
struct Identity
{
	GUIDClass *addressed = nullptr;
	GUIDClass *upstream = nullptr;
	std::string host;
	std::string name;
	std::string indices;

	bool operator==(const Identity &) const = default;
};

Identity identityOf(const Address_abstract &address)
{
	const std::shared_ptr<const IObject> resolved = address.resolved();
	const auto *exact = castTo<const Address_abstract>(resolved.get());
	const Address_abstract &best = exact ? *exact : address;
	Identity identity;
	if (const auto *guidAddress = castTo<const IGUIDAddress>(&best))
	{
		identity.addressed = guidAddress->getAddressedGUID();
		identity.upstream = guidAddress->getUpstreamCoordinatorGUID();
		return identity;
	}
	const IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	identity.host = best.getHostName();
	if (coordinator && coordinator->isLocalHost(identity.host))
	{
		identity.host.clear();
	}
	identity.name = best.getCoordinatorName();
	if (coordinator && identity.host.empty() && coordinator->isOwnCoordinatorName(identity.name))
	{
		identity.name.clear();
	}
	if (const auto *indexed = castTo<const IIndexedAddress>(&best))
	{
		identity.indices = indexed->getIndices();
	}
	return identity;
}
}

std::shared_ptr<const IObject> Address_abstract::resolveInProcess() const
{
	const auto addressable = sharedCastTo<IAddressable>(findTarget(shared_from_this()));
	return addressable ? addressable->getAddressObj() : nullptr;
}

GUIDClass *Address_abstract::guidOfTargetInProcess() const
{
	const std::shared_ptr<IObject> target = findTarget(shared_from_this());
	return target ? target->createGUID() : nullptr;
}

bool Address_abstract::operator==(const IObject &other) const
{
	const auto *address = castTo<const Address_abstract>(&other);
	return address && (address == this || identityOf(*this) == identityOf(*address));
}
}
