// The external object as a host uses it: loaded at run time, called through its exports only.
#include "host/HostLibrary.h"
#include "host/HostSettings.h"
#include "support/ProcessMemory.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
using Platform::SharedLibrary;

const std::string LIBRARY = MORVANE_EXTERNAL_OBJECT;

class ExternalObjectTest : public testing::Test, protected HostLibrary
{
protected:
	ExternalObjectTest() : HostLibrary(LIBRARY) {}

private:
	const HostSettings fSettings;
};
}

TEST_F(ExternalObjectTest, TheInterfaceOfExternalObjects)
{
	static_assert(sizeof(TaggedData) == 16);
	const std::string functions = fLibrary.find<char *(const TaggedData *, int32_t)>("ESInitialize")(nullptr, 0);
	EXPECT_EQ(functions,
	    "mrvAdvanceHostMessageQueue,mrvAdvanceLogMessageQueue,mrvAdvanceScriptQueue,mrvGetHostMessageTargetHost,mrvGetHostMessage,"
	    "mrvGetHostMessageQueueSize,mrvGetLogMessage,mrvGetLogMessageQueueSize,mrvGetScript,mrvGetScriptQueueSize,"
	    "mrvRegisterLocalHostName_s,mrvReportScriptCompleted_ss,mrvRelayHostMessage_ss,mrvInit_s,mrvShutdown,mrvTimeslice");
	EXPECT_EQ(fLibrary.find<int32_t()>("ESGetVersion")(), 7);
	void *memory = fLibrary.find<void *(size_t)>("ESMallocMem")(100);
	EXPECT_TRUE(memory);
	fLibrary.find<void(void *)>("ESFreeMem")(memory);
	auto *client = fLibrary.find<int32_t(int32_t, SoServerInterface_s *, SoHServer)>("ESClientInterface");
	int thing = 0;
	auto *server = reinterpret_cast<SoServerInterface_s *>(&thing);
	EXPECT_EQ(client(kSoCClient_term, server, &thing), MRV_HOST_REFUSED);
	EXPECT_EQ(client(kSoCClient_init, nullptr, &thing), MRV_HOST_REFUSED);
	EXPECT_EQ(client(kSoCClient_init, server, nullptr), MRV_HOST_REFUSED);
	EXPECT_EQ(client(kSoCClient_init, server, &thing), MRV_HOST_OK);
	EXPECT_EQ(client(kSoCClient_init, server, &thing), MRV_HOST_REFUSED);
	EXPECT_EQ(client(kSoCClient_term, server, &thing), MRV_HOST_OK);
	EXPECT_EQ(client(7, server, &thing), MRV_HOST_REFUSED);
}

