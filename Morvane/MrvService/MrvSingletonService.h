#pragma once

#include "MrvLogger/MrvChecks.h"
#include "MrvService/MrvIMessagingCoordinator.h"
#include "MrvService/MrvService_abstract.h"

#include <memory>
#include <string>

namespace Mrv
{
// What every service has that exists once in a coordinator, at "<SERVICE_NAME>/0": given its TYPENAME and SERVICE_NAME, how it is made,
// entered in the registries and freed. The class's constructor is private, with this base as a friend. The tree owns the object.
template <class Class>
class SingletonService : public Service_abstract
{
public:
	// The one object, made and attached to the coordinator on first use. Empty, with a log line, without a coordinator.
	static std::shared_ptr<IObject> factory() { return instance(); }

	static std::shared_ptr<Class> instance()
	{
		std::shared_ptr<Class> service = sInstance.lock();
		if (!service)
		{
			IMessagingCoordinator *coordinator = IMessagingCoordinator::current();
			SANITY_CHECK_AS(coordinator, "internalCoordinator", return nullptr);
			service = std::shared_ptr<Class>(new Class, &SingletonService::deleter);
			service->registerObjectID(service);
			sInstance = service;
			SANITY_CHECK_AS(
			    service->attachToParent(coordinator->getRootService()), "service->attachToParent(internalCoordinator)", return nullptr);
		}
		return service;
	}

	static void deleter(Class *service)
	{
		Object::deleter(service);
		delete service;
	}

	static bool registerDeregisterClass(RegisterDeregister registerDeregister)
	{
		return registerDeregister == RegisterDeregister::REGISTER ? registerFactory(Class::TYPENAME, &SingletonService::factory)
		                                                          : deregisterFactory(Class::TYPENAME);
	}

	const std::string &getTypeName() const override { return Class::TYPENAME; }
	const std::string &getName() const override { return Class::SERVICE_NAME; }

private:
	static inline std::weak_ptr<Class> sInstance;
};
}
