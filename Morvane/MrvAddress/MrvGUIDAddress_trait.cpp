#include "MrvAddress/MrvGUIDAddress_trait.h"

#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvObject.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
namespace
{
std::string textOf(GUIDClass *guid)
{
	return guid ? guid->toSectionedString() : std::string();
}
}

std::string GUIDAddress_trait::getGUIDAddressURL(const std::string &tail) const
{
	std::string url = "mrv://" + textOf(fUpstreamCoordinatorGUID) + "/" + textOf(fAddressedGUID);
	if (!tail.empty())
	{
		url += "/" + tail;
	}
	return url;
}

bool GUIDAddress_trait::serializeDeserializeGUIDs(SerializeDeserialize mode, ISerializer &serializer)
{
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serializer.putGUID(fAddressedGUID) && serializer.putGUID(fUpstreamCoordinatorGUID) &&
			       serializer.putString(upstreamName());
		case SerializeDeserialize::DESERIALIZE:
			fAddressedGUID = serializer.getGUID();
			fUpstreamCoordinatorGUID = serializer.getGUID();
			if (!serializer.isStringAvailable())
			{
				LOG_ERROR("serializer at end");
				return false;
			}
			fTravelledName = serializer.getString();
			SANITY_CHECK_AS(fTravelledName.empty() || Utils::isCoordinatorName(fTravelledName), "Utils::isIdentifierName(fCoordinatorName)",
			    return false);
			return true;
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}

std::string GUIDAddress_trait::guidsToString() const
{
	return "AddressedGUID = " + textOf(fAddressedGUID) + " UpstreamCoordinatorGUID = " + textOf(fUpstreamCoordinatorGUID);
}

std::string GUIDAddress_trait::upstreamName() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	if (coordinator && fUpstreamCoordinatorGUID)
	{
		if (const std::string &name = coordinator->getCoordinatorName(fUpstreamCoordinatorGUID); !name.empty())
		{
			return name;
		}
	}
	return fTravelledName;
}

std::string GUIDAddress_trait::upstreamHost() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	if (coordinator && fUpstreamCoordinatorGUID)
	{
		if (const std::string &host = coordinator->getHostName(fUpstreamCoordinatorGUID); !host.empty())
		{
			return host;
		}
	}
	return fTravelledHost;
}

bool GUIDAddress_trait::isUpstreamKnown() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return fUpstreamCoordinatorGUID && coordinator &&
	       (coordinator->isValidUpstreamCoordinatorGUID(fUpstreamCoordinatorGUID) || !fTravelledName.empty());
}

bool GUIDAddress_trait::isOwnUpstream() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return fUpstreamCoordinatorGUID && coordinator && coordinator->getOwnGUID() == fUpstreamCoordinatorGUID;
}

bool GUIDAddress_trait::isInternalCoordinator() const
{
	IRoutingCoordinator *coordinator = IRoutingCoordinator::current();
	return fAddressedGUID && coordinator && coordinator->getOwnGUID() == fAddressedGUID;
}

std::shared_ptr<const IObject> GUIDAddress_trait::addressOfTarget() const
{
	if (!fAddressedGUID)
	{
		return nullptr;
	}
	const std::shared_ptr<const IObject> target = Object::getRegisteredObject(fAddressedGUID);
	// Found as constant; its address is made on demand.
	const auto addressable = target ? sharedCastTo<IAddressable>(Object::getObjectFromID(target->getID())) : nullptr;
	return addressable ? addressable->getAddressObj() : nullptr;
}
}
