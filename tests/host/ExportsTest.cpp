// Every export, in every state, with every kind of wrong call.
#include "host/HostLibrary.h"
#include "host/HostSettings.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
// What an export wants and gives.
struct ExportRow
{
	const char *name;
	int32_t least;
	int32_t most; // arguments, all of them texts
	bool wantsEngine;
};

constexpr int32_t ANY = 3;
const ExportRow ROWS[] = {
    {"mrvInit", 1, 1, false},
    {"mrvShutdown", 0, 0, false},
    {"mrvTimeslice", 0, ANY, false},
    {"mrvGetScriptQueueSize", 0, 0, true},
    {"mrvGetScript", 0, 0, true},
    {"mrvAdvanceScriptQueue", 0, 0, true},
    {"mrvReportScriptCompleted", 0, 2, true},
    {"mrvGetHostMessageQueueSize", 0, 0, false},
    {"mrvGetHostMessage", 0, 0, false},
    {"mrvGetHostMessageTargetHost", 0, 0, false},
    {"mrvAdvanceHostMessageQueue", 0, 0, false},
    {"mrvGetLogMessageQueueSize", 0, 0, false},
    {"mrvGetLogMessage", 0, 0, false},
    {"mrvAdvanceLogMessageQueue", 0, 0, false},
    {"mrvRegisterLocalHostName", 1, 1, false},
    {"mrvRelayHostMessage", 2, 2, false},
};

bool isOneOf(const ExportRow &row, std::initializer_list<std::string_view> names)
{
	return std::find(names.begin(), names.end(), row.name) != names.end();
}

class ExportsTest : public testing::Test, protected HostLibrary
{
protected:
	ExportsTest() : HostLibrary(MORVANE_EXTERNAL_OBJECT) {}

	void start() { ASSERT_EQ(call("mrvInit", {"net.morvane.coordinator.exports"}), MRV_HOST_OK); }
	// Calls with so many arguments of a type. The result must stay as it was.
	int32_t callUntouched(const ExportRow &row, int32_t count, int32_t type)
	{
		std::string text = "text";
		std::vector<TaggedData> argv(static_cast<std::size_t>(count));
		for (TaggedData &value : argv)
		{
			value.data.string = type == MRV_HOST_STRING ? text.data() : nullptr;
			value.type = type;
		}
		fResult.data.uintval = 4711;
		fResult.type = MRV_HOST_UNDEFINED;
		const int32_t code = fLibrary.find<Export>(row.name)(argv.data(), count, &fResult);
		EXPECT_EQ(fResult.data.uintval, 4711U) << row.name;
		EXPECT_EQ(fResult.type, MRV_HOST_UNDEFINED) << row.name;
		return code;
	}
	void expectCountsRefused(std::initializer_list<std::string_view> but)
	{
		for (const ExportRow &row : ROWS)
		{
			if (isOneOf(row, but))
			{
				continue;
			}
			EXPECT_EQ(callUntouched(row, row.most + 1, MRV_HOST_STRING), MRV_HOST_BAD_ARGUMENT_COUNT) << row.name;
			if (row.least > 0)
			{
				EXPECT_EQ(callUntouched(row, row.least - 1, MRV_HOST_STRING), MRV_HOST_BAD_ARGUMENT_COUNT) << row.name;
			}
			TaggedData value{};
			EXPECT_EQ(fLibrary.find<Export>(row.name)(&value, -1, nullptr), MRV_HOST_BAD_ARGUMENT_COUNT) << row.name;
		}
	}

private:
	const HostSettings fSettings;
};
}

TEST_F(ExportsTest, TheCountOfArgumentsComesFirstInEveryState)
{
	expectCountsRefused({"mrvTimeslice"});
	start();
	expectCountsRefused({"mrvTimeslice", "mrvInit"});
	EXPECT_NE(logText().find("invalid arg count"), std::string::npos);
	EXPECT_EQ(callUntouched({"mrvInit", 1, 1, false}, 2, MRV_HOST_STRING), MRV_HOST_OK) << "started is started";
	EXPECT_EQ(callUntouched({"mrvTimeslice", 0, ANY, false}, ANY, MRV_HOST_STRING), MRV_HOST_OK);
	call("mrvShutdown");
	expectCountsRefused({"mrvTimeslice"});
}

TEST_F(ExportsTest, BeforeTheStartAndAfterTheEndNothingIsThere)
{
	for (const ExportRow &row : ROWS)
	{
		if (!isOneOf(row, {"mrvInit"}))
		{
			EXPECT_EQ(callUntouched(row, row.least, MRV_HOST_STRING), row.wantsEngine ? MRV_HOST_NO_ENGINE : MRV_HOST_OK) << row.name;
		}
	}
	start();
	ask("hostEval('1')");
	ASSERT_TRUE(waitFor("mrvGetScriptQueueSize"));
	ask("1");
	ASSERT_TRUE(waitFor("mrvGetHostMessageQueueSize"));
	call("mrvGetScript", {"leaves a line in the log"});
	call("mrvShutdown");
	for (const ExportRow &row : ROWS)
	{
		if (!isOneOf(row, {"mrvInit"}))
		{
			EXPECT_EQ(callUntouched(row, row.least, MRV_HOST_STRING), MRV_HOST_OK) << row.name;
		}
	}
	start();
	EXPECT_EQ(count("mrvGetScriptQueueSize"), 0U);
	EXPECT_EQ(text("mrvGetHostMessageTargetHost"), "far") << "the other queues stay";
}

