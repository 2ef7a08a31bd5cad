#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvUtils/MrvDirs.h"
#include "support/MemoryConsole.h"
#include "support/RoutingCoordinator.h"
#include "support/ScriptRun.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
const std::string EXAMPLE = "Message\nInternalAddress\nnet.morvane.service.null/0\nLocalUnresolvedAddress\nSomeCoordinator\n"
                            "net.morvane.service.ping/0\n2\n\n";

class MessageTest : public testing::Test
{
protected:
	static std::shared_ptr<Message> make(const std::shared_ptr<const IObject> &sender, const std::shared_ptr<const IObject> &receiver,
	    OpCode opCode, const std::string &payload)
	{
		return std::dynamic_pointer_cast<Message>(
		    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(sender, receiver, opCode, payload));
	}
	static std::shared_ptr<Message> example()
	{
		return make(InternalAddress::factoryFromIndices("net.morvane.service.null"),
		    LocalUnresolvedAddress::factoryFromCoordinatorNameIndices("SomeCoordinator", "net.morvane.service.ping"), OpCode::PING, "");
	}
	static std::shared_ptr<Message> read(const std::string &text)
	{
		return std::dynamic_pointer_cast<Message>(Data_abstract::deserializeFromStr(text));
	}

	RoutingCoordinator fCoordinator;
};
}

TEST_F(MessageTest, IsWrittenAndReadItemByItem)
{
	EXPECT_EQ(Data_abstract::serializeToStr(example()), EXAMPLE);
	ASSERT_TRUE(read(EXAMPLE));
	EXPECT_EQ(*read(EXAMPLE), *example());
	const auto message = make(nullptr, DataNull::factory(), OpCode::NONE, "test1223\n\n");
	EXPECT_EQ(Data_abstract::serializeToStr(message), "Message\nDataNull\nDataNull\n0\ntest1223\\n\\n\n");
	const auto back = read(Data_abstract::serializeToStr(message));
	ASSERT_TRUE(back);
	EXPECT_EQ(*back, *message);
	EXPECT_FALSE(back->getReceiverAddressObj());
	EXPECT_EQ(read("Message\nDataNull\nDataNull\n\n\n")->getOpCode(), OpCode::NONE);
	const auto fromService = make(fCoordinator.services["net.morvane.service.null/0"], nullptr, OpCode::PING, "");
	EXPECT_EQ(*fromService->getSenderAddressObj(), *InternalAddress::factoryFromIndices("net.morvane.service.null/0"));
}

TEST_F(MessageTest, HostileTextIsRefused)
{
	for (const std::string &text : std::vector<std::string>{"Message\n", "Message\nDataNull\n", "Message\nDataNull\nDataNull\n",
	         "Message\nDataNull\nDataNull\n2\n", "Message\nDataNull\nDataNull\n2\nhalf", "Message\nNobody\nDataNull\n2\n\n",
	         "Message\nDataString\nx\nDataNull\n2\n\n", "Message\nMessage\nDataNull\nDataNull\n0\n\nDataNull\n0\n\n"})
	{
		EXPECT_FALSE(read(text)) << text;
	}
	takeLogLines();
	for (const std::string &opCode : std::vector<std::string>{"x", "-1", "4294967296", "9999999999999999999999999999999999999999", "1 "})
	{
		EXPECT_FALSE(read("Message\nDataNull\nDataNull\n" + opCode + "\n\n")) << opCode;
		EXPECT_LOG("SANITY_CHECK failed: 'Utils::isNumeric(opCodeStr)' evaluates to false");
		takeLogLines();
	}
	std::string nested;
	for (int level = 0; level < 100'000; ++level)
	{
		nested += "Message\n";
	}
	EXPECT_FALSE(read(nested));
	takeLogLines();
}

TEST_F(MessageTest, PayloadsAreNodes)
{
	EXPECT_FALSE(example()->getAsOMNode());
	EXPECT_LOG("SANITY_CHECK failed: '! fPayload.empty()' evaluates to false");
	const auto node = OMStored::undefinedFactory();
	ASSERT_TRUE(ParseTask::call(node, "{a: [1, 'x']}"));
	const auto message =
	    std::dynamic_pointer_cast<Message>(Message::factoryFromSenderDestinationAddressOpCodeOMNode(nullptr, nullptr, OpCode::EVAL, node));
	EXPECT_EQ(message->getPayload(), node->toString());
	EXPECT_EQ(message->getAsOMNode()->toString(), node->toString());
	EXPECT_FALSE(Message::factoryFromSenderDestinationAddressOpCodeOMNode(nullptr, nullptr, OpCode::EVAL, nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'messageNode' evaluates to false");
	EXPECT_FALSE(make(nullptr, nullptr, OpCode::EVAL, "{a: ")->getAsOMNode());
	takeLogLines();
}

TEST_F(MessageTest, OpCodesHaveNamesAndSomeAreRequests)
{
	EXPECT_EQ(Object::opCodeToString(OpCode::NONE), "none");
	EXPECT_EQ(Object::opCodeToString(OpCode::PING_REPLY), "ping_reply");
	EXPECT_EQ(Object::opCodeToString(OpCode::DATA_REPLY), "dataReply");
	EXPECT_EQ(Object::opCodeToString(static_cast<OpCode>(17)), "");
	EXPECT_LOG("SANITY_CHECK failed");
	std::string requests;
	for (std::uint32_t value = 0; value <= 16; ++value)
	{
		requests += Message::isRequest(static_cast<OpCode>(value)) ? Object::opCodeToString(static_cast<OpCode>(value)) + " " : "";
	}
	EXPECT_EQ(requests, "ping eval evalFile dataRequest ");
}

TEST_F(MessageTest, TheReceiverAloneMayChange)
{
	const auto message = example();
	const auto receiver = message->getReceiverAddressObj();
	EXPECT_FALSE(message->setReceiverAddressObj(nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'addressObj' evaluates to false");
	EXPECT_EQ(message->getReceiverAddressObj(), receiver);
	EXPECT_TRUE(message->setReceiverAddressObj(receiver));
	EXPECT_TRUE(message->setReceiverAddressObj(fCoordinator.self->getAddressObj()));
	EXPECT_NE(message->getReceiverAddressObj(), receiver);
}

TEST_F(MessageTest, TheLogExplainsEachGUIDOnce)
{
	const std::string path = Dirs::getTmpPath() + "ipc.log";
	const auto message = make(fCoordinator.self, nullptr, OpCode::LOG_NOTE, "text");
	Message::setIPCLogFilePath(path);
	Message::logIPCMessage(message);
	EXPECT_EQ(readWholeFile(path), "") << "off unless asked for";
	Message::setLogIPC(true);
	Message::logIPCMessage(message);
	const std::string first = readWholeFile(path);
	EXPECT_NE(first.find(" = " + fCoordinator.guid->toSectionedString() + "\n  opcode = logNote(5)\n  sender = AddressedGUID = guid"),
	    std::string::npos)
	    << first;
	EXPECT_NE(first.find("  payload = \"text\"\n\n"), std::string::npos);
	Message::logIPCMessage(message);
	const std::string second = readWholeFile(path).substr(first.size());
	EXPECT_EQ(second.find(fCoordinator.guid->toSectionedString()), std::string::npos) << second;
	Message::setLogIPC(false);
	Message::setIPCLogFilePath("");
}
}
