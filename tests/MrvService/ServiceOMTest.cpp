#include "MrvService/MrvServiceOM.h"

#include "support/GatewayPeer.h"
#include "support/TestLog.h"
#include "support/TestService.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvService/MrvRemotePayload.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvLimits.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Test::GatewayPeer;
using Test::logLines;
using Test::runPasses;
using Test::takeLogLines;
using Test::TestCoordinator;

const std::string CLIENT = "11111111-2222-3333-4444-555555555555";
const std::string UNKNOWN = "99999999-2222-3333-4444-555555555555";

std::string field(const std::string &name, const std::string &literal)
{
	return ", \"" + name + "\": " + literal;
}

std::string request(const std::string &script, const std::string &more = {})
{
	return R"({ "clientSequenceNr": 7, "clientSessionId": ")" + CLIENT + R"(", "script": ")" + script + "\"" + more + " }";
}

std::shared_ptr<OMStored> parsed(const std::string &payload)
{
	const auto node = OMStored::undefinedFactory();
	EXPECT_TRUE(ParseTask::call(node, payload)) << payload;
	return node;
}

std::string fieldOf(const std::string &payload, const std::string &name)
{
	const auto node = parsed(payload)->getOMNode(name);
	return node ? node->getAsString() : "absent";
}

std::string sessionOf(const std::string &payload)
{
	return fieldOf(payload, "serviceSessionId");
}

class ServiceOMTest : public testing::Test
{
protected:
	std::string eval(const std::string &script, const std::string &more = {}) { return peer.ask(OpCode::EVAL, request(script, more)); }
	std::string resultOf(const std::string &script, const std::string &more = {}) { return fieldOf(eval(script, more), "result"); }
	static std::shared_ptr<ServiceOM> service()
	{
		return std::dynamic_pointer_cast<ServiceOM>(InternalCoordinator::instance()->getChildByNameIndex("default", 0));
	}

	GatewayPeer peer;
};

TEST_F(ServiceOMTest, IsFoundByItsNamesAndThatOfItsKind)
{
	const auto coordinator = InternalCoordinator::instance();
	ASSERT_TRUE(service());
	EXPECT_EQ(coordinator->getChildByNameIndex("net.morvane.service.objectmodel", 0), service());
	EXPECT_EQ(coordinator->getChildByNameIndex("net.morvane.service.objectmodel", 1), coordinator->getChildByNameIndex("sample.test", 0));
	EXPECT_EQ(service()->getServiceName(), "net.morvane.service.objectmodel");
	EXPECT_EQ(service()->getScope(), InternalCoordinator::getCoordinatorScope());
}

TEST_F(ServiceOMTest, AnswersTheSenderWithTheValueAndTheNumbersOfTheRequest)
{
	const std::string answer = peer.ask(OpCode::EVAL, request("abc + '!'", field("serviceSequenceNr", "9")), "sample.test/0");
	EXPECT_EQ(answer, R"({ "clientSequenceNr": 7, "clientSessionId": ")" + CLIENT +
	                      R"(", "result": "sampleValue!", "serviceSequenceNr": 9, "serviceSessionId": ")" + sessionOf(answer) +
	                      R"(", "success": true })");
	EXPECT_EQ(parsed(answer)->toString(), answer);
	const std::shared_ptr<IMessage> message = peer.received.back();
	EXPECT_EQ(message->getOpCode(), OpCode::EVAL_RESULT);
	EXPECT_EQ(dynamic_cast<const Address_abstract &>(*message->getReceiverAddressObj()).getAddressedGUID(), peer.object);
	EXPECT_EQ(peer.hosts.back(), "far");

	// What wasn't given isn't repeated; a bare text is a script.
	const std::string bare = peer.ask(OpCode::EVAL, "\"1 + 2\"");
	EXPECT_EQ(bare, R"({ "result": 3, "serviceSessionId": ")" + sessionOf(bare) + R"(", "success": true })");
	EXPECT_EQ(fieldOf(eval("1", field("serviceSequenceNr", "0")), "serviceSequenceNr"), "absent");
}

TEST_F(ServiceOMTest, ValuesWithoutALiteralTravelAsStrings)
{
	Environment &scope = InternalCoordinator::getDefaultScope()->getEnvironment();
	scope.create(Name("when")) = Value::date(0);
	scope.create(Name("guid")) = Value::guid(peer.object);
	const std::string answer = eval("[when, { g: guid }, eval('1 +* 2')]");
	EXPECT_LOG("cannot evaluate string");
	EXPECT_NE(answer.find(R"("result": ["Thu Jan  1 00:00:00 1970\n", { "g": ")" + peer.object->toSectionedString() + R"(" }, error])"),
	    std::string::npos)
	    << answer;
}

