#pragma once

#include "MrvObject/MrvIObject.h"

#include <memory>
#include <string>

// One class for each way of making an object from a type name. Each wraps the registered function, or nothing when the name is
// unknown; calling an empty one logs and gives an empty pointer.
namespace Mrv
{
using Factory = std::shared_ptr<IObject> (*)();
using ByNameFactory = std::shared_ptr<IObject> (*)(std::shared_ptr<IObject> parent, const std::string &name);
using DeserializationFactory = std::shared_ptr<IObject> (*)(const std::shared_ptr<IObject> &serializer);

class FactoryWrapperClass
{
public:
	explicit FactoryWrapperClass(Factory factory = nullptr) : fFactory(factory) {}
	explicit operator bool() const { return fFactory != nullptr; }
	std::shared_ptr<IObject> call() const;

private:
	Factory fFactory;
};

class ByNameFactoryWrapperClass
{
public:
	explicit ByNameFactoryWrapperClass(ByNameFactory factory = nullptr) : fFactory(factory) {}
	explicit operator bool() const { return fFactory != nullptr; }
	std::shared_ptr<IObject> call(const std::shared_ptr<IObject> &parent, const std::string &name) const;

private:
	ByNameFactory fFactory;
};

class DeserializationFactoryWrapperClass
{
public:
	explicit DeserializationFactoryWrapperClass(DeserializationFactory factory = nullptr) : fFactory(factory) {}
	explicit operator bool() const { return fFactory != nullptr; }

	// An empty argument is refused with "no object".
	std::shared_ptr<IObject> call(const std::shared_ptr<IObject> &serializer) const;

private:
	DeserializationFactory fFactory;
};
}
