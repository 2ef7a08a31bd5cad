#include "RoutingFixture.h"

#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"
#include "support/RoutingCoordinator.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
TEST(RoutingTest, EveryFormOfAnAddressLeadsToTheService)
{
	const Router router;
	GUIDClass *guid = router.service->createGUID();
	GUIDClass *own = router.coordinator->getGUID();
	const std::string guids = "mrv://" + own->toSectionedString() + "/" + guid->toSectionedString();
	const std::vector<std::shared_ptr<const IObject>> addresses{
	    Router::addressOf("mrv:////service"),
	    Router::addressOf("mrv:///net.morvane.coordinator.main/service/0"),
	    LocalUnresolvedAddress::factoryFromCoordinatorNameIndices("main", "service"),
	    RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName("main", "service", "LocalHost"),
	    Router::addressOf(guids),
	    RemoteResolvedAddress::factoryFromGUIDs(guid, own),
	};
	for (const auto &address : addresses)
	{
		SCOPED_TRACE(address->toString());
		EXPECT_TRUE(router.relay(address));
		ASSERT_EQ(router.service->received.size(), 1U);
		// The message goes on with the most exact form of the address.
		EXPECT_EQ(router.service->received[0]->getReceiverAddressObj(), router.service->getAddressObj());
		router.service->received.clear();
	}
	EXPECT_TRUE(router.relayed->payloads.empty());
	const auto heard = TestListener::attach(*router.service, "messageReceived");
	EXPECT_TRUE(router.relay("mrv:////service"));
	EXPECT_EQ(heard->payloads.size(), 1U);
}

TEST(RoutingTest, WhatHasNoTargetIsDropped)
{
	const Router router;
	GUIDClass *own = router.coordinator->getGUID();
	GUIDClass *unknown = GUIDClass::randomFactory();
	const std::vector<std::shared_ptr<const IObject>> addresses{
	    nullptr,
	    Router::addressOf("mrv:////net.morvane.service.null/1"),
	    Router::addressOf("mrv:////nobody/0"),
	    Router::addressOf("mrv:////service/0/below/0"),
	    LocalResolvedAddress::factoryFromGUIDs(unknown, own),
	    LocalResolvedAddress::factoryFromGUIDs(unknown, unknown),
	    RemoteResolvedAddress::factoryFromGUIDs(unknown, unknown),
	    LocalResolvedAddress::factoryFromGUIDs(nullptr, own),
	    LocalResolvedAddress::factoryFromGUIDs(nullptr, nullptr),
	};
	for (const auto &address : addresses)
	{
		SCOPED_TRACE(address ? address->toString() : "none");
		EXPECT_TRUE(router.relay(address));
		EXPECT_LOG("discarding message receiverAddress: " + (address ? std::dynamic_pointer_cast<const IAddress>(address)->getURL() : ""));
	}
	EXPECT_TRUE(router.relay(InternalAddress::factoryFromIndices("service/" + std::string(40, '1'))));
	EXPECT_LOG("SANITY_CHECK failed: 'Utils::isNumeric(indexStr)' evaluates to false");
	EXPECT_LOG("discarding message");
	EXPECT_FALSE(router.coordinator->relayMessage(nullptr));
	EXPECT_LOG("messageObj");
	EXPECT_FALSE(router.coordinator->relayMessage(router.service));
	takeLogLines();
	EXPECT_TRUE(router.notRelayed->payloads.empty());

	const auto target = Target::factory(own);
	EXPECT_TRUE(router.relay(target->getAddressObj()));
	EXPECT_LOG("destination has no IReceiver interface");
	router.service->accepts = false;
	EXPECT_FALSE(router.relay("mrv:////service"));
	EXPECT_LOG("SANITY_CHECK failed: 'receiver->receiveMessage(message)' evaluates to false");
}

