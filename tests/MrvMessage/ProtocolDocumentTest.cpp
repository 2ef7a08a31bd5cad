// The page on the wire format shows what the code does: every example in it is looked for here, and none stands there unchecked.
#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvData/MrvDataOM.h"
#include "MrvData/MrvDataString.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvUtils/MrvUtils.h"
#include "support/CoordinatorStart.h"
#include "support/ScriptRun.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>

namespace Mrv::Test
{
namespace
{
using Address = std::shared_ptr<const IObject>;

const std::string MAIN = "net.morvane.coordinator.main";
const std::string PEER = "net.morvane.coordinator.peer";
const std::string PING = "net.morvane.service.ping/0";

GUIDClass *guid(const char *text)
{
	return GUIDClass::factory(text);
}

// The blocks of the page, by what stands behind the backquotes.
std::map<std::string, std::string> readBlocks()
{
	std::map<std::string, std::string> blocks;
	std::istringstream page(readWholeFile(std::string(MORVANE_DOCS) + "/protocol.md"));
	std::string line;
	std::string *block = nullptr;
	while (std::getline(page, line))
	{
		if (line.starts_with("```"))
		{
			block = block ? nullptr : &blocks[line.substr(3)];
		}
		else if (block)
		{
			*block += line + "\n";
		}
	}
	return blocks;
}

std::map<std::string, std::shared_ptr<IObject>> makeObjects()
{
	GUIDClass *object = guid("5C1D0A84-0F3B-4E58-9A70-33D2C6B1E9F4");
	GUIDClass *peer = guid("A2F86E10-7B49-4D0C-8E51-0C9D4B7A6F23");
	const Address sender = LocalResolvedAddress::factoryFromGUIDsName(object, peer, PEER);
	const Address coordinator = LocalResolvedAddress::factoryFromGUIDsName(peer, peer, PEER);
	const Address pingService = LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(MAIN, "net.morvane.service.ping");
	const Address answering = LocalResolvedAddress::factoryFromGUIDsName(
	    guid("1B7E5D92-64C8-4A1F-B3E0-7F2A9C8D5B16"), guid("E09A3F47-2D81-4C6B-95F8-6E1B0A7D4C38"), MAIN);
	const auto message = [](const Address &from, const Address &to, OpCode opCode, const std::string &payload)
	{ return Message::factoryFromSenderDestinationAddressOpCodePayloadStr(from, to, opCode, payload); };
	return {
	    {"text", DataString::factoryFromString("say \"\u00e4\"\nC:\\")},
	    {"value", DataOM::factoryFromJSONStr(R"({"name":"pen","price":1.5})")},
	    {"internal", InternalAddress::factoryFromIndices("")},
	    {"local-unresolved", LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(MAIN, PING)},
	    {"remote-unresolved", RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName(MAIN, PING, "studio7.local")},
	    {"local-resolved", LocalResolvedAddress::factoryFromGUIDsName(object, peer, PEER)},
	    {"remote-resolved", RemoteResolvedAddress::factoryFromGUIDsNameHost(object, peer, PEER, "studio7.local")},
	    {"ping-nobody", message(nullptr, pingService, OpCode::PING, "")},
	    {"std-out", message(coordinator, LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(MAIN, ""), OpCode::STD_OUT,
	                    OMStored::factory(std::string("hello\n"))->toString())},
	    {"question", message(sender, pingService, OpCode::PING, "are you there?")},
	    {"answer", message(answering, sender, OpCode::PING_REPLY, "are you there?")},
	};
}

// Takes the block: what is left in the end has not been looked at.
std::string take(std::map<std::string, std::string> &blocks, const std::string &name)
{
	const auto node = blocks.extract(name);
	EXPECT_FALSE(node.empty()) << "the page has no block " << name;
	return node.empty() ? std::string() : node.mapped();
}
}

TEST(ProtocolDocumentTest, EveryExampleIsWhatTheCodeWritesAndReads)
{
	const CoordinatorStart coordinator({"-n", "main"});
	std::map<std::string, std::string> blocks = readBlocks();
	for (const auto &[name, object] : makeObjects())
	{
		SCOPED_TRACE(name);
		ASSERT_TRUE(object);
		const std::string text = take(blocks, "wire " + name);
		EXPECT_EQ(Data_abstract::serializeToStr(object), text);
		const std::shared_ptr<IObject> back = Data_abstract::deserializeFromStr(text);
		ASSERT_TRUE(back);
		EXPECT_EQ(*back, *object);
		if (name == "ping-nobody")
		{
			EXPECT_EQ(take(blocks, "wire one-line"), Utils::escapeIPC(text) + "\n");
		}
	}

	std::string escapes;
	for (int byte = 0; byte < 256; ++byte)
	{
		const std::string character(1, static_cast<char>(byte));
		const std::string written = Utils::escapeSerializer(character);
		EXPECT_EQ(Utils::unescapeSerializer(written), character);
		escapes += written == character ? "" : std::to_string(byte) + " " + written + "\n";
	}
	EXPECT_EQ(take(blocks, "escapes"), escapes);

	std::string opCodes;
	for (uint32_t opCode = 0; opCode <= static_cast<uint32_t>(OpCode::DATA_REPLY); ++opCode)
	{
		opCodes += std::to_string(opCode) + " " + Object::opCodeToString(static_cast<OpCode>(opCode)) + "\n";
	}
	EXPECT_EQ(take(blocks, "opcodes"), opCodes);

	std::istringstream urls(take(blocks, "urls"));
	std::string written;
	std::string usual;
	int count = 0;
	while (urls >> written >> usual)
	{
		SCOPED_TRACE(written);
		std::string tail;
		const auto address = std::dynamic_pointer_cast<IAddress>(Address_abstract::factoryFromURL(written, tail));
		ASSERT_TRUE(address);
		EXPECT_EQ(address->getURL(), usual);
		++count;
	}
	EXPECT_GT(count, 0);
	for (const auto &[name, text] : blocks)
	{
		ADD_FAILURE() << "nobody checks the block " << name;
	}
}

// The peer of the page, played against a running coordinator.
TEST(ProtocolDocumentTest, TheQuestionIsAnsweredToItsSender)
{
	const CoordinatorStart coordinator({"-n", "main"});
	std::map<std::string, std::string> blocks = readBlocks();
	class Peer final : public ISibling, public ISiblingDirectory
	{
	public:
		bool relayOutgoingMessage(const std::shared_ptr<const IObject> &messageObj) override
		{
			answer = Data_abstract::serializeToStr(messageObj);
			return true;
		}
		std::shared_ptr<ISibling> findSibling(const std::string &coordinatorName) override
		{
			return coordinatorName == PEER ? std::shared_ptr<ISibling>(std::shared_ptr<void>(), this) : nullptr;
		}
		bool isKnownName(const std::string &) const override { return false; }
		bool isAliveUnder(const std::string &, GUIDClass *) const override { return false; }

		std::string answer;
	};
	const auto peer = std::make_shared<Peer>();
	const auto router = InternalCoordinator::instance();
	router->setSiblingDirectory(peer);
	EXPECT_TRUE(router->receiveMessageStr(take(blocks, "wire question")));
	EXPECT_TRUE(router->processMessageQueues());
	EXPECT_TRUE(router->processMessageQueues());
	std::string expected = take(blocks, "wire answer");
	const std::string service = router->getChildByNameIndex("net.morvane.service.ping", 0)->createGUID()->toSectionedString();
	expected = Utils::replaceSubStr(expected, "1B7E5D92-64C8-4A1F-B3E0-7F2A9C8D5B16", service);
	expected = Utils::replaceSubStr(expected, "E09A3F47-2D81-4C6B-95F8-6E1B0A7D4C38", router->getGUID()->toSectionedString());
	EXPECT_EQ(peer->answer, expected);
}
}
