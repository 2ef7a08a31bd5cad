#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvGUIDAddress_trait.h"
#include "MrvData/MrvDataClass.h"

namespace Mrv
{
// An object on this host by its GUID and the GUID of the coordinator it lives in. The name of that coordinator travels with it.
class LocalResolvedAddress final : public DataClass<LocalResolvedAddress, Address_abstract>, public GUIDAddress_trait
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factoryFromGUIDs(GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID);
	// The same with the name that came along.
	static std::shared_ptr<IObject> factoryFromGUIDsName(
	    GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID, const std::string &coordinatorName);

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::string getURL() const override { return isInternalCoordinator() ? "mrv:////" : getGUIDAddressURL(); }
	std::string getCoordinatorName() const override { return upstreamName(); }
	std::string getHostName() const override { return upstreamHost(); }
	bool isInternalCoordinatorAddress() const override { return isInternalCoordinator(); }
	std::shared_ptr<const IObject> resolved() const override;
	GUIDClass *getAddressedGUID() const override { return fAddressedGUID; }
	GUIDClass *getUpstreamCoordinatorGUID() const override { return fUpstreamCoordinatorGUID; }
	std::string toString() const override { return guidsToString(); }

private:
	friend class DataClass<LocalResolvedAddress, Address_abstract>;
	LocalResolvedAddress() = default;
	LocalResolvedAddress(GUIDClass *addressedGUID, GUIDClass *upstreamCoordinatorGUID)
	    : GUIDAddress_trait(addressedGUID, upstreamCoordinatorGUID)
	{
	}
};
}
