#pragma once

#include "MrvObject/MrvFactoryWrapper.h"
#include "MrvObject/MrvHash.h"
#include "MrvObject/MrvIObject.h"
#include "MrvObject/MrvOpCode.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mrv
{
// What a class's `registerDeregisterClass` is asked to do.
enum class RegisterDeregister
{
	REGISTER = 0,
	DEREGISTER = 1,
};

// The base of nearly every `IObject`, and the registries: type names to factories, ids and GUIDs to living objects.
//
// A class's factory makes the object, wraps it in a `shared_ptr` with the class's static `deleter`, and calls `registerObjectID`. The
// class's deleter calls `Object::deleter`, which takes the registrations back, and then deletes.
//
// The registries come into being when the library is loaded. `deleteMaps` takes them away at the end of a run; operations that find
// one absent fail quietly enough for objects that die later.
class Object : public virtual IObject, public virtual std::enable_shared_from_this<Object>
{
public:
	GUIDClass *createGUID() override;
	bool deregisterObject() override;
	bool deregisterObjectGUID() override;
	bool deregisterObjectID() override;
	GUIDClass *getGUID() const override { return fGUID; }
	std::uint64_t getID() const override { return fID; }
	Object *getObject() override { return this; }
	bool isObjectGUIDRegistered() const override;
	bool isObjectIDRegistered() const override { return fID != 0; }
	bool registerObjectGUID() override;
	bool registerObjectID(const std::shared_ptr<IObject> &objPtr) override;

	// The type name, unless a class has more to say.
	std::string toString() const override { return getTypeName(); }
	bool operator==(const IObject &other) const override;
	bool operator!=(const IObject &other) const override { return !(*this == other); }

	// Enter a factory under a type name. False, with a log line, when the name has one already, which stays.
	// Of plain factories only those that say so are called for a type name that came from outside.
	enum class FactoryUse
	{
		OWN_NAMES,
		FOREIGN_TEXT,
	};
	static bool registerFactory(const std::string &typeName, Factory factory, FactoryUse use = FactoryUse::OWN_NAMES);
	static bool registerByNameFactory(const std::string &typeName, ByNameFactory factory);
	static bool registerDeserializationFactory(const std::string &typeName, DeserializationFactory factory);

	// Remove it. False, with a log line, when the name is unknown; true when the registry itself has gone.
	static bool deregisterFactory(const std::string &typeName);
	static bool deregisterByNameFactory(const std::string &typeName);
	static bool deregisterDeserializationFactory(const std::string &typeName);

	// A wrapper, empty when the name is unknown.
	static FactoryWrapperClass getFactory(const std::string &typeName);
	// Empty too when the factory isn't fit for foreign text.
	static FactoryWrapperClass getFactoryForForeignText(const std::string &typeName);
	static ByNameFactoryWrapperClass getByNameFactory(const std::string &typeName);
	static DeserializationFactoryWrapperClass getDeserializationFactory(const std::string &typeName);

	// The names that have a factory of any kind, in no particular order.
	static std::vector<std::string> getRegisteredTypeNames();

	// The living object with that id or GUID, empty when there is none.
	static std::shared_ptr<IObject> getObjectFromID(std::uint64_t id);
	static std::shared_ptr<const IObject> getRegisteredObject(GUIDClass *guid);

	// The name of an operation of messages; empty, with a log line, for a number that is none.
	static const std::string &opCodeToString(OpCode opCode);

	// Takes back what `object` has registered. Doesn't free it.
	static void deleter(Object *object);

	// How many objects have an id.
	static std::size_t getRegisteredObjectCount() { return sRegisteredObjectCount; }

	// Make the registries that are absent, and take all of them away. Ids are never given twice all the same.
	static void createMaps();
	static void deleteMaps();

protected:
	Object() = default;

private:
	template <typename Value>
	using TypeNameMap = std::unordered_map<std::string, Value, StringHash, std::equal_to<>>;

	template <typename FactoryFunction>
	static bool enterFactory(TypeNameMap<FactoryFunction> *map, const char *absent, const std::string &typeName, FactoryFunction factory);
	template <typename FactoryFunction>
	static bool removeFactory(TypeNameMap<FactoryFunction> *map, const std::string &typeName);
	static bool hasFactory(const std::string &typeName);

	GUIDClass *fGUID = nullptr;
	std::uint64_t fID = 0;

	static TypeNameMap<Factory> *fFactoryMap;
	static TypeNameMap<Factory> *fForeignTextFactoryMap; // those of fFactoryMap that foreign text may name
	static TypeNameMap<ByNameFactory> *fByNameFactoryMap;
	static TypeNameMap<DeserializationFactory> *fDeserializationFactoryMap;
	static TypeNameMap<std::shared_ptr<IObject>> *fPrototypeMap;
	static std::unordered_map<GUIDClass *, std::weak_ptr<IObject>, PointerHash> *fObjectMap;
	static std::unordered_map<std::uint64_t, std::weak_ptr<IObject>, IntegerHash> *fIDToObjectMap;
	static std::uint64_t sLastObjectID;
	static std::size_t sRegisteredObjectCount;
};
}
