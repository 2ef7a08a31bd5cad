#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvData/MrvDataNull.h"
#include "MrvData/MrvDataOM.h"
#include "MrvData/MrvDataString.h"
#include "MrvEvent/MrvEvent.h"
#include "MrvMessage/MrvMessage.h"
#include "support/MrvTestCoordinator.h"

#include <map>
#include <memory>
#include <string>

namespace Mrv::Test
{
// A thing in this process that an address can lead to.
class Target final : public Object, public IAddressable
{
public:
	static inline const std::string TYPENAME = "Target";
	static std::shared_ptr<Target> factory(GUIDClass *upstream)
	{
		std::shared_ptr<Target> target(new Target(upstream),
		    [](Target *object)
		    {
			    Object::deleter(object);
			    delete object;
		    });
		target->registerObjectID(target);
		return target;
	}
	const std::string &getTypeName() const override { return TYPENAME; }
	std::shared_ptr<const IObject> getAddressObj() override
	{
		GUIDClass *guid = createGUID();
		return LocalResolvedAddress::factoryFromGUIDs(guid, fUpstream ? fUpstream : guid);
	}

private:
	explicit Target(GUIDClass *upstream) : fUpstream(upstream) {}

	GUIDClass *fUpstream;
};

// What addresses and messages ask of a coordinator, with a few services: the coordinator itself and those entered in `services`.
class RoutingCoordinator final : public IRoutingCoordinator
{
public:
	RoutingCoordinator()
	{
		sCurrent = this;
		setProvider([]() -> IRoutingCoordinator * { return sCurrent; });
		self = Target::factory(nullptr);
		guid = self->createGUID();
		names[guid] = "net.morvane.coordinator.main";
		hosts[guid] = "localhost";
		services["net.morvane.service.null/0"] = Target::factory(guid);
		registerClasses(RegisterDeregister::REGISTER);
	}
	RoutingCoordinator(const RoutingCoordinator &) = delete;
	RoutingCoordinator &operator=(const RoutingCoordinator &) = delete;
	~RoutingCoordinator()
	{
		registerClasses(RegisterDeregister::DEREGISTER);
		sCurrent = nullptr;
		setProvider(nullptr);
	}

	const std::string &getOwnCoordinatorName() const override { return names.at(guid); }
	bool isOwnCoordinatorName(const std::string &coordinatorName) const override
	{
		return withPrefix(coordinatorName) == getOwnCoordinatorName();
	}
	GUIDClass *getOwnGUID() override { return guid; }
	const std::string &getCoordinatorName(GUIDClass *upstream) override { return names[upstream]; }
	const std::string &getHostName(GUIDClass *upstream) override { return hosts[upstream]; }
	bool isValidUpstreamCoordinatorGUID(GUIDClass *upstream) override { return !names[upstream].empty() || !hosts[upstream].empty(); }
	GUIDClass *getUpstreamCoordinatorGUID(const std::string &, const std::string &coordinatorName) override
	{
		for (const auto &[known, name] : names)
		{
			if (name == coordinatorName)
			{
				return known;
			}
		}
		return nullptr;
	}
	bool isLocalHost(const std::string &hostName) const override { return hostName == "localhost" || hostName == "127.0.0.1"; }
	std::shared_ptr<const IObject> resolveAddress(const std::shared_ptr<const IObject> &addressObj) override
	{
		const auto indexed = std::dynamic_pointer_cast<const IIndexedAddress>(addressObj);
		if (!indexed)
		{
			return nullptr;
		}
		const auto service = services.find(indexed->getIndices());
		return indexed->getIndices().empty() ? self : service == services.end() ? nullptr : service->second;
	}

	std::shared_ptr<Target> self;
	GUIDClass *guid = nullptr;
	std::map<GUIDClass *, std::string> names;
	std::map<GUIDClass *, std::string> hosts;
	std::map<std::string, std::shared_ptr<Target>> services;

private:
	static std::string withPrefix(const std::string &name)
	{
		return name.find('.') == std::string::npos ? "net.morvane.coordinator." + name : name;
	}
	static void registerClasses(RegisterDeregister registerDeregister)
	{
		DataNull::registerDeregisterClass(registerDeregister);
		DataString::registerDeregisterClass(registerDeregister);
		DataOM::registerDeregisterClass(registerDeregister);
		Address_abstract::registerDeregisterClasses(registerDeregister);
		Message::registerDeregisterClass(registerDeregister);
		Event::registerDeregisterClass(registerDeregister);
	}

	static inline RoutingCoordinator *sCurrent = nullptr;
	TestCoordinator fTasks; // texts are parsed in tasks
};
}
