#include "MrvParser/Task/MrvInstrumentScriptStreamTask.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"
#include "support/TrickleStream.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
// Notes each write by itself.
class Statements final : public OutputStream
{
public:
	bool write(std::string_view text) override
	{
		fTexts.emplace_back(text);
		return true;
	}
	void write_yielding(Task &, bool &success, std::string_view text) override { success = write(text) && !fIsBroken; }

	std::vector<std::string> fTexts;
	bool fIsBroken = false;
};

class InstrumentScriptStreamTaskTest : public testing::Test
{
protected:
	~InstrumentScriptStreamTaskTest() override { Task::releaseAll(); }

	// What the filter hands on of a text, without the prompts.
	std::vector<std::string> instrument(const std::string &text, bool isSuccess = true)
	{
		std::vector<std::string> first;
		for (const bool always : {false, true})
		{
			const AlwaysYield alwaysYield(always);
			fOutput = std::make_shared<Statements>();
			fOutput->fIsBroken = fIsBroken;
			const auto stream = std::make_shared<IOStreamPrompted>(std::make_shared<TrickleStream>(text), fOutput);
			stream->setPrompt("");
			stream->setContinuationPrompt("");
			fTask = InstrumentScriptStreamTask::factory(OMScope::factory(), "script", stream);
			EXPECT_TRUE(fTask->runToCompletion());
			EXPECT_EQ(fTask->isSuccess(), isSuccess);
			std::erase(fOutput->fTexts, "");
			if (!always)
			{
				first = fOutput->fTexts;
				if (isSuccess)
				{
					continue;
				}
				takeLogLines();
			}
		}
		EXPECT_EQ(fOutput->fTexts, first) << "with a suspension at every step";
		return first;
	}

	using Texts = std::vector<std::string>;
	TestCoordinator fCoordinator;
	std::shared_ptr<Statements> fOutput;
	std::shared_ptr<InstrumentScriptStreamTask> fTask;
	bool fIsBroken = false;
};
}

TEST_F(InstrumentScriptStreamTaskTest, StatementsEndAtLinesAndSemicolons)
{
	EXPECT_EQ(instrument("a = 1\nb = 2\n"), (Texts{"a = 1\n", "b = 2\n"}));
	EXPECT_EQ(instrument("a = 1"), (Texts{"a = 1\n"})) << "what remains at the end";
	EXPECT_EQ(instrument("\n  \n\n\t a = 1  \n \n"), (Texts{"a = 1  \n"})) << "blank lines and indentation go";
	EXPECT_EQ(instrument("a = 1; b = 2\n"), (Texts{"a = 1; b = 2\n"})) << "more is there already: not cut";
	EXPECT_EQ(instrument("//@yieldon\na = 1; b = 2\n"), (Texts{"a = 1;\n", "b = 2\n"}));
	EXPECT_EQ(instrument("if (a\n&& b) {\n\tc()\n\td();\n}\ne"), (Texts{"if (a\n&& b) {\nc()\nd();\n}\n", "e\n"}));
	EXPECT_EQ(instrument(""), Texts());
}

TEST_F(InstrumentScriptStreamTaskTest, CommentsGoAndTextsStay)
{
	EXPECT_EQ(instrument("a = 1 // one\n// two { (\nb /* ) } \n */ = 2\n"), (Texts{"a = 1 \n", "b   = 2\n"}));
	EXPECT_EQ(instrument("a/**/b\n"), (Texts{"a b\n"})) << "a block comment leaves a blank";
	EXPECT_EQ(instrument("a /** * **/ / b\n"), (Texts{"a   / b\n"}));
	EXPECT_EQ(instrument("'// no { comment' + \"/* ' */\"\n"), (Texts{"'// no { comment' + \"/* ' */\"\n"}));
	EXPECT_EQ(instrument("'it\\'s {' + \"\\\"(\"\n1\n"), (Texts{"'it\\'s {' + \"\\\"(\"\n", "1\n"}));
	EXPECT_EQ(instrument("'two\n  lines'\n1\n"), (Texts{"'two\n  lines'\n", "1\n"}));
	EXPECT_EQ(instrument("a /"), (Texts{"a /\n"})) << "a slash at the end";
	EXPECT_EQ(instrument("a = <<END\n  // it's {\nENDLESS\nEND + 1\nb\n"), (Texts{"a = <<END\n  // it's {\nENDLESS\nEND + 1\n", "b\n"}));
	EXPECT_EQ(instrument("a < b // c\n"), (Texts{"a < b \n"}));
}

TEST_F(InstrumentScriptStreamTaskTest, DirectivesSteerOrStay)
{
	EXPECT_EQ(instrument("// @ YieldOn \na; b\n#yieldoff\nc; d\n"), (Texts{"a;\n", "b\n", "c; d\n"}));
	EXPECT_EQ(instrument("a\n//@other { x\nb\n"), (Texts{"a\n", "//@other { x\n", "b\n"}));
	EXPECT_EQ(instrument("#yieldonly\na; b\n"), (Texts{"#yieldonly\n", "a; b\n"})) << "matched whole";
	EXPECT_EQ(instrument("#yieldon\n#target x\na; b\n"), (Texts{"#target x\na;\n", "b\n"}));
	EXPECT_EQ(instrument("{\n#target x\na\n}\n"), (Texts{"{\n#target x\na\n}\n"})) << "no statement is cut in two";
	EXPECT_EQ(instrument("a\n#last"), (Texts{"a\n", "#last\n"}));
}

TEST_F(InstrumentScriptStreamTaskTest, FailuresEndTheScan)
{
	EXPECT_EQ(instrument("a\nb)\nc\n", false), (Texts{"a\n"}));
	EXPECT_LOG("unbalanced parensCountGlobal");
	EXPECT_EQ(fTask->fErrorNote, "script:2:2: unbalanced parensCountGlobal");
	EXPECT_EQ(instrument("}", false), Texts());
	EXPECT_LOG("unbalanced parensCountGlobal");
	fIsBroken = true;
	EXPECT_EQ(instrument("a\nb\n", false), (Texts{"a\n"}));
	EXPECT_LOG("SANITY_CHECK failed: 'success' evaluates to false");

	EXPECT_EQ(InstrumentScriptStreamTask::factory(nullptr, "script", nullptr), nullptr);
	EXPECT_LOG("SANITY_CHECK failed: 'scope' evaluates to false");
	const auto task = InstrumentScriptStreamTask::factory(OMScope::factory(), "script", nullptr);
	task->runToCompletion();
	EXPECT_FALSE(task->isSuccess());
	EXPECT_LOG("SANITY_CHECK failed: 'ioStream' evaluates to false");
}
}