TEST(RoutingTest, TheQueueIsRelayedInAPassAndOneFailureHoldsUpNobody)
{
	const Router router;
	EXPECT_FALSE(router.coordinator->queueMessage(router.service));
	EXPECT_LOG("ASSIGN_CONST_TYPED failed: 'IMessage message = messageObj;'");
	EXPECT_FALSE(router.coordinator->queueMessage(nullptr));
	EXPECT_LOG("ASSIGN_CONST_TYPED failed");
	const auto own = Router::addressOf("mrv:////service");
	const auto heard = TestListener::attach(*router.service, "messageReceived");
	heard->onEvent = [&]
	{
		if (router.service->received.size() == 1)
		{
			router.coordinator->queueMessage(Router::message(own, own, OpCode::NONE, "answer"));
			router.service->accepts = false;
		}
		else
		{
			router.service->accepts = true;
		}
		EXPECT_FALSE(router.coordinator->isIdle());
	};
	for (const char *payload : {"first", "second"})
	{
		router.coordinator->queueMessage(Router::message(own, own, OpCode::NONE, payload));
	}
	EXPECT_FALSE(router.coordinator->isIdle());
	EXPECT_FALSE(router.coordinator->processMessageQueues());
	EXPECT_LOG("receiver->receiveMessage(message)");
	EXPECT_LOG("SANITY_CHECK failed: 'allOK' evaluates to false");
	ASSERT_EQ(router.service->received.size(), 2U);
	EXPECT_EQ(router.service->received[1]->getPayload(), "second");
	EXPECT_FALSE(router.coordinator->isIdle());
	EXPECT_TRUE(router.coordinator->processMessageQueues());
	ASSERT_EQ(router.service->received.size(), 3U);
	EXPECT_TRUE(router.coordinator->isIdle());

	// A coordinator that is asked to end relays what is queued first.
	router.coordinator->queueMessage(Router::message(own, own, OpCode::NONE, "last"));
	EXPECT_TRUE(router.relay("mrv:////", OpCode::TERMINATE));
	EXPECT_TRUE(InternalCoordinator::isTerminating());
	EXPECT_TRUE(InternalCoordinator::runEventLoop(-1));
	EXPECT_EQ(router.service->received.back()->getPayload(), "last");
}

TEST(RoutingTest, TheMainCoordinatorSendsToEverybodyItKnows)
{
	const Router router;
	EXPECT_TRUE(router.relay("mrv:///net.morvane.coordinator.nobody/"));
	EXPECT_LOG("no coordinator to relay the message to: net.morvane.coordinator.nobody");
	ASSERT_EQ(router.notRelayed->payloads.size(), 1U);
	EXPECT_TRUE(std::dynamic_pointer_cast<IMessage>(router.notRelayed->payloads[0]));
	EXPECT_TRUE(router.relayed->payloads.empty());

	const auto known = router.siblings->add("net.morvane.coordinator.b");
	EXPECT_TRUE(router.relay("mrv:///net.morvane.coordinator.b/service/0"));
	EXPECT_TRUE(router.relay("mrv:///b/service/0")); // short for it
	EXPECT_EQ(known->sent.size(), 2U);
	EXPECT_EQ(router.relayed->payloads.size(), 2U);
	const auto exact = router.siblings->add("b");
	EXPECT_TRUE(router.relay("mrv:///b/service/0"));
	EXPECT_EQ(exact->sent.size(), 1U);

	// Outside, a path in this process would name something there; nobody is the coordinator.
	for (const std::shared_ptr<const IObject> &sender : {std::shared_ptr<const IObject>(Router::addressOf("mrv:////service")),
	         router.service->getAddressObj(), std::shared_ptr<const IObject>()})
	{
		EXPECT_TRUE(router.coordinator->relayMessage(Router::message(sender, Router::addressOf("mrv:///b"))));
		EXPECT_EQ(
		    *exact->sent.back()->getSenderAddressObj(), sender ? *router.service->getAddressObj() : *router.coordinator->getAddressObj());
		EXPECT_TRUE(std::dynamic_pointer_cast<const IGUIDAddress>(exact->sent.back()->getSenderAddressObj()));
		EXPECT_EQ(exact->sent.back()->getPayload(), "payload");
	}

	exact->accepts = false;
	const std::size_t relayedBefore = router.relayed->payloads.size();
	EXPECT_FALSE(router.relay("mrv:///b"));
	EXPECT_LOG("SANITY_CHECK failed: 'siblingCoordinator->relayOutgoingMessage(messageObj)' evaluates to false");
	EXPECT_EQ(router.relayed->payloads.size(), relayedBefore);
	EXPECT_EQ(router.notRelayed->payloads.size(), 2U);
}

