#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvObject/MrvGUIDClass.h"
#include "support/CoordinatorStart.h"
#include "support/TestLog.h"
#include "support/TestService.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Mrv::Test
{
// Other coordinators, by name, that keep what is sent to them.
class TestSiblings final : public ISiblingDirectory
{
public:
	class Sibling final : public ISibling
	{
	public:
		bool relayOutgoingMessage(const std::shared_ptr<const IObject> &messageObj) override
		{
			sent.push_back(std::dynamic_pointer_cast<const IMessage>(messageObj));
			return accepts;
		}

		std::vector<std::shared_ptr<const IMessage>> sent;
		bool accepts = true;
	};

	std::shared_ptr<ISibling> findSibling(const std::string &coordinatorName) override
	{
		const auto entry = siblings.find(coordinatorName);
		return entry == siblings.end() ? nullptr : entry->second;
	}
	bool isKnownName(const std::string &coordinatorName) const override { return siblings.contains(coordinatorName); }
	bool isAliveUnder(const std::string &coordinatorName, GUIDClass *) const override { return alive == coordinatorName; }

	std::shared_ptr<Sibling> add(const std::string &coordinatorName) { return siblings[coordinatorName] = std::make_shared<Sibling>(); }

	std::map<std::string, std::shared_ptr<Sibling>> siblings;
	std::string alive;
};

// A coordinator with a service of its own, other coordinators, and what is needed to send messages about.
class Router
{
public:
	explicit Router(const std::string &name = "main") : fStart({"-n", name})
	{
		coordinator = InternalCoordinator::instance();
		service = TestService::factory("service", coordinator);
		coordinator->setSiblingDirectory(siblings);
		relayed = TestListener::attach(*coordinator, "messageRelayed");
		notRelayed = TestListener::attach(*coordinator, "messageNotRelayed");
	}

	static std::shared_ptr<IObject> addressOf(const std::string &url)
	{
		std::string tail;
		return Address_abstract::factoryFromURL(url, tail);
	}
	static std::shared_ptr<IObject> message(const std::shared_ptr<const IObject> &sender, const std::shared_ptr<const IObject> &receiver,
	    OpCode opCode = OpCode::PING, const std::string &payload = "payload")
	{
		return Message::factoryFromSenderDestinationAddressOpCodePayloadStr(sender, receiver, opCode, payload);
	}
	// Relays a message from the own service at once.
	bool relay(const std::shared_ptr<const IObject> &receiver, OpCode opCode = OpCode::PING, const std::string &payload = "payload") const
	{
		return coordinator->relayMessage(message(service->getAddressObj(), receiver, opCode, payload));
	}
	bool relay(const std::string &url, OpCode opCode = OpCode::PING, const std::string &payload = "payload") const
	{
		return relay(addressOf(url), opCode, payload);
	}
	// How another coordinator's object writes a message.
	static std::string textFrom(GUIDClass *sender, GUIDClass *upstream, const std::string &coordinatorName, const std::string &receiver)
	{
		return "Message\nLocalResolvedAddress\n" + sender->toSectionedString() + "\n" + upstream->toSectionedString() + "\n" +
		       coordinatorName + "\n" + receiver + "2\npayload\n";
	}

	const std::shared_ptr<TestSiblings> siblings = std::make_shared<TestSiblings>();
	std::shared_ptr<TestService> service;
	std::shared_ptr<TestListener> relayed;
	std::shared_ptr<TestListener> notRelayed;
	std::shared_ptr<InternalCoordinator> coordinator;

private:
	// Ends first, but what is above lives longer: nothing of it belongs to the coordinator alone.
	const CoordinatorStart fStart;
};

inline const std::string TO_SERVICE = "InternalAddress\nservice/0\n";
}
