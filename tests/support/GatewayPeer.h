#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvObject/MrvGUIDClass.h"
#include "support/CoordinatorStart.h"
#include "support/Mode.h"
#include "support/MrvTestCoordinator.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Mrv::Test
{
// Runs the coordinator until the condition holds; false when that takes too long.
inline bool runUntil(const std::function<bool()> &condition)
{
	const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
	InternalCoordinator::instance()->runEventLoop(-1, [&] { return condition() || std::chrono::steady_clock::now() > end; });
	return condition();
}

// A coordinator, in the mode of this test run, and another one on another machine, played by the test: what is sent there through the
// gateway is kept, and what that one sends comes in as text.
class GatewayPeer
{
public:
	explicit GatewayPeer(std::vector<std::string> switches = {"-n", "near"})
	    : fCoordinator(std::move(switches)),
	      fAlwaysYield(Mode::alwaysYield)
	{
		InternalCoordinator::changeSettings().eventLoopSleepMicroseconds = 100; // waits of tests are short
		InternalCoordinator::instance()->setGatewaySendMethod(
		    [this](const std::string &hostName, const std::string &text)
		    {
			    hosts.push_back(hostName);
			    received.push_back(std::dynamic_pointer_cast<IMessage>(Data_abstract::deserializeFromStr(text)));
		    });
	}

	// Comes from an object of that coordinator.
	bool send(OpCode opCode, const std::string &payload, const std::shared_ptr<const IObject> &receiver)
	{
		const auto sender = LocalResolvedAddress::factoryFromGUIDsName(object, coordinator, name);
		const auto message = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(sender, receiver, opCode, payload);
		return InternalCoordinator::instance()->receiveGatewayMessageStr("far", Data_abstract::serializeToStr(message));
	}
	bool sendTo(const std::string &service, OpCode opCode, const std::string &payload)
	{
		return send(opCode, payload,
		    RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName(
		        InternalCoordinator::getCoordinatorName(), service, "near.example"));
	}
	// The payload of what comes back for it; empty, and a failure, when nothing does.
	std::string ask(OpCode opCode, const std::string &payload, const std::string &service = "default/0")
	{
		const std::size_t before = received.size();
		EXPECT_TRUE(sendTo(service, opCode, payload));
		return runUntil([&] { return received.size() > before; }) ? received.back()->getPayload() : std::string();
	}

	// A restart of that coordinator.
	void restart()
	{
		object = GUIDClass::randomFactory();
		coordinator = GUIDClass::randomFactory();
	}

	GUIDClass *object = GUIDClass::randomFactory();
	GUIDClass *coordinator = GUIDClass::randomFactory();
	std::string name = "net.morvane.coordinator.far";
	std::vector<std::string> hosts;
	std::vector<std::shared_ptr<IMessage>> received;

private:
	const CoordinatorStart fCoordinator;
	const AlwaysYield fAlwaysYield;
};
}
