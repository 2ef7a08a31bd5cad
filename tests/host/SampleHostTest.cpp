// The sample host with its script engine, the external object and morvane.jsx, as a process: what scripts see of all of it.
#include "MrvUtils/MrvDirs.h"
#include "host/HostSettings.h"
#include "support/ProgramRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace Mrv::Test
{
namespace
{
const std::string PROGRAM = MORVANE_HOST_PROGRAM;
const std::string SCRIPTS = MORVANE_HOST_SCRIPTS;

// With the host's lines ends as `\n`.
std::string linesOf(const std::string &text)
{
	std::string lines = text;
	std::erase(lines, '\r');
	return lines;
}

// What the script says that it prints.
std::string expectationOf(const std::string &path)
{
	const std::string MARK = "// expect: ";
	std::ifstream file(path);
	std::string expected;
	for (std::string line; std::getline(file, line);)
	{
		const std::size_t at = line.find(MARK);
		expected += at == std::string::npos ? "" : line.substr(at + MARK.size()) + '\n';
	}
	return expected;
}

struct HostScript
{
	const char *name; // of the script and of the coordinator
	int status;
};

void PrintTo(const HostScript &script, std::ostream *stream)
{
	*stream << script.name;
}

class HostScriptTest : public testing::TestWithParam<HostScript>
{
private:
	const HostSettings fSettings;
};

class SampleHostTest : public testing::Test
{
protected:
	ProgramRun run(std::vector<std::string> arguments)
	{
		arguments.insert(arguments.begin(), PROGRAM);
		return runProgram(arguments);
	}
	// The host with a script of this text.
	ProgramRun runScript(const std::string &text)
	{
		const std::string path = Dirs::getTmpPath() + "script.jsx";
		EXPECT_TRUE(Dirs::replaceFile(path, text));
		const ProgramRun result = run({"--name", "samplehost", path});
		return result;
	}

private:
	const HostSettings fSettings;
};
}

TEST_P(HostScriptTest, PrintsWhatItSays)
{
	const std::string path = SCRIPTS + "/" + GetParam().name + ".jsx";
	const ProgramRun run = runProgram({PROGRAM, "--name", std::string("host") + GetParam().name, path});
	EXPECT_EQ(linesOf(run.output), expectationOf(path));
	EXPECT_EQ(run.status, GetParam().status) << run.errors;
}

INSTANTIATE_TEST_SUITE_P(Scripts, HostScriptTest,
    testing::Values(HostScript{"values", 0}, HostScript{"scripts", 0}, HostScript{"errors", 7}, HostScript{"life", 0},
        HostScript{"exports", 0}, HostScript{"hostmessages", 0}, HostScript{"packed", 0}),
    [](const testing::TestParamInfo<HostScript> &script) { return script.param.name; });

TEST_F(SampleHostTest, ItsArguments)
{
	struct Row
	{
		std::vector<std::string> arguments;
		int status;
		std::string says;
	};
	const std::string program = MORVANE_PROGRAM;
	const Row rows[] = {
	    {{"--help"}, 0, "Usage: morvane-host"}, {{}, 3, "a name for the coordinator is needed"}, {{"--name"}, 3, "--name needs a value"},
	    {{"--name", "a", "--fast"}, 3, "unknown argument '--fast'"}, {{"--name", "a", "b.jsx", "c.jsx"}, 3, "one script only"},
	    {{"--name", "a", "nosuch.jsx"}, 2, "nosuch.jsx can't be read"}, {{"--name", "not-a-name"}, 3, "could not start"},
	    {{"--name", "a", "--lib", SCRIPTS + "/values.so"}, 2, "b.jsx can't be read"}, // found beside the program instead
	};
	for (const Row &row : rows)
	{
		std::vector<std::string> arguments = row.arguments;
		if (row.status == 2 && arguments.back() != "nosuch.jsx")
		{
			arguments.emplace_back("b.jsx");
		}
		const ProgramRun ran = run(arguments);
		EXPECT_EQ(ran.status, row.status) << row.says << ran.errors;
		EXPECT_NE((ran.output + ran.errors).find(row.says), std::string::npos) << ran.output << ran.errors;
	}
}

TEST_F(SampleHostTest, AFileThatIsNoLibraryIsRefused)
{
	const std::string path = Dirs::getTmpPath() + "broken.dll";
	ASSERT_TRUE(Dirs::replaceFile(path, "no library"));
	const ProgramRun ran = run({"--name", "a", "--lib", path});
	EXPECT_EQ(ran.status, 3);
	EXPECT_NE(ran.errors.find("Is the file complete, and of the host's architecture"), std::string::npos) << ran.errors;
}

TEST_F(SampleHostTest, HowScriptsEnd)
{
	ProgramRun ran = runScript("\n\nthrow new Error('thrown');\n");
	EXPECT_EQ(ran.status, 1);
	EXPECT_NE(ran.errors.find("script.jsx:3: "), std::string::npos) << ran.errors;
	EXPECT_NE(ran.errors.find("thrown"), std::string::npos) << ran.errors;

	ran = runScript("var a = 1;\nvar b = (;\n");
	EXPECT_EQ(ran.status, 1);
	EXPECT_NE(ran.errors.find("script.jsx:2: "), std::string::npos) << ran.errors;

	ran = runScript("app.quit(300); $.writeln('on to the end');");
	EXPECT_EQ(ran.status, 255);
	EXPECT_EQ(linesOf(ran.output), "on to the end\n");

	// What an idle task throws is told, and the others go on.
	ran = runScript("app.idleTasks.add({sleep: 1}).addEventListener('onIdle', function () { $.write('x'); throw new Error('lost'); });"
	                "app.idleTasks.add({sleep: 50}).addEventListener('onIdle', function () { app.quit(); });");
	EXPECT_EQ(ran.status, 0);
	EXPECT_NE(ran.errors.find("idle task: lost"), std::string::npos) << ran.errors;
	EXPECT_NE(ran.output.find('x'), std::string::npos);
}
}
