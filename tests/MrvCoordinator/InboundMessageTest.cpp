// What arrives from other processes and machines, and what is learnt from it.
#include "RoutingFixture.h"

#include "MrvCoordinator/MrvHostNames.h"
#include "MrvCoordinator/MrvRoutingTable.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvUtils/MrvLimits.h"
#include "support/MemoryConsole.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
const std::string NAME_C = "net.morvane.coordinator.c";
}

TEST(InboundMessageTest, AnAnswerFindsItsWayByTheGUIDsOfTheQuestion)
{
	const Router router;
	const auto c = router.siblings->add(NAME_C);
	GUIDClass *object = GUIDClass::randomFactory();
	GUIDClass *upstream = GUIDClass::randomFactory();
	EXPECT_FALSE(router.coordinator->isValidUpstreamCoordinatorGUID(upstream));
	EXPECT_TRUE(router.coordinator->receiveMessageStr(Router::textFrom(object, upstream, NAME_C, TO_SERVICE)));
	EXPECT_EQ(router.coordinator->getCoordinatorName(upstream), NAME_C);
	EXPECT_EQ(router.coordinator->getHostName(upstream), "localhost");
	for (const char *host : {"", "localhost", "127.0.0.1"})
	{
		EXPECT_EQ(router.coordinator->getUpstreamCoordinatorGUID(host, "c"), upstream);
		EXPECT_EQ(router.coordinator->getSenderGUID(host, NAME_C), object);
	}
	EXPECT_EQ(router.coordinator->getUpstreamCoordinatorGUID("", "main"), router.coordinator->getGUID());
	EXPECT_FALSE(router.coordinator->getUpstreamCoordinatorGUID("m2", "main"));
	EXPECT_FALSE(router.coordinator->getUpstreamCoordinatorGUID("", ""));
	EXPECT_LOG("! coordinatorName.empty()");

	EXPECT_TRUE(router.coordinator->processMessageQueues());
	ASSERT_EQ(router.service->received.size(), 1U);
	EXPECT_TRUE(router.relay(router.service->received[0]->getSenderAddressObj(), OpCode::PING_REPLY));
	ASSERT_EQ(c->sent.size(), 1U);
	// Also by no more than the GUID.
	EXPECT_TRUE(router.relay(router.coordinator->getAddressFromGUID(object)));
	EXPECT_EQ(c->sent.size(), 2U);
	EXPECT_EQ(router.coordinator->getAddressFromGUID(router.service->createGUID()), router.service->getAddressObj());
	EXPECT_FALSE(router.coordinator->getAddressFromGUID(GUIDClass::randomFactory()));
	EXPECT_FALSE(router.coordinator->getAddressFromGUID(nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'guid' evaluates to false");
	EXPECT_EQ(router.coordinator->getCoordinatorName(nullptr), "");
	EXPECT_LOG("SANITY_CHECK failed: 'upstreamCoordinatorGUID' evaluates to false");

	// It comes back under the same name: what was known of its old life goes.
	GUIDClass *newObject = GUIDClass::randomFactory();
	GUIDClass *newUpstream = GUIDClass::randomFactory();
	EXPECT_TRUE(router.coordinator->receiveMessageStr(Router::textFrom(newObject, newUpstream, NAME_C, TO_SERVICE)));
	EXPECT_EQ(router.coordinator->getCoordinatorName(upstream), "");
	EXPECT_FALSE(router.coordinator->getAddressFromGUID(object));
	EXPECT_EQ(router.coordinator->getUpstreamCoordinatorGUID("", NAME_C), newUpstream);
	EXPECT_EQ(router.coordinator->getSenderGUID("", NAME_C), newObject);
	EXPECT_TRUE(router.relay(LocalResolvedAddress::factoryFromGUIDs(object, upstream)));
	EXPECT_LOG("discarding message");

	// While it lives, nobody else takes its name.
	router.siblings->alive = NAME_C;
	EXPECT_TRUE(router.coordinator->receiveMessageStr(Router::textFrom(object, upstream, NAME_C, TO_SERVICE)));
	EXPECT_LOG("claims the name");
	EXPECT_EQ(router.coordinator->getUpstreamCoordinatorGUID("", NAME_C), newUpstream);
}

TEST(InboundMessageTest, WhatIsNoMessageIsRefusedAndHoldsUpNothing)
{
	const Router router;
	const std::string guid = GUIDClass::randomFactory()->toSectionedString();
	const std::string good = "LocalResolvedAddress\n" + guid + "\n" + guid + "\nc\n";
	const auto message = [](const std::string &sender, const std::string &rest = "DataNull\n2\npayload\n")
	{ return "Message\n" + sender + rest; };
	const std::string fiveMegabytes(5'000'000, 'x');
	const std::pair<std::string, std::string> cases[] = {
	    {"", "'ipcMessageObj'"},
	    {"\n", "'ipcMessageObj'"},
	    {"hello", "'ipcMessageObj'"},
	    {fiveMegabytes + fiveMegabytes + "\n", "'ipcMessageObj'"},
	    {"DataNull\n", "'ipcMessageObj'"},
	    {"DataString\ntext\n", "ASSIGN_TYPED failed"},
	    {"ServicePing\n", "'ipcMessageObj'"},
	    {message(good, "DataNull\n" + std::string(40, '9') + "\npayload\n"), "Utils::isNumeric(opCodeStr)"},
	    {message(good, "DataNull\n2\n"), "'ipcMessageObj'"},
	    {message(good, "DataNull\n2\npayload"), "'ipcMessageObj'"},
	    {message(good, "DataNull\n2\npayload\nmore\n"), "endDeserialize"},
	    {message(message(message(good))), "'ipcMessageObj'"},
	    {message("DataNull\n"), "ASSIGN_CONST_TYPED failed: 'ICoordinatorNameAddress"},
	    {message("InternalAddress\nservice/0\n"), "coordinatorNameAddress->getCoordinatorName() != fCoordinatorName"},
	    {message("LocalUnresolvedAddress\nmain\n\n"), "coordinatorNameAddress->getCoordinatorName() != fCoordinatorName"},
	    {message("LocalResolvedAddress\n" + guid + "\n" + guid + "\nnet.morvane.coordinator.main\n"), "!= fCoordinatorName"},
	    {message("LocalUnresolvedAddress\nc\n\n"), "IGUIDAddress senderGUIDAddress"},
	    {message("LocalResolvedAddress\n" + guid + "\n\nc\n"), "upstreamCoordinatorGUID"},
	    {message("LocalResolvedAddress\nno guid\n" + guid + "\nc\n"), "senderGUID"},
	};
	for (const auto &[text, logLine] : cases)
	{
		SCOPED_TRACE(text.substr(0, 200));
		EXPECT_FALSE(router.coordinator->receiveMessageStr(text));
		EXPECT_LOG(logLine);
		takeLogLines();
	}
	EXPECT_TRUE(router.coordinator->isIdle());
	EXPECT_EQ(router.coordinator->getChildCountByName("net.morvane.service.ping"), 1U);
	GUIDClass *sender = GUIDClass::randomFactory();
	EXPECT_TRUE(router.coordinator->receiveMessageStr(Router::textFrom(sender, sender, "c", "DataNull\n")));
	EXPECT_TRUE(router.coordinator->receiveMessageStr(Router::textFrom(sender, sender, "", TO_SERVICE)));
	EXPECT_TRUE(router.coordinator->processMessageQueues());
	EXPECT_LOG("discarding message receiverAddress: ");
	EXPECT_EQ(router.service->received.size(), 1U);
}

TEST(InboundMessageTest, AMessageFromAnotherMachineIsAnsweredThere)
{
	const Router router;
	std::vector<std::pair<std::string, std::string>> sent;
	router.coordinator->setGatewaySendMethod([&](const std::string &host, const std::string &text) { sent.emplace_back(host, text); });
	GUIDClass *object = GUIDClass::randomFactory();
	GUIDClass *upstream = GUIDClass::randomFactory();
	const std::string toHere = "RemoteUnresolvedAddress\nmain\nservice/0\nM2.local\n";
	const std::string fromM1 = Router::textFrom(object, upstream, InternalCoordinator::MAIN_NAME, toHere);
	EXPECT_TRUE(router.coordinator->receiveGatewayMessageStr("m1", fromM1));
	EXPECT_TRUE(router.coordinator->isLocalHost("m2.local"));
	EXPECT_EQ(router.coordinator->getHostName(upstream), "m1");
	EXPECT_EQ(router.coordinator->getUpstreamCoordinatorGUID("M1", "main"), upstream);
	EXPECT_EQ(router.coordinator->getUpstreamCoordinatorGUID("", "main"), router.coordinator->getGUID());
	EXPECT_TRUE(router.coordinator->processMessageQueues());
	ASSERT_EQ(router.service->received.size(), 1U);
	EXPECT_EQ(router.service->received[0]->getPayload(), "payload");
	EXPECT_TRUE(router.relay(router.service->received[0]->getSenderAddressObj(), OpCode::PING_REPLY));
	ASSERT_EQ(sent.size(), 1U);
	EXPECT_EQ(sent[0].first, "m1");
	EXPECT_NE(sent[0].second.find("RemoteResolvedAddress\n" + object->toSectionedString()), std::string::npos);
	EXPECT_NE(sent[0].second.find("\nm1\n3\n"), std::string::npos);

	// The answer of one that forgets its own name reaches us by our GUIDs.
	const std::string toGUIDs = "RemoteResolvedAddress\n" + router.service->createGUID()->toSectionedString() + "\n" +
	                            router.coordinator->getGUID()->toSectionedString() + "\n\nm2.local\n";
	EXPECT_TRUE(router.coordinator->receiveGatewayMessageStr("m1", Router::textFrom(object, upstream, "", toGUIDs)));
	EXPECT_TRUE(router.coordinator->processMessageQueues());
	EXPECT_EQ(router.service->received.size(), 2U);

	// Nobody makes another machine's name ours.
	InternalCoordinator::registerHostName("m3", "10.0.0.3");
	for (const char *host : {"m3", "10.0.0.3", "m1", ""})
	{
		const std::string receiver = "RemoteUnresolvedAddress\nmain\nservice/0\n" + std::string(host) + "\n";
		EXPECT_TRUE(router.coordinator->receiveGatewayMessageStr("m1", Router::textFrom(object, upstream, "", receiver)));
		EXPECT_LOG("host not registered as local: " + std::string(host));
		EXPECT_FALSE(router.coordinator->isLocalHost(host));
	}

	const std::pair<std::string, std::string> refused[] = {
	    {"no message", "'ipcMessageObj'"},
	    {Router::textFrom(object, upstream, "", "DataNull\n"), "SANITY_CHECK failed: 'receiverHostNameAddress' evaluates to false"},
	    {"Message\nLocalUnresolvedAddress\nc\n\n" + toHere + "2\n\n", "IGUIDAddress senderGUIDAddress"},
	    {"Message\nLocalResolvedAddress\n\n\n\n" + toHere + "2\n\n", "upstreamCoordinatorGUID"},
	};
	for (const auto &[text, logLine] : refused)
	{
		EXPECT_FALSE(router.coordinator->receiveGatewayMessageStr("m1", text));
		EXPECT_LOG(logLine);
		takeLogLines();
	}
	EXPECT_FALSE(router.coordinator->receiveGatewayMessageStr("", fromM1));
	EXPECT_LOG("! senderHostName.empty()");

	// Seen as one on this machine, its coordinator has no name here and no process.
	GUIDClass *nameless = GUIDClass::randomFactory();
	EXPECT_TRUE(router.coordinator->receiveGatewayMessageStr("m1", Router::textFrom(object, nameless, "", toHere)));
	router.coordinator->setGatewaySendMethod(nullptr);
	EXPECT_FALSE(router.relay(LocalResolvedAddress::factoryFromGUIDs(object, nameless)));
	EXPECT_LOG("ASSIGN_CONST_TYPED failed: 'IObject destinationObj");
}

TEST(InboundMessageTest, OutputOfOthersGoesToTheStandardStreams)
{
	MemoryConsole console;
	const Router router;
	EXPECT_TRUE(router.relay("mrv:////", OpCode::STD_OUT, "\"text\\nmore\""));
	EXPECT_TRUE(router.relay("mrv:////", OpCode::STD_OUT, "[1,2]"));
	EXPECT_TRUE(router.relay("mrv:////", OpCode::STD_ERR, "'error'"));
	EXPECT_TRUE(router.relay("mrv:////", OpCode::STD_OUT, "undefined"));
	EXPECT_EQ(console.output, "text\nmore1,2");
	EXPECT_EQ(console.errorOutput, "error");
	for (const char *payload : {"", "\"open", "{"})
	{
		EXPECT_FALSE(router.relay("mrv:////", OpCode::STD_OUT, payload));
		EXPECT_LOG("omNode");
		takeLogLines();
	}
	console.isATerminal = true;
	console.output.clear();
	console.writeCount = 0;
	EXPECT_TRUE(router.relay("mrv:////", OpCode::STD_OUT, '"' + std::string(1500, 'x') + "\\ny\\n\\nz\""));
	EXPECT_EQ(console.output, std::string(1500, 'x') + "\ny\n\nz");
	EXPECT_EQ(console.writeCount, 5);
}

TEST(HostNamesTest, NamesOfOneHostStandForEachOther)
{
	HostNames hosts;
	for (const char *name : {"localhost", "LOCALHOST", "127.0.0.1", "::1"})
	{
		EXPECT_TRUE(hosts.isLocalHost(name));
	}
	EXPECT_FALSE(hosts.isLocalHost(""));
	EXPECT_FALSE(hosts.registerHostName("m1", ""));
	EXPECT_LOG("SANITY_CHECK failed: '! ipAddress.empty()' evaluates to false");
	EXPECT_TRUE(hosts.registerHostName("M1", "10.0.0.1"));
	EXPECT_TRUE(hosts.registerHostName("alias", "m1"));
	EXPECT_EQ(hosts.getHostAddress("m1"), "10.0.0.1");
	EXPECT_EQ(hosts.getHostAddress("Alias"), "m1");
	EXPECT_EQ(hosts.getHostAddress("unknown"), "");
	EXPECT_EQ(hosts.toKey("M1"), "m1");
	EXPECT_FALSE(hosts.isLocalHost("alias"));
	EXPECT_TRUE(hosts.registerHostName("m2", "m2.local"));
	EXPECT_TRUE(hosts.registerHostName("m2.local", "alias"));
	EXPECT_TRUE(hosts.registerLocalHostName("M2"));
	for (const char *name : {"m1", "10.0.0.1", "alias", "m2", "m2.local"})
	{
		EXPECT_TRUE(hosts.isLocalHost(name));
		EXPECT_EQ(hosts.toKey(name), "localhost");
	}
	EXPECT_EQ(hosts.getHostAddress("m1"), "10.0.0.1");
	std::size_t count = 0;
	while (count <= Limits::HOST_NAMES && hosts.registerHostName("n" + std::to_string(count), "a" + std::to_string(count)))
	{
		++count;
	}
	EXPECT_LOG("too many host names");
	EXPECT_LT(count, Limits::HOST_NAMES);
	EXPECT_TRUE(hosts.isLocalHost("m2"));
}

TEST(RoutingTableTest, WhatWasNotHeardOfForLongestGoesFirst)
{
	RoutingTable table;
	std::vector<GUIDClass *> guids;
	for (std::uint64_t low = 1; low <= Limits::ROUTED_COORDINATORS + 1; ++low)
	{
		guids.push_back(GUIDClass::factory(GUIDValue{1, low}));
	}
	const auto hear = [&](std::size_t number)
	{ table.registerSender(guids[number], guids[number], "localhost", "c" + std::to_string(number)); };
	for (std::size_t number = 0; number < Limits::ROUTED_COORDINATORS; ++number)
	{
		hear(number);
	}
	hear(0);
	hear(Limits::ROUTED_COORDINATORS);
	EXPECT_EQ(table.getCoordinatorName(guids[0]), "c0");
	EXPECT_EQ(table.getUpstreamGUID("localhost", "c0"), guids[0]);
	EXPECT_EQ(table.getCoordinatorName(guids[1]), "");
	EXPECT_FALSE(table.getUpstreamOfSender(guids[1]));
	EXPECT_FALSE(table.getUpstreamGUID("localhost", "c1"));
	EXPECT_EQ(table.getCoordinatorName(guids.back()), "c" + std::to_string(Limits::ROUTED_COORDINATORS));

	for (std::size_t number = 0; number <= Limits::ROUTED_SENDERS; ++number)
	{
		table.registerSender(guids[number], guids[2], "", "");
	}
	EXPECT_EQ(table.getUpstreamOfSender(guids[Limits::ROUTED_SENDERS]), guids[2]);
	EXPECT_EQ(table.getUpstreamOfSender(guids[0]), guids[2]); // which it has moved to
	EXPECT_FALSE(table.getUpstreamOfSender(guids[2]));        // the one that was heard first
	EXPECT_EQ(table.getCoordinatorName(guids[2]), "c2");

	// Under another name or on another host it is found there only.
	table.registerSender(guids[2], guids[2], "m2", "c2");
	EXPECT_FALSE(table.getUpstreamGUID("localhost", "c2"));
	EXPECT_EQ(table.getUpstreamGUID("m2", "c2"), guids[2]);
	table.setHostIfUnknown(guids[2], "m3");
	EXPECT_EQ(table.getHostName(guids[2]), "m2");
}
}
