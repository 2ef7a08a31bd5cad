#include "MrvObject/MrvFactoryWrapper.h"

#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
std::shared_ptr<IObject> FactoryWrapperClass::call() const
{
	SANITY_CHECK(fFactory, return nullptr);
	return fFactory();
}

std::shared_ptr<IObject> ByNameFactoryWrapperClass::call(const std::shared_ptr<IObject> &parent, const std::string &name) const
{
	SANITY_CHECK(fFactory, return nullptr);
	return fFactory(parent, name);
}

std::shared_ptr<IObject> DeserializationFactoryWrapperClass::call(const std::shared_ptr<IObject> &serializer) const
{
	SANITY_CHECK(fFactory, return nullptr);
	if (!serializer)
	{
		LOG_ERROR("no object");
		return nullptr;
	}
	return fFactory(serializer);
}
}
