#pragma once

#include "MrvAddress/MrvIAddress.h"
#include "MrvSerializer/MrvISerializer.h"

namespace Mrv
{
// The part of an address that is a coordinator's name, as it was written. A bad one is logged and kept.
class CoordinatorNameAddress_trait : public virtual ICoordinatorNameAddress
{
public:
	std::string getCoordinatorName() const override { return fCoordinatorName; }

protected:
	CoordinatorNameAddress_trait() = default;
	explicit CoordinatorNameAddress_trait(const std::string &coordinatorName);
	~CoordinatorNameAddress_trait() = default;
	// A bad name that is read is a failure.
	bool serializeDeserializeName(SerializeDeserialize mode, ISerializer &serializer);
	std::string nameToString() const { return "Coordinator = " + fCoordinatorName; }

	std::string fCoordinatorName;
};
}
