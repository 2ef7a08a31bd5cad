#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvCoordinatorNameAddress_trait.h"
#include "MrvAddress/MrvHostNameAddress_trait.h"
#include "MrvAddress/MrvIndexedAddress_trait.h"
#include "MrvData/MrvDataClass.h"

namespace Mrv
{
// A service of a coordinator on a named host: another one than this, or one not yet known to be this.
class RemoteUnresolvedAddress final : public DataClass<RemoteUnresolvedAddress, Address_abstract>,
                                      public CoordinatorNameAddress_trait,
                                      public IndexedAddress_trait,
                                      public HostNameAddress_trait
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factoryFromCoordinatorNameIndicesHostName(
	    const std::string &coordinatorName, const std::string &indices, const std::string &hostName);

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::string getURL() const override;
	std::string getCoordinatorName() const override { return fCoordinatorName; }
	std::string getHostName() const override { return fHostName; }
	bool isInternalCoordinatorAddress() const override;
	std::shared_ptr<const IObject> resolved() const override;
	GUIDClass *getAddressedGUID() const override;
	GUIDClass *getUpstreamCoordinatorGUID() const override;
	std::string toString() const override { return nameToString() + " " + indicesToString() + " " + hostToString(); }

private:
	friend class DataClass<RemoteUnresolvedAddress, Address_abstract>;
	RemoteUnresolvedAddress() = default;
	RemoteUnresolvedAddress(const std::string &coordinatorName, const std::string &indices, const std::string &hostName)
	    : CoordinatorNameAddress_trait(coordinatorName),
	      IndexedAddress_trait(indices),
	      HostNameAddress_trait(hostName)
	{
	}
};
}
