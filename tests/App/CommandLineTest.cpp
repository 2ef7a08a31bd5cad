#include "MrvCommandLine.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Strings = std::vector<std::string>;

// A file that is there, with and without the ending of scripts.
class CommandLineTest : public testing::Test
{
protected:
	CommandLineTest()
	{
		for (const std::string &path : {fScript, fTool})
		{
			if (std::FILE *file = Platform::openFile(path, Platform::OpenMode::WRITE))
			{
				std::fclose(file);
			}
		}
	}
	~CommandLineTest() override
	{
		Platform::removeFile(fScript);
		Platform::removeFile(fTool);
	}

	const std::string fFolder = Dirs::getTmpPath();
	const std::string fScript = fFolder + "tool.msl";
	const std::string fTool = fFolder + "tööl";
};

TEST_F(CommandLineTest, SplitsSwitchesFromWhatIsTheScripts)
{
	ASSERT_TRUE(Dirs::fileExists(fScript));
	ASSERT_TRUE(Dirs::fileExists(fTool));
	const struct
	{
		Strings arguments;
		Strings switches;
		Strings launchArgs;
	} cases[] = {
	    {{}, {}, {}},
	    {{"-i", "a", "-n", "main", "b"}, {"-i", "-n", "main"}, {"a", "b"}},
	    // `--` ends the switches, once.
	    {{"-i", "--", "-s", "--", "-fx"}, {"-i"}, {"-s", "--", "-fx"}},
	    {{"--"}, {}, {}},
	    {{"--", fScript}, {}, {fScript}},
	    // The value of a switch may look like anything.
	    {{"-f", "-"}, {"-f", "-"}, {}},
	    {{"-p", "--", "-P", "-i", "-n", ""}, {"-p", "--", "-P", "-i", "-n", ""}, {}},
	    // A lone hyphen and an empty argument are no switches.
	    {{"-", ""}, {}, {"-", ""}},
	    // A script in front takes all that follows, though it looks like switches.
	    {{fScript, "-v", "--", "-fx", "--help"}, {"-f", fScript}, {"-v", "--", "-fx", "--help"}},
	    {{fTool, "-n"}, {"-f", fTool}, {"-n"}},
	    {{"missing.msl", "a"}, {"-f", "missing.msl"}, {"a"}},
	    // Elsewhere it is an argument, and so are folders and other names.
	    {{"-i", fScript}, {"-i"}, {fScript}},
	    {{fFolder, "-i"}, {"-i"}, {fFolder}},
	    {{"missing", "-i"}, {"-i"}, {"missing"}},
	    {{".msl"}, {}, {".msl"}},
	    {{"--version", "x"}, {"-v"}, {"x"}},
	    // Unknown letters take no value.
	    {{"-z", "x"}, {"-z"}, {"x"}},
	};
	for (const auto &[arguments, switches, launchArgs] : cases)
	{
		SCOPED_TRACE(testing::PrintToString(arguments));
		const CommandLine line = CommandLine::split(arguments);
		EXPECT_EQ(line.error, "");
		EXPECT_EQ(line.switches, switches);
		EXPECT_EQ(line.launchArgs, launchArgs);
		EXPECT_FALSE(line.wantsHelp);
	}
}

TEST_F(CommandLineTest, RefusesWhatItCannotRead)
{
	const struct
	{
		Strings arguments;
		std::string error;
	} cases[] = {
	    {{"-fx"}, "unknown switch -fx"},
	    {{"-i", "--halp"}, "unknown switch --halp"},
	    {{"--=", "a"}, "unknown switch --="},
	    {{"-f"}, "switch -f needs a value"},
	    {{"-i", "-n"}, "switch -n needs a value"},
	};
	for (const auto &[arguments, error] : cases)
	{
		EXPECT_EQ(CommandLine::split(arguments).error.substr(0, error.size()), error);
	}
}

TEST_F(CommandLineTest, TheConfigurationIsAskedForAmongOtherSwitches)
{
	const CommandLine line = CommandLine::split({"-c", "--print-config", "--print-config", "-n", "x", "--", "--print-config"});
	EXPECT_TRUE(line.wantsConfiguration);
	EXPECT_EQ(line.switches, (Strings{"-c", "--print-config", "-n", "x"}));
	EXPECT_EQ(line.launchArgs, Strings{"--print-config"});
	EXPECT_FALSE(CommandLine::split({"-c", "--print-config"}).wantsConfiguration);
}

TEST_F(CommandLineTest, OtherCoordinatorsAreAskedForByName)
{
	const CommandLine line = CommandLine::split({"--stop", "a", "--stop", "--all", "--list", "--stop", "b"});
	EXPECT_TRUE(line.wantsList);
	EXPECT_TRUE(line.wantsStopOfAll);
	EXPECT_EQ(line.namesToStop, (Strings{"a", "b"}));
	EXPECT_EQ(line.switches, Strings{});
	EXPECT_NE(CommandLine::split({"--stop"}).error, "");
}

TEST_F(CommandLineTest, HelpListsEverySwitch)
{
	const std::string page = CommandLine::getHelpPage();
	for (const char letter : std::string("cdDeFfhIiNnoPpqrstvw"))
	{
		const std::string begin = std::string("\n  -") + letter + " ";
		const size_t at = page.find(begin);
		ASSERT_NE(at, std::string::npos) << letter;
		const bool showsValue = page[at + begin.size()] != ' ';
		EXPECT_EQ(showsValue, InternalCoordinator::takesValue(letter)) << letter;
	}
	EXPECT_NE(page.find("\n  --print-config\n"), std::string::npos);
}

TEST_F(CommandLineTest, HelpIsAskedForInTwoWays)
{
	EXPECT_TRUE(CommandLine::split({"--help"}).wantsHelp);
	EXPECT_TRUE(CommandLine::split({"-i", "-h"}).wantsHelp);
	EXPECT_FALSE(CommandLine::split({"-p", "-h"}).wantsHelp);
	EXPECT_FALSE(CommandLine::split({"--", "-h"}).wantsHelp);
}
}
}
