#pragma once

#include "MrvData/MrvData_abstract.h"

#include <memory>
#include <utility>

namespace Mrv
{
// What every concrete class of data has, given its TYPENAME: how it is made, entered in the registries, read and freed. The class's
// constructors are private, with this base as a friend. All makers give an object with an id.
template <class Class, class Base = Data_abstract>
class DataClass : public Base
{
public:
	// An empty instance.
	static std::shared_ptr<IObject> factory() { return make(); }

	// Reads the content. Empty, with a log line, when that fails.
	static std::shared_ptr<IObject> factoryFromSerialized(const std::shared_ptr<IObject> &serializerObj)
	{
		const std::shared_ptr<Class> retVal = make();
		return Data_abstract::readContent(*retVal, serializerObj) ? retVal : nullptr;
	}

	static void deleter(Class *object)
	{
		Object::deleter(object);
		delete object;
	}

	static bool registerDeregisterClass(RegisterDeregister registerDeregister)
	{
		return registerDeregister == RegisterDeregister::REGISTER
		           ? Object::registerDeserializationFactory(Class::TYPENAME, &DataClass::factoryFromSerialized)
		           : Object::deregisterDeserializationFactory(Class::TYPENAME);
	}

	const std::string &getTypeName() const override { return Class::TYPENAME; }

protected:
	template <class... Arguments>
	static std::shared_ptr<Class> make(Arguments &&...arguments)
	{
		std::shared_ptr<Class> object(new Class(std::forward<Arguments>(arguments)...), &DataClass::deleter);
		object->registerObjectID(object);
		return object;
	}
};
}
