#pragma once

#include "MrvAddress/MrvIAddress.h"
#include "MrvData/MrvData_abstract.h"

#include <memory>
#include <string>

namespace Mrv
{
// The base of the five classes of addresses. Each class is a target by name and path (InternalAddress, LocalUnresolvedAddress,
// RemoteUnresolvedAddress) or by GUIDs (LocalResolvedAddress, RemoteResolvedAddress).
class Address_abstract : public Data_abstract, public IAddress, public virtual ICoordinatorNameAddress, public virtual IHostNameAddress
{
public:
	// The address that a URL stands for; which class depends on what this coordinator knows. Empty, without a log line, for another scheme,
	// and with one when there is no coordinator or a GUID isn't valid. Bad names and indices are logged and kept. `tail` is cleared and
	// gets the free text behind two slashes, without slashes at its ends.
	static std::shared_ptr<IObject> factoryFromURL(const std::string &url, std::string &tail);

	std::string getCoordinatorName() const override = 0;
	std::string getHostName() const override = 0;

	// Of any kind of address: the GUID of the target, and of the coordinator it lives in; null when they aren't known.
	virtual GUIDClass *getAddressedGUID() const = 0;
	virtual GUIDClass *getUpstreamCoordinatorGUID() const = 0;

	// Whether both lead to the same target: by what they resolve to, else by host, name and path.
	bool operator==(const IObject &other) const override;

	// Enters or removes all five.
	static bool registerDeregisterClasses(RegisterDeregister registerDeregister);

protected:
	// Asks the coordinator; no where there is none.
	static bool isOwnCoordinatorName(const std::string &coordinatorName);
	static bool isLocalHost(const std::string &hostName);
	// For a target by its path in this process: its own address, and its GUID. Empty when there is no such target.
	std::shared_ptr<const IObject> resolveInProcess() const;
	GUIDClass *guidOfTargetInProcess() const;
};
}