TEST_F(ServiceOMTest, SessionsAreApartAndLastUntilTheyAreClosed)
{
	const std::string opened = peer.ask(OpCode::OPEN_SESSION, request(""));
	const std::string first = field("serviceSessionId", '"' + sessionOf(opened) + '"');
	const std::string second = field("serviceSessionId", '"' + sessionOf(peer.ask(OpCode::OPEN_SESSION, request(""))) + '"');
	EXPECT_EQ(opened, R"({ "clientSequenceNr": 7, "clientSessionId": ")" + CLIENT + R"(", "serviceSessionId": ")" + sessionOf(opened) +
	                      R"(", "success": true })");
	EXPECT_NE(first, second);
	EXPECT_EQ(resultOf("var x = 1; x", first), "1");
	EXPECT_EQ(resultOf("typeof x", second), "undefined");
	EXPECT_EQ(resultOf("x"), "1"); // who names none has the first
	EXPECT_EQ(resultOf("typeof x", field("clientSessionId", '"' + UNKNOWN + '"')), "undefined");
	EXPECT_EQ(service()->getSessionCount(), 3U);

	EXPECT_EQ(fieldOf(peer.ask(OpCode::CLOSE_SESSION, request("", first)), "success"), "true");
	EXPECT_EQ(fieldOf(peer.ask(OpCode::CLOSE_SESSION, request("", first)), "success"), "false");
	for (const std::string &gone : {first, field("serviceSessionId", '"' + UNKNOWN + '"'), field("serviceSessionId", "\"no guid\"")})
	{
		const std::string answer = eval("1", gone);
		EXPECT_EQ(
		    answer, R"({ "clientSequenceNr": 7, "clientSessionId": ")" + CLIENT + R"(", "error": "no such session", "success": false })");
	}
	EXPECT_EQ(resultOf("typeof x"), "undefined"); // the second is the first now
	EXPECT_EQ(service()->getSessionCount(), 2U);
}

TEST_F(ServiceOMTest, ACoordinatorHasSoManySessionsAndLosesThemWhenItIsFollowed)
{
	for (std::size_t count = 0; count < Limits::SESSIONS; ++count)
	{
		EXPECT_EQ(fieldOf(peer.ask(OpCode::OPEN_SESSION, request("")), "success"), "true");
	}
	for (int time = 0; time < 2; ++time)
	{
		EXPECT_EQ(fieldOf(peer.ask(OpCode::OPEN_SESSION, request("")), "error"), "too many sessions");
	}
	EXPECT_LOG("too many sessions");
	EXPECT_TRUE(logLines().empty());
	EXPECT_EQ(resultOf("1"), "1");

	peer.restart();
	EXPECT_EQ(resultOf("1"), "1");
	EXPECT_EQ(service()->getSessionCount(), 1U);
}

TEST_F(ServiceOMTest, RunsFilesWithTheirPaths)
{
	const std::string path = Dirs::getTmpPath() + "remote.msl";
	std::FILE *file = Platform::openFile(path, Platform::OpenMode::WRITE);
	ASSERT_TRUE(file);
	std::fputs("#!/usr/bin/env morvane\nyield(); scriptFilePath()\n", file);
	std::fclose(file);
	std::string quoted = path;
	for (std::size_t at = 0; (at = quoted.find('\\', at)) != std::string::npos; at += 2)
	{
		quoted.insert(at, 1, '\\');
	}
	EXPECT_EQ(fieldOf(peer.ask(OpCode::EVAL_FILE, request(quoted)), "result"), path);
	EXPECT_EQ(fieldOf(peer.ask(OpCode::EVAL_FILE, '"' + quoted + '"'), "result"), path);
	EXPECT_EQ(resultOf("scriptFilePath()"), "");
	Platform::removeFile(path);
	const std::string missing = peer.ask(OpCode::EVAL_FILE, request(quoted));
	EXPECT_LOG("does not exist: " + path);
	EXPECT_EQ(fieldOf(missing, "success"), "false");
	EXPECT_EQ(fieldOf(missing, "clientSequenceNr"), "7");
	EXPECT_EQ(fieldOf(missing, "error"), "does not exist: " + path);
	EXPECT_NE(sessionOf(missing), "absent");
}

