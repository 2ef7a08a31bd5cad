#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvIndexedAddress_trait.h"
#include "MrvData/MrvDataClass.h"

namespace Mrv
{
// A service of the coordinator in which the address lives; without a path the coordinator itself.
class InternalAddress final : public DataClass<InternalAddress, Address_abstract>, public IndexedAddress_trait
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factoryFromIndices(const std::string &indices);

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::string getURL() const override;
	std::string getCoordinatorName() const override;
	std::string getHostName() const override;
	bool isInternalCoordinatorAddress() const override { return getIndices().empty(); }
	std::shared_ptr<const IObject> resolved() const override;
	GUIDClass *getAddressedGUID() const override;
	GUIDClass *getUpstreamCoordinatorGUID() const override;
	std::string toString() const override { return indicesToString(); }

private:
	friend class DataClass<InternalAddress, Address_abstract>;
	InternalAddress() = default;
	explicit InternalAddress(const std::string &indices) : IndexedAddress_trait(indices) {}
};
}
