#pragma once

#include "MrvObject/MrvIObject.h"

#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
// The name of one coordinator or service anywhere in the fabric. Immutable, and held as a shared pointer to a const IObject; what it says
// is asked through the interfaces below, by dynamic cast.
class IAddress : public virtual IObject
{
public:
	// The textual form, "mrv://...".
	virtual std::string getURL() const = 0;
	// Empty when nobody knows.
	virtual std::string getCoordinatorName() const = 0;
	virtual std::string getHostName() const = 0;
	// Whether it names the coordinator of this process itself.
	virtual bool isInternalCoordinatorAddress() const = 0;
	// The most exact address that this coordinator can give for the target now; empty when the target doesn't exist.
	virtual std::shared_ptr<const IObject> resolved() const = 0;
};

class ICoordinatorNameAddress
{
public:
	virtual std::string getCoordinatorName() const = 0;

protected:
	~ICoordinatorNameAddress() = default;
};

class IHostNameAddress
{
public:
	virtual std::string getHostName() const = 0;

protected:
	~IHostNameAddress() = default;
};

// A target by the path that leads to it: names and numbers in turn.
class IIndexedAddress
{
public:
	virtual const std::string &getIndices() const = 0;
	// The same, split.
	virtual const std::vector<std::string> &getIndexVector() const = 0;

protected:
	~IIndexedAddress() = default;
};

// A target by its GUID and that of the coordinator above it. Of the concrete addresses only those that hold two GUIDs.
class IGUIDAddress
{
public:
	virtual GUIDClass *getAddressedGUID() const = 0;
	virtual GUIDClass *getUpstreamCoordinatorGUID() const = 0;

protected:
	~IGUIDAddress() = default;
};

// What an address can lead to.
class IAddressable
{
public:
	virtual std::shared_ptr<const IObject> getAddressObj() = 0;
	std::shared_ptr<const IObject> getAddress() { return getAddressObj(); }

protected:
	~IAddressable() = default;
};
}