TEST_F(ServiceOMTest, AScriptPastItsDeadlineIsAnswered)
{
	InternalCoordinator::changeSettings().defaultTimeoutMicroseconds = 20'000;
	// Also where its value so far would be something.
	const std::string answer = eval("x = 5; while (true) { x = x + 1; }");
	EXPECT_EQ(fieldOf(answer, "success"), "false");
	EXPECT_EQ(fieldOf(answer, "result"), "absent");
	EXPECT_EQ(fieldOf(answer, "clientSequenceNr"), "7");
	EXPECT_EQ(fieldOf(eval("while(1)1"), "success"), "false");
	EXPECT_EQ(resultOf("x > 5"), "true");
}

TEST_F(ServiceOMTest, AFailureIsToldWithItsReason)
{
	const std::string unparsed = eval("1 +* 2");
	EXPECT_LOG("ParseTask::call(scriptNode, script)");
	EXPECT_EQ(fieldOf(unparsed, "success"), "false");
	EXPECT_EQ(fieldOf(unparsed, "error").substr(0, 9), "eval:1:4:");

	// A script that ends in an Error has run: that is its value.
	const std::string failed = eval("nosuch + 1");
	EXPECT_LOG("'nosuch' has no value");
	EXPECT_EQ(fieldOf(failed, "success"), "true");
	EXPECT_EQ(fieldOf(failed, "error"), "eval:1:8: 'nosuch' has no value");
	EXPECT_NE(failed.find(R"("result": error)"), std::string::npos);
}

TEST_F(ServiceOMTest, GoesOnAfterWhatIsNoRequest)
{
	const std::pair<OpCode, std::string> wrong[] = {{OpCode::EVAL, ""}, {OpCode::EVAL, "("}, {OpCode::DATA_REQUEST, ""},
	    {OpCode::DATA_REQUEST, "{}"}, {OpCode::OPEN_SESSION, "}"}, {OpCode::EVAL_RESULT, ""}, {OpCode::DATA_REPLY, "5"}};
	for (const auto &[opCode, payload] : wrong)
	{
		SCOPED_TRACE(payload);
		EXPECT_TRUE(peer.sendTo("default/0", opCode, payload));
		runPasses(3);
	}
	takeLogLines();
	EXPECT_TRUE(peer.received.empty());
	for (const std::string payload : {"{}", "5", "{ \"script\": 5 }", "[1]"})
	{
		SCOPED_TRACE(payload);
		EXPECT_EQ(fieldOf(peer.ask(OpCode::EVAL, payload), "error"), "no script");
		EXPECT_LOG("a request without a script");
	}
	EXPECT_EQ(fieldOf(peer.ask(OpCode::EVAL_FILE, "\"\""), "error"), "no script");
	EXPECT_LOG("a request without a script");
	EXPECT_EQ(resultOf("1 + 1"), "2");
}

TEST_F(ServiceOMTest, CodeThatStandsAloneCanCallScripts)
{
	const auto scope = service()->getScope();
	const auto script = ServiceOM::parseScript("6 * 7");
	ASSERT_TRUE(script);
	EXPECT_EQ(service()->evalScriptNode(script, scope)->getInt(), 42);
	EXPECT_FALSE(ServiceOM::parseScript("6 +* 7"));
	EXPECT_LOG("SANITY_CHECK failed: 'ParseTask::call(scriptNode, script)' evaluates to false");
	EXPECT_FALSE(ServiceOM::factoryFromNameOMScope("no scope", nullptr));
	EXPECT_LOG("SANITY_CHECK failed: 'scope' evaluates to false");
}

TEST(RemotePayloadTest, WhatArrivesIsNeverCode)
{
	const TestCoordinator coordinator;
	RemotePayload payload(parsed("{ a: 1 + x, b: [error, { c: f() }, inf, -inf, function g() { return 1; }], d: error, e: return 5 }"));
	const auto textOf = [&](const char *name) { return OMStored::valueFactory(payload.takeValue(name).value_or(Value()))->toString(); };
	EXPECT_EQ(textOf("a"), "error");
	EXPECT_LOG("code that came as a value is not run: 1 + x");
	EXPECT_EQ(textOf("b"), "[error, { \"c\": error }, inf, -inf, function g(){return 1}]");
	EXPECT_LOG("code that came as a value is not run: f()");
	EXPECT_EQ(textOf("d"), "error");
	EXPECT_EQ(textOf("e"), "error");
	EXPECT_LOG("code that came as a value is not run: return 5");
	EXPECT_FALSE(payload.takeValue("missing"));
}
}
}
