#pragma once

#include "MrvAddress/MrvIAddress.h"
#include "MrvSerializer/MrvISerializer.h"

namespace Mrv
{
// The part of an address that is a host's name.
class HostNameAddress_trait : public virtual IHostNameAddress
{
public:
	std::string getHostName() const override { return fHostName; }

protected:
	HostNameAddress_trait() = default;
	explicit HostNameAddress_trait(std::string hostName) : fHostName(std::move(hostName)) {}
	~HostNameAddress_trait() = default;
	bool serializeDeserializeHost(SerializeDeserialize mode, ISerializer &serializer);
	std::string hostToString() const { return "Hostname = " + fHostName; }

	std::string fHostName;
};
}
