// The registries are reached through pointers that are set before anything else of the library runs, and that are cleared after its last
// static object is gone: such an object may hold objects that are deregistered when it dies.
#include "MrvObject/MrvObject.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvPlatform/MrvLasting.h"

#include <utility>

namespace Mrv
{
constinit Object::TypeNameMap<Factory> *Object::fFactoryMap = nullptr;
constinit Object::TypeNameMap<Factory> *Object::fForeignTextFactoryMap = nullptr;
constinit Object::TypeNameMap<ByNameFactory> *Object::fByNameFactoryMap = nullptr;
constinit Object::TypeNameMap<DeserializationFactory> *Object::fDeserializationFactoryMap = nullptr;
constinit Object::TypeNameMap<std::shared_ptr<IObject>> *Object::fPrototypeMap = nullptr;
constinit std::unordered_map<GUIDClass *, std::weak_ptr<IObject>, PointerHash> *Object::fObjectMap = nullptr;
constinit std::unordered_map<std::uint64_t, std::weak_ptr<IObject>, IntegerHash> *Object::fIDToObjectMap = nullptr;
constinit std::uint64_t Object::sLastObjectID = 0;
constinit std::size_t Object::sRegisteredObjectCount = 0;

namespace
{
template <typename Map>
void createIfAbsent(Map *&map)
{
	if (!map)
	{
		map = new Map;
	}
}

// The pointer is cleared first: entries that die with the map look for it.
template <typename Map>
void deleteMap(Map *&map)
{
	const std::unique_ptr<Map> owned(std::exchange(map, nullptr));
}

const bool sAreMapsCreated = []
{
	Object::createMaps();
	Platform::callAtUnload([](void *) { Object::deleteMaps(); }, nullptr);
	return true;
}();
}

void Object::createMaps()
{
	createIfAbsent(fFactoryMap);
	createIfAbsent(fForeignTextFactoryMap);
	createIfAbsent(fByNameFactoryMap);
	createIfAbsent(fDeserializationFactoryMap);
	createIfAbsent(fPrototypeMap);
	createIfAbsent(fObjectMap);
	createIfAbsent(fIDToObjectMap);
}

void Object::deleteMaps()
{
	deleteMap(fObjectMap);
	deleteMap(fIDToObjectMap);
	sRegisteredObjectCount = 0;
	deleteMap(fPrototypeMap);
	deleteMap(fByNameFactoryMap);
	deleteMap(fFactoryMap);
	deleteMap(fForeignTextFactoryMap);
	deleteMap(fDeserializationFactoryMap);
}

bool Object::hasFactory(const std::string &typeName)
{
	return (fFactoryMap && fFactoryMap->contains(typeName)) || (fByNameFactoryMap && fByNameFactoryMap->contains(typeName)) ||
	       (fDeserializationFactoryMap && fDeserializationFactoryMap->contains(typeName));
}

template <typename FactoryFunction>
bool Object::enterFactory(TypeNameMap<FactoryFunction> *map, const char *absent, const std::string &typeName, FactoryFunction factory)
{
	if (!map)
	{
		LOG_ERROR(absent);
		return false;
	}
	if (!map->emplace(typeName, factory).second)
	{
		LOG_ERROR("duplicate typeName");
		return false;
	}
	if (fPrototypeMap)
	{
		fPrototypeMap->try_emplace(typeName);
	}
	return true;
}

template <typename FactoryFunction>
bool Object::removeFactory(TypeNameMap<FactoryFunction> *map, const std::string &typeName)
{
	if (!map)
	{
		return true;
	}
	if (map->erase(typeName) == 0)
	{
		LOG_ERROR("unregistered typeName");
		return false;
	}
	if (fPrototypeMap && !hasFactory(typeName))
	{
		fPrototypeMap->erase(typeName);
	}
	return true;
}

bool Object::registerFactory(const std::string &typeName, Factory factory, FactoryUse use)
{
	if (!enterFactory(fFactoryMap, "no fFactoryMap", typeName, factory))
	{
		return false;
	}
	if (use == FactoryUse::FOREIGN_TEXT && fForeignTextFactoryMap)
	{
		fForeignTextFactoryMap->emplace(typeName, factory);
	}
	return true;
}

bool Object::registerByNameFactory(const std::string &typeName, ByNameFactory factory)
{
	return enterFactory(fByNameFactoryMap, "no fByNameFactoryMap", typeName, factory);
}

bool Object::registerDeserializationFactory(const std::string &typeName, DeserializationFactory factory)
{
	return enterFactory(fDeserializationFactoryMap, "no fDeserializationFactoryMap", typeName, factory);
}

bool Object::deregisterFactory(const std::string &typeName)
{
	if (fForeignTextFactoryMap)
	{
		fForeignTextFactoryMap->erase(typeName);
	}
	return removeFactory(fFactoryMap, typeName);
}

bool Object::deregisterByNameFactory(const std::string &typeName)
{
	return removeFactory(fByNameFactoryMap, typeName);
}

bool Object::deregisterDeserializationFactory(const std::string &typeName)
{
	return removeFactory(fDeserializationFactoryMap, typeName);
}

namespace
{
template <typename Wrapper, typename Map>
Wrapper wrapped(const Map *map, const std::string &typeName)
{
	if (map)
	{
		if (const auto entry = map->find(typeName); entry != map->end())
		{
			return Wrapper(entry->second);
		}
	}
	return Wrapper();
}

template <typename Map, typename Key>
std::shared_ptr<IObject> living(const Map &map, const Key &key)
{
	const auto entry = map.find(key);
	return entry == map.end() ? nullptr : entry->second.lock();
}
}

FactoryWrapperClass Object::getFactory(const std::string &typeName)
{
	return wrapped<FactoryWrapperClass>(fFactoryMap, typeName);
}

FactoryWrapperClass Object::getFactoryForForeignText(const std::string &typeName)
{
	return wrapped<FactoryWrapperClass>(fForeignTextFactoryMap, typeName);
}

ByNameFactoryWrapperClass Object::getByNameFactory(const std::string &typeName)
{
	return wrapped<ByNameFactoryWrapperClass>(fByNameFactoryMap, typeName);
}

DeserializationFactoryWrapperClass Object::getDeserializationFactory(const std::string &typeName)
{
	return wrapped<DeserializationFactoryWrapperClass>(fDeserializationFactoryMap, typeName);
}

std::vector<std::string> Object::getRegisteredTypeNames()
{
	std::vector<std::string> names;
	if (!fPrototypeMap)
	{
		LOG_ERROR("no fPrototypeMap");
		return names;
	}
	names.reserve(fPrototypeMap->size());
	for (const auto &[name, prototype] : *fPrototypeMap)
	{
		names.push_back(name);
	}
	return names;
}

std::shared_ptr<IObject> Object::getObjectFromID(std::uint64_t id)
{
	if (!fIDToObjectMap)
	{
		LOG_ERROR("no fIDToObjectMap");
		return nullptr;
	}
	return living(*fIDToObjectMap, id);
}

std::shared_ptr<const IObject> Object::getRegisteredObject(GUIDClass *guid)
{
	if (!guid)
	{
		LOG_ERROR("no guid");
		return nullptr;
	}
	if (!fObjectMap)
	{
		LOG_ERROR("no fObjectMap");
		return nullptr;
	}
	return living(*fObjectMap, guid);
}

void Object::deleter(Object *object)
{
	SANITY_CHECK(object, return );
	// After the registries have gone there is nothing to take back, and nothing to complain about.
	if (object->fID != 0 && fIDToObjectMap && fIDToObjectMap->contains(object->fID))
	{
		object->deregisterObjectID();
	}
	if (object->fGUID && fObjectMap && fObjectMap->contains(object->fGUID))
	{
		object->deregisterObjectGUID();
	}
}

GUIDClass *Object::createGUID()
{
	if (!fGUID && !registerObjectGUID())
	{
		LOG_ERROR("failed to register");
		return nullptr;
	}
	return fGUID;
}

bool Object::isObjectGUIDRegistered() const
{
	return fGUID && fObjectMap && fObjectMap->contains(fGUID);
}

bool Object::registerObjectGUID()
{
	SANITY_CHECK(fObjectMap, return false);
	if (fGUID)
	{
		return true;
	}
	// The weak entry needs the pointer that the object lives in, which the id leads to.
	const std::shared_ptr<IObject> self = fID != 0 ? getObjectFromID(fID) : nullptr;
	if (!self)
	{
		return false;
	}
	fGUID = GUIDClass::randomFactory();
	(*fObjectMap)[fGUID] = self;
	LOG_TRACE("# of registered objects is " + std::to_string(fObjectMap->size()));
	return true;
}

bool Object::registerObjectID(const std::shared_ptr<IObject> &objPtr)
{
	// Every object that is made comes here: a cast would cost more than all the rest.
	Object *obj = objPtr ? objPtr->getObject() : nullptr;
	MRV_ASSIGNED("ASSIGN_TYPED", obj, "Object obj = objPtr;", return false);
	if (obj->fID != 0)
	{
		LOG_ERROR("already registered");
		return false;
	}
	if (!fIDToObjectMap)
	{
		LOG_ERROR("no fIDToObjectMap");
		return false;
	}
	obj->fID = ++sLastObjectID;
	(*fIDToObjectMap)[obj->fID] = objPtr;
	++sRegisteredObjectCount;
	return true;
}

bool Object::deregisterObjectGUID()
{
	if (!fObjectMap)
	{
		LOG_ERROR("no fObjectMap");
		return false;
	}
	if (fObjectMap->erase(fGUID) == 0)
	{
		LOG_ERROR("object not registered");
		return false;
	}
	fGUID = nullptr;
	return true;
}

bool Object::deregisterObjectID()
{
	if (!fIDToObjectMap)
	{
		LOG_ERROR("no fIDToObjectMap");
		return false;
	}
	const auto iter = fIDToObjectMap->find(fID);
	SANITY_CHECK(iter != fIDToObjectMap->end(), return false);
	fIDToObjectMap->erase(iter);
	--sRegisteredObjectCount;
	fID = 0;
	return true;
}

bool Object::deregisterObject()
{
	if (fGUID)
	{
		SANITY_CHECK(deregisterObjectGUID(), return false);
	}
	if (fID != 0)
	{
		SANITY_CHECK(deregisterObjectID(), return false);
	}
	return true;
}

bool Object::operator==(const IObject &other) const
{
	return dynamic_cast<const Object *>(&other) == this;
}
}