TEST_F(ExportsTest, WrongTypesAreLoggedAndDoNothing)
{
	for (const int32_t type : {int32_t{MRV_HOST_UNSIGNED}, int32_t{MRV_HOST_UNDEFINED}, int32_t{99}})
	{
		EXPECT_EQ(callUntouched(ROWS[0], 1, type), MRV_HOST_OK);
	}
	EXPECT_EQ(fLibrary.find<Export>("mrvInit")(nullptr, 1, nullptr), MRV_HOST_OK);
	EXPECT_EQ(call("mrvGetLogMessageQueueSize"), MRV_HOST_OK);
	EXPECT_EQ(fResult.type, MRV_HOST_UNDEFINED) << "nothing was started";

	start();
	ask("hostEval('1')");
	ASSERT_TRUE(waitFor("mrvGetScriptQueueSize"));
	logText();
	for (const ExportRow &row : ROWS)
	{
		if (row.most > 0 && !isOneOf(row, {"mrvTimeslice", "mrvInit"}))
		{
			EXPECT_EQ(callUntouched(row, row.most, MRV_HOST_UNSIGNED), MRV_HOST_OK) << row.name;
			EXPECT_NE(logText().find("invalid arg type"), std::string::npos) << row.name;
			// A text that is said to be there and isn't.
			TaggedData values[2] = {};
			values[0].type = values[1].type = MRV_HOST_STRING;
			EXPECT_EQ(fLibrary.find<Export>(row.name)(values, row.most, &fResult), MRV_HOST_OK) << row.name;
			EXPECT_NE(logText().find("invalid arg type"), std::string::npos) << row.name;
		}
	}
	// A report that was refused is none.
	call("mrvReportScriptCompleted", {"undefined", "'now'"});
	EXPECT_NE(answer().find("now"), std::string::npos);
}

TEST_F(ExportsTest, AnEmptyQueueGivesNothing)
{
	start();
	logText();
	for (const ExportRow &row : ROWS)
	{
		if (isOneOf(row, {"mrvGetScript", "mrvAdvanceScriptQueue", "mrvGetHostMessage", "mrvGetHostMessageTargetHost",
		                     "mrvAdvanceHostMessageQueue", "mrvGetLogMessage", "mrvAdvanceLogMessageQueue"}))
		{
			EXPECT_EQ(callUntouched(row, 0, MRV_HOST_STRING), MRV_HOST_OK) << row.name;
		}
	}
	for (const char *name : {"mrvGetScriptQueueSize", "mrvGetHostMessageQueueSize", "mrvGetLogMessageQueueSize"})
	{
		EXPECT_EQ(call(name), MRV_HOST_OK);
		EXPECT_EQ(fResult.type, MRV_HOST_UNSIGNED) << name;
		EXPECT_EQ(fResult.data.uintval, 0U) << name;
		EXPECT_EQ(fLibrary.find<Export>(name)(nullptr, 0, nullptr), MRV_HOST_OK) << "a host that takes no result";
	}
}

TEST_F(ExportsTest, QueuesAreFirstInFirstOutAndLookingTakesNothing)
{
	start();
	logText();
	call("mrvRelayHostMessage", {"far", "no message"});
	call("mrvReportScriptCompleted", {"", ""});
	ASSERT_GE(count("mrvGetLogMessageQueueSize"), 2U);
	const std::string first = text("mrvGetLogMessage");
	EXPECT_EQ(text("mrvGetLogMessage"), first);
	call("mrvAdvanceLogMessageQueue");
	EXPECT_NE(text("mrvGetLogMessage"), first);

	ask("'first'");
	ASSERT_TRUE(waitFor("mrvGetHostMessageQueueSize"));
	ask("'second'");
	while (count("mrvGetHostMessageQueueSize") < 2)
	{
		call("mrvTimeslice");
	}
	EXPECT_NE(text("mrvGetHostMessage").find("first"), std::string::npos);
	EXPECT_NE(text("mrvGetHostMessage").find("first"), std::string::npos);
	call("mrvAdvanceHostMessageQueue");
	EXPECT_NE(text("mrvGetHostMessage").find("second"), std::string::npos);
}

TEST_F(ExportsTest, ANameOfThisHostLeadsHere)
{
	start();
	EXPECT_EQ(call("mrvRegisterLocalHostName", {"studio.local"}), MRV_HOST_OK);
	ask("eval('6 * 7', 'mrv://studio.local/net.morvane.coordinator.exports/default')");
	EXPECT_NE(answer().find("42"), std::string::npos);
}
}