TEST(RoutingTest, OthersSendThroughTheMainCoordinator)
{
	const Router router("a");
	const auto main = router.siblings->add(InternalCoordinator::MAIN_NAME);
	const auto other = router.siblings->add("net.morvane.coordinator.b");
	EXPECT_TRUE(router.relay("mrv:///b/service/0"));
	EXPECT_TRUE(router.relay("mrv:///main/service/0"));
	EXPECT_EQ(main->sent.size(), 2U);
	EXPECT_TRUE(other->sent.empty());

	// What came from the main coordinator isn't sent back there.
	GUIDClass *guid = GUIDClass::randomFactory();
	const std::string toOther = "LocalUnresolvedAddress\nnet.morvane.coordinator.b\nservice/0\n";
	EXPECT_TRUE(router.coordinator->receiveMessageStr(Router::textFrom(guid, guid, "net.morvane.coordinator.c", toOther)));
	EXPECT_TRUE(router.coordinator->processMessageQueues());
	EXPECT_LOG("not sent back");
	EXPECT_EQ(main->sent.size(), 2U);
	EXPECT_EQ(router.notRelayed->payloads.size(), 1U);
}

TEST(RoutingTest, OtherMachinesAreReachedThroughTheGateway)
{
	const Router router;
	const auto gateway = router.siblings->add(InternalCoordinator::GATEWAY_NAME);
	EXPECT_TRUE(router.relay("mrv://m2/main/service/0"));
	EXPECT_EQ(gateway->sent.size(), 1U);

	std::string sentHost;
	std::string sentText;
	router.coordinator->setGatewaySendMethod(
	    [&](const std::string &host, const std::string &text)
	    {
		    sentHost = host;
		    sentText = text;
	    });
	const auto sender = Router::addressOf("mrv:////service");
	EXPECT_TRUE(router.coordinator->relayMessage(Router::message(sender, Router::addressOf("mrv://m2/main/service/0"))));
	EXPECT_EQ(gateway->sent.size(), 1U);
	EXPECT_EQ(sentHost, "m2");
	EXPECT_EQ(sentText, "Message\nLocalResolvedAddress\n" + router.service->getGUID()->toSectionedString() + "\n" +
	                        router.coordinator->getGUID()->toSectionedString() +
	                        "\nnet.morvane.coordinator.main\nRemoteUnresolvedAddress\nmain\nservice/0\nm2\n2\npayload\n");
}

TEST(RoutingTest, TheConfigurationNamesHosts)
{
	const std::string path = Dirs::getUserDataPath() + "hosts.ini";
	EXPECT_TRUE(Dirs::replaceFile(path, "[hosts]\nstudio7=127.0.0.1\nstudio8=10.0.0.8\n"));
	{
		const CoordinatorStart coordinator({"-n", "main", "-c", path});
		EXPECT_TRUE(InternalCoordinator::instance()->isLocalHost("Studio7"));
		EXPECT_FALSE(InternalCoordinator::instance()->isLocalHost("studio8"));
		EXPECT_EQ(InternalCoordinator::getHostAddress("studio8"), "10.0.0.8");
	}
	EXPECT_EQ(InternalCoordinator::getHostAddress("studio8"), "");
	EXPECT_TRUE(Platform::removeFile(path));
}

TEST(RoutingTest, ADefaultServiceStandsForTheCoordinator)
{
	const Router router;
	InternalCoordinator::setDefaultIndexPath("service");
	EXPECT_TRUE(router.relay("mrv:////", OpCode::TERMINATE));
	EXPECT_EQ(router.service->received.size(), 1U);
	EXPECT_FALSE(InternalCoordinator::isTerminating());
	InternalCoordinator::setDefaultIndexPath("");
	EXPECT_TRUE(router.relay("mrv:////", OpCode::EVAL)); // accepted and ignored
	EXPECT_EQ(router.service->received.size(), 1U);
	InternalCoordinator::setCanTerminate(false);
	EXPECT_FALSE(router.relay("mrv:////", OpCode::TERMINATE));
	EXPECT_LOG("cannot terminate");
	EXPECT_LOG("SANITY_CHECK failed: 'terminate()' evaluates to false");
	EXPECT_LOG("receiver->receiveMessage(message)");
}
}
