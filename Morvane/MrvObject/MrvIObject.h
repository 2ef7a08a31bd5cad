#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
class GUIDClass;
class Object;

// Everything that can be addressed, sent or looked up. Lives in a `shared_ptr`; may have an id, unique in this process, and a GUID.
class IObject
{
public:
	virtual ~IObject() = default;

	// This object's GUID, made and registered on first use; null, with a log line, when it has no id. Not owned by the caller.
	virtual GUIDClass *createGUID() = 0;

	// Takes back the GUID, then the id. False at the first failure.
	virtual bool deregisterObject() = 0;
	virtual bool deregisterObjectGUID() = 0;
	virtual bool deregisterObjectID() = 0;

	// The GUID, null when none was made yet.
	virtual GUIDClass *getGUID() const = 0;

	// The id, 0 when the object isn't registered.
	virtual std::uint64_t getID() const = 0;
	virtual Object *getObject() = 0;
	virtual bool isObjectGUIDRegistered() const = 0;
	virtual bool isObjectIDRegistered() const = 0;
	virtual bool registerObjectGUID() = 0;

	// Gives `objPtr`, the pointer that the object lives in, the next id. False when it has one already, which it keeps.
	virtual bool registerObjectID(const std::shared_ptr<IObject> &objPtr) = 0;
	virtual std::string toString() const = 0;
	virtual const std::string &getTypeName() const = 0;

	// Whether both are the same object.
	virtual bool operator==(const IObject &other) const = 0;
	virtual bool operator!=(const IObject &other) const = 0;

protected:
	IObject() = default;
	IObject(const IObject &) = default;
	IObject &operator=(const IObject &) = default;
};
}
