#pragma once

#include "MrvAddress/MrvIAddress.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvSerializer/MrvISerializer.h"

#include <string>

namespace Mrv
{
// The part of an address that is a pair of GUIDs: the target's and that of the coordinator it lives in. GUIDs aren't owned. What
// travelled with them, the coordinator's name and host, serves where this coordinator knows no better.
class GUIDAddress_trait : public virtual IGUIDAddress
{
public:
	GUIDClass *getAddressedGUID() const override { return fAddressedGUID; }
	GUIDClass *getUpstreamCoordinatorGUID() const override { return fUpstreamCoordinatorGUID; }

	// "mrv://<upstream>/<addressed>", and "/<tail>" unless the tail is empty.
	std::string getGUIDAddressURL(const std::string &tail = {}) const;

protected:
	GUIDAddress_trait() = default;
	GUIDAddress_trait(GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID)
	    : fAddressedGUID(addressedGUID),
	      fUpstreamCoordinatorGUID(upstreamCoordinatorGUID)
	{
	}
	~GUIDAddress_trait() = default;
	// The GUIDs and the name, which may be empty.
	bool serializeDeserializeGUIDs(SerializeDeserialize mode, ISerializer &serializer);
	std::string guidsToString() const;
	// What the coordinator knows of the upstream, else what travelled.
	std::string upstreamName() const;
	std::string upstreamHost() const;
	bool isUpstreamKnown() const;
	bool isOwnUpstream() const;
	bool isInternalCoordinator() const;
	// The own address of the target, when that lives in this process; empty when there is no such object.
	std::shared_ptr<const IObject> addressOfTarget() const;

	GUIDClass *fAddressedGUID = nullptr;
	GUIDClass *fUpstreamCoordinatorGUID = nullptr;
	std::string fTravelledName;
	std::string fTravelledHost;
};
}
