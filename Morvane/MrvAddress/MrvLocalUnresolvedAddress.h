#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvCoordinatorNameAddress_trait.h"
#include "MrvAddress/MrvIndexedAddress_trait.h"
#include "MrvData/MrvDataClass.h"

namespace Mrv
{
// A service of a coordinator on this host, by the coordinator's name.
class LocalUnresolvedAddress final : public DataClass<LocalUnresolvedAddress, Address_abstract>,
                                     public CoordinatorNameAddress_trait,
                                     public IndexedAddress_trait
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factoryFromCoordinatorNameIndices(const std::string &coordinatorName, const std::string &indices);

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::string getURL() const override;
	std::string getCoordinatorName() const override { return fCoordinatorName; }
	std::string getHostName() const override { return "localhost"; }
	bool isInternalCoordinatorAddress() const override;
	std::shared_ptr<const IObject> resolved() const override;
	GUIDClass *getAddressedGUID() const override;
	GUIDClass *getUpstreamCoordinatorGUID() const override;
	std::string toString() const override { return nameToString() + " " + indicesToString(); }

private:
	friend class DataClass<LocalUnresolvedAddress, Address_abstract>;
	LocalUnresolvedAddress() = default;
	LocalUnresolvedAddress(const std::string &coordinatorName, const std::string &indices)
	    : CoordinatorNameAddress_trait(coordinatorName),
	      IndexedAddress_trait(indices)
	{
	}
};
}