TEST_F(ExternalObjectTest, ScriptsReachTheHostAndItsReportsComeBack)
{
	ASSERT_EQ(call("mrvInit", {"net.morvane.coordinator.hosttest"}), MRV_HOST_OK);
	EXPECT_EQ(call("mrvInit", {"other"}), MRV_HOST_OK);
	ask("1 + 2");
	EXPECT_NE(answer().find("\\\"result\\\": 3"), std::string::npos);

	ask("hostEval('6 * 7')");
	ASSERT_TRUE(waitFor("mrvGetScriptQueueSize"));
	EXPECT_EQ(text("mrvGetScript"), "6 * 7");
	EXPECT_EQ(text("mrvGetScript"), "6 * 7") << "looking takes nothing away";
	EXPECT_EQ(call("mrvReportScriptCompleted", {"undefined", "[42, 'x']"}), MRV_HOST_OK);
	EXPECT_EQ(call("mrvAdvanceScriptQueue"), MRV_HOST_OK);
	EXPECT_NE(answer().find("\\\"result\\\": [42, \\\"x\\\"]"), std::string::npos);

	ask("typeof hostEval('boom()')");
	ASSERT_TRUE(waitFor("mrvGetScriptQueueSize"));
	call("mrvReportScriptCompleted", {"{message: 'no such function'}", ""});
	call("mrvAdvanceScriptQueue");
	EXPECT_NE(answer().find("\\\"result\\\": \\\"error\\\""), std::string::npos);
	EXPECT_NE(logText().find("no such function"), std::string::npos);

	ask("typeof hostEval('odd()')");
	ASSERT_TRUE(waitFor("mrvGetScriptQueueSize"));
	call("mrvReportScriptCompleted", {"undefined", "("});
	call("mrvAdvanceScriptQueue");
	EXPECT_NE(answer().find("\\\"result\\\": \\\"error\\\""), std::string::npos);
	EXPECT_NE(logText().find("the report can't be read"), std::string::npos);

	// In order, with call-backs, and the outcome goes to the first one.
	ask("got = []; evalExtendScript('a', function(r, e) { got.push(r) }); 'b'.evalExtendScript(function(r, e) { got.push([r, e]) }); 1");
	answer();
	ASSERT_EQ(count("mrvGetScriptQueueSize"), 2U);
	EXPECT_EQ(text("mrvGetScript"), "a");
	call("mrvReportScriptCompleted", {"", "10"});
	call("mrvAdvanceScriptQueue");
	EXPECT_EQ(text("mrvGetScript"), "b");
	call("mrvReportScriptCompleted", {"'bad'", "undefined"});
	call("mrvAdvanceScriptQueue");
	call("mrvReportScriptCompleted", {"", "1"});
	EXPECT_NE(logText().find("VERIFY failed: '! fScriptQueue.empty()' evaluates to false"), std::string::npos);
	call("mrvTimeslice");
	ask("got");
	EXPECT_NE(answer().find("\\\"result\\\": [10, [undefined, \\\"bad\\\"]]"), std::string::npos);

	EXPECT_EQ(call("mrvShutdown"), MRV_HOST_OK);
	EXPECT_EQ(call("mrvGetHostMessageQueueSize"), MRV_HOST_OK);
	EXPECT_EQ(fResult.type, MRV_HOST_UNDEFINED);
	EXPECT_EQ(call("mrvGetScriptQueueSize"), MRV_HOST_OK) << "the engine stays until the next start";
}

TEST_F(ExternalObjectTest, AFailedStartSaysWhyAndHarmsNothing)
{
	for (int round = 0; round < 3; ++round)
	{
		ASSERT_EQ(call("mrvInit", {"not-a-name"}), MRV_HOST_OK);
		EXPECT_NE(logText().find("could not start: "), std::string::npos);
		ask("1 + 2");
		call("mrvTimeslice");
		EXPECT_EQ(count("mrvGetHostMessageQueueSize"), 0U);
		EXPECT_EQ(call("mrvShutdown"), MRV_HOST_OK);
	}
	ASSERT_EQ(call("mrvInit", {"not-a-name"}), MRV_HOST_OK); // and unload
	ask("1 + 2");
}

TEST_F(ExternalObjectTest, ItStartsAgainAndIsGoneWhenUnloaded)
{
	for (int round = 0; round < 20; ++round)
	{
		SharedLibrary again(LIBRARY);
		ASSERT_TRUE(again.isLoaded());
		for (const char *name : {"first", "second"})
		{
			ASSERT_EQ(call("mrvInit", {name}), MRV_HOST_OK);
			ask("'a' + 1");
			EXPECT_NE(answer().find("a1"), std::string::npos);
			EXPECT_EQ(logText().find("could not start"), std::string::npos);
			EXPECT_EQ(call("mrvShutdown"), MRV_HOST_OK);
		}
	}
}

// A coordinator that is left running ends with the module, and everything with it. The first rounds settle what the process keeps for good.
TEST(ExternalObjectUnloadTest, AHundredTimesNothingIsKept)
{
	constexpr int SETTLED = 20;
	std::size_t before = 0;
	std::size_t handlesBefore = 0;
	for (int round = 0; round < SETTLED + 100; ++round)
	{
		{
			const HostSettings settings;
			HostLibrary host(LIBRARY);
			ASSERT_EQ(host.call("mrvInit", {"unloaded"}), MRV_HOST_OK);
			host.ask("hostEval('left waiting')");
			ASSERT_TRUE(host.waitFor("mrvGetScriptQueueSize"));
		}
		ASSERT_FALSE(SharedLibrary::isInMemory(LIBRARY));
		before = round == SETTLED ? residentBytes() : before;
		handlesBefore = round == SETTLED ? openHandles() : handlesBefore;
	}
	EXPECT_LT(openHandles(), handlesBefore + 50);
	if (IS_MEMORY_EXACT)
	{
		EXPECT_LT(residentBytes(), before + 2'000'000);
	}
}
}
