#include "MrvCoordinator/MrvConfigurationKeys.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "support/CoordinatorStart.h"
#include "support/ScriptRun.h"
#include "support/TestLog.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvParser/Language/MrvParser.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Test::CoordinatorStart;
using Test::logLines;
using Test::readWholeFile;
using Test::takeLogLines;
using Strings = std::vector<std::string>;

const std::string SEPARATOR(1, Platform::pathSeparator());

// Files in the folder of the system's configuration, and coordinators that are started over them.
class ConfigurationTest : public testing::Test
{
protected:
	ConfigurationTest() { EXPECT_TRUE(Dirs::mkDir(fFolder, DirRecurse::RECURSE)); }
	~ConfigurationTest() override
	{
		CoordinatorStart::release();
		EXPECT_TRUE(Dirs::rmDir(fFolder, DirRecurse::RECURSE));
	}

	// The path of a file in that folder, with this text.
	std::string write(const std::string &name, const std::string &text) const
	{
		EXPECT_TRUE(Dirs::replaceFile(fFolder + name, text));
		return fFolder + name;
	}

	// Settings as after a start with these switches.
	static const CoordinatorSettings &configure(Strings switches = {})
	{
		CoordinatorStart::release();
		return configureFurther(std::move(switches));
	}
	// The same over what the program has set.
	static const CoordinatorSettings &configureFurther(Strings switches = {})
	{
		std::string program = "morvane";
		std::vector<char *> argv{program.data()};
		for (std::string &argument : switches)
		{
			argv.push_back(argument.data());
		}
		EXPECT_TRUE(InternalCoordinator::configure(static_cast<int>(argv.size()), argv.data()));
		return InternalCoordinator::getSettings();
	}

	const std::string fFolder = Dirs::getUserDataPath() + "net.morvane" + SEPARATOR + "SysConfig" + SEPARATOR;
};

TEST_F(ConfigurationTest, EachKeyIsReadFromAFile)
{
	// For each key another value than the default one.
	std::string text = "[config]\n";
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		const bool isBool = key.kind == ConfigurationKey::Kind::BOOL;
		const bool isNumber = key.kind == ConfigurationKey::Kind::NUMBER || key.kind == ConfigurationKey::Kind::MICROSECONDS;
		text += std::string(key.name) + " = " + (isBool ? "TRUE" : isNumber ? "3" : "net.morvane.coordinator.x") + "\n";
	}
	write("config.ini", text);
	const CoordinatorSettings &settings = configure();
	takeLogLines(); // of the switches of a logger that has no instrumentation
	std::size_t line = 1;
	const std::string description = InternalCoordinator::describeConfiguration();
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		SCOPED_TRACE(key.name);
		EXPECT_NE(key.getText(settings), key.getText(CoordinatorSettings()));
		const std::string source = "# " + fFolder + "config.ini:" + std::to_string(++line) + "\n";
		const std::size_t begin = description.find("\n" + std::string(key.name) + " = \"");
		ASSERT_NE(begin, std::string::npos);
		EXPECT_TRUE(description.substr(begin + 1, description.find('\n', begin + 1) - begin).ends_with(source));
	}
	EXPECT_EQ(std::get<std::string CoordinatorSettings::*>(findConfigurationKey("prompt")->member), &CoordinatorSettings::prompt);
	EXPECT_EQ(settings.scriptFile, Dirs::fullPath("net.morvane.coordinator.x"));
	EXPECT_EQ(findConfigurationKey("Prompt"), nullptr);
}

TEST_F(ConfigurationTest, TheSpecificGoesOverTheGeneralAndTheLaterOverTheEarlier)
{
	const std::string later = write("later.ini", "[config]\nremoteCoordinator=later\n");
	write("config.ini", "[config.net.morvane.coordinator.main]\ndefaultEngine=own\nremoteCoordinator=own\n"
	                    "[config.z*]\nprompt=nobody\n"
	                    "[config.*]\ndefaultEngine=star\nprompt=star\npromptContinuation=\n"
	                    "[config.net*]\nprompt=net star\n"
	                    "[c?nfig]\nlogFile=any\n"
	                    "[config]\ndefaultEngine=plain\nprompt=plain\npromptContinuation=plain\nlogFile=plain\ntimingLogFile=plain\n");
	const struct
	{
		std::string name;
		std::string defaultEngine;
		std::string prompt;
		std::string remoteCoordinator;
	} cases[] = {
	    {"main", "own", "net star", "own"},
	    {"other", "star", "net star", ""},
	    {"", "star", "star", ""},
	};
	for (const auto &[name, defaultEngine, prompt, remoteCoordinator] : cases)
	{
		SCOPED_TRACE(name);
		const CoordinatorSettings &settings = configure({"-n", name});
		EXPECT_EQ(settings.defaultEngine, defaultEngine);
		EXPECT_EQ(settings.prompt, prompt);
		EXPECT_EQ(settings.promptContinuation, "plain"); // a key without a value says nothing
		EXPECT_EQ(settings.logFile, "any");
		EXPECT_EQ(settings.timingLogFile, "plain");
		EXPECT_EQ(settings.remoteCoordinator, remoteCoordinator);
		// A later file's plain section goes over an earlier one's own.
		EXPECT_EQ(configure({"-n", name, "-c", later}).remoteCoordinator, "later");
		EXPECT_EQ(InternalCoordinator::getConfigStack().getFiles().size(), 2U);
	}
	getCurrentLogger()->setLogFilePath("");
	getCurrentLogger()->setTimingLogFilePath("");
}

TEST_F(ConfigurationTest, TheCommandLineGoesOverTheFiles)
{
	write("config.ini", "[config]\nisServer=false\nisInteractive=true\nscriptFile=-\nprompt=file\nconsoleEcho=7\nrunTests=true\n"
	                    "remoteTimeoutMicroseconds=1\n");
	EXPECT_TRUE(configure().isInteractive);
	EXPECT_EQ(InternalCoordinator::getSettings().scriptFile, "-");
	EXPECT_EQ(InternalCoordinator::getSettings().consoleEcho, 0);
	EXPECT_EQ(configure({"-c", fFolder}).consoleEcho, 0); // a folder is no file
	EXPECT_TRUE(logLines().back().ends_with("there is no configuration file " + fFolder));

	const CoordinatorSettings &settings = configure({"-s", "-i", "-I", "-p", "switch", "-o", "5", "-e", "2", "-t", "x", "-f", "tööl"});
	EXPECT_TRUE(settings.isServer);
	EXPECT_FALSE(settings.isInteractive); // the later switch decides
	EXPECT_TRUE(settings.readStdIn);
	EXPECT_EQ(settings.prompt, "switch");
	EXPECT_EQ(settings.remoteTimeoutMicroseconds, 5000);
	EXPECT_EQ(settings.consoleEcho, 2);
	EXPECT_TRUE(settings.runTests);
	EXPECT_EQ(settings.scriptFile, Dirs::fullPath("tööl"));
	EXPECT_TRUE(configure({"-I", "-i"}).isInteractive);
	EXPECT_FALSE(configure({"-t", "N"}).runTests);
	const std::string description = InternalCoordinator::describeConfiguration();
	EXPECT_NE(description.find("# command line\n"), std::string::npos);
}

TEST_F(ConfigurationTest, ValuesOfTheWrongKindKeepWhatWasThere)
{
	write("config.ini", "[config]\nlogLevel=-1\nisServer=yes\nisInteractive=True\ndefaultTimeoutMicroseconds=99999999999999999999\n"
	                    "eventLoopSleepMicroseconds= 7\ndelayQuitMicroseconds=\ntestTimeoutMicroseconds=\"\"\nunknown=1\nprompt=\"\"\n"
	                    "[config.*]\neventLoopSleepMicroseconds=soon\n");
	const CoordinatorSettings &settings = configure();
	EXPECT_EQ(settings.logLevel, 2);
	EXPECT_FALSE(settings.isServer);
	EXPECT_TRUE(settings.isInteractive);
	EXPECT_EQ(settings.defaultTimeoutMicroseconds, 10'000'000);
	EXPECT_EQ(settings.eventLoopSleepMicroseconds, 7);
	EXPECT_EQ(settings.delayQuitMicroseconds, 10'000'000);
	EXPECT_EQ(settings.prompt, "");
	const std::string file = fFolder + "config.ini:";
	for (const std::string line :
	    {"2: not a value for logLevel: -1", "3: not a value for isServer: yes", "5: not a value for defaultTimeoutMicroseconds",
	        "8: not a value for testTimeoutMicroseconds", "12: not a value for eventLoopSleepMicroseconds: soon"})
	{
		EXPECT_LOG(file + line);
	}
	EXPECT_TRUE(logLines().empty());
	EXPECT_NE(InternalCoordinator::describeConfiguration().find("# unknown key: " + file + "9: unknown\n"), std::string::npos);
	EXPECT_EQ(InternalCoordinator::getConfigValue("unknown", "config", std::int64_t{5}), 1);
	EXPECT_EQ(InternalCoordinator::getConfigValue("isServer", "config", std::int64_t{5}), 5);
	EXPECT_EQ(InternalCoordinator::getConfigValue("isServer", "config", "none"), "yes");
	EXPECT_EQ(InternalCoordinator::getConfigValue("isServer", "other", "none"), "none");
}

TEST_F(ConfigurationTest, NamesFromWhereverTheyCome)
{
	write("config.ini", "[config]\ncoordinatorName=main\ncoordinatorShortName=m\nprompt=plain\n"
	                    "[config.net.morvane.coordinator.main]\nprompt=main\n[config.net.morvane.coordinator.b]\nprompt=b\n");
	EXPECT_EQ(configure().coordinatorName, "net.morvane.coordinator.main");
	EXPECT_EQ(InternalCoordinator::getSettings().coordinatorShortName, "net.morvane.coordinator.m");
	EXPECT_EQ(InternalCoordinator::getSettings().prompt, "main"); // by the file's own name
	EXPECT_EQ(configure({"-n", "b", "-N", "c"}).coordinatorName, "net.morvane.coordinator.b");
	EXPECT_EQ(InternalCoordinator::getSettings().coordinatorShortName, "net.morvane.coordinator.c");
	EXPECT_EQ(InternalCoordinator::getSettings().prompt, "b");
	EXPECT_EQ(configure({"-n", "net.morvane.coordinator.b"}).prompt, "b");
	// A name that the program gives stays as well; other things it sets are defaults.
	CoordinatorStart::release();
	EXPECT_TRUE(InternalCoordinator::setName("b"));
	InternalCoordinator::changeSettings().defaultEngine = "engine";
	InternalCoordinator::changeSettings().prompt = "program";
	EXPECT_EQ(configureFurther().coordinatorName, "net.morvane.coordinator.b");
	EXPECT_EQ(InternalCoordinator::getSettings().prompt, "b");
	EXPECT_EQ(InternalCoordinator::getSettings().defaultEngine, "engine");
	const std::string description = InternalCoordinator::describeConfiguration();
	EXPECT_NE(description.find("defaultEngine = \"engine\""), std::string::npos);
	EXPECT_NE(description.find("# program\n"), std::string::npos);
	// The program that starts by itself is named by the file.
	const CoordinatorStart coordinator;
	EXPECT_TRUE(coordinator.isStarted());
	EXPECT_EQ(InternalCoordinator::getPublishedProcessId("net.morvane.coordinator.b"), Platform::currentProcessId());
}

TEST_F(ConfigurationTest, Maps)
{
	const std::string program = write("pro gram", "x");
	const std::string later = write("later.ini", "[urlMap]\na=mrv:///later\n[hosts]\nh2=later\n");
	write("config.ini", "[placeholders]\nUSUAL=\"-s\",\"-d\"\nPROGRAM=" + program +
	                        "\n[urlMap]\na=mrv:///a\nb=mrv://${HOST}/b\nnone=\n[hosts]\nh1=127.0.0.1\nh2=x\n[coordinatorMap]\n"
	                        "one=${PROGRAM} -n one \"a  b\"\\x \"\" ${USUAL}\n"
	                        "two=${PROGRAM}\n"
	                        "net.morvane.coordinator.three=\"${PROGRAM}\",\"-p\",\"x y\"\n"
	                        "four=${APPDIR}x ${APP_PATH} ${TMP_DIR} ${nosuch}\n");
	configure({"-c", later});
	EXPECT_EQ(InternalCoordinator::mapURL("a"), "mrv:///later");
	EXPECT_EQ(InternalCoordinator::mapURL("b"), "mrv://${HOST}/b");
	EXPECT_EQ(InternalCoordinator::mapURL("none"), "none");
	EXPECT_EQ(InternalCoordinator::mapURL("mrv:///later"), "mrv:///later");
	EXPECT_EQ(InternalCoordinator::getHostMap().find("h2")->values, Strings{"later"});
	const std::pair<std::string, Strings> commands[] = {
	    {"one", {program, "-n", "one", "a  b\\x", "", "-s", "-d"}},
	    {"two", {program}},
	    {"three", {program, "-p", "x y"}},
	    {"four", {Dirs::getAppDirPath() + "x", Dirs::getAppPath(), Dirs::getTmpPath(), "${nosuch}"}},
	};
	for (const auto &[name, command] : commands)
	{
		const auto *const entry = InternalCoordinator::getCoordinatorMap().find("net.morvane.coordinator." + name);
		ASSERT_TRUE(entry) << name;
		EXPECT_EQ(entry->values, command);
	}
	EXPECT_EQ(InternalCoordinator::getCoordinatorMap().size(), 4U);
}

TEST_F(ConfigurationTest, TheDescriptionIsAConfigurationFile)
{
	const std::string text = "[config]\nprompt=\"\\\"日本\\\\\\n\"\nlogLevel=1\nisServer=true\nscriptFile=x y\n[urlMap]\na=\"1\",\"2\"\n"
	                         "[coordinatorMap]\nm=p -n \"a b\"\n";
	const std::string path = write("config.ini", text);
	const CoordinatorSettings before = configure({"-n", "x", "-o", "3"});
	const std::string description = InternalCoordinator::describeConfiguration();
	write("config.ini", description);
	const CoordinatorSettings &after = configure();
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		EXPECT_EQ(key.getText(after), key.getText(before)) << key.name;
	}
	EXPECT_EQ(InternalCoordinator::getCoordinatorMap().find("net.morvane.coordinator.m")->values, (Strings{"p", "-n", "a b"}));
	EXPECT_EQ(InternalCoordinator::mapURL("a"), "1");
	ASSERT_TRUE(Platform::removeFile(path));
	configure();
	EXPECT_TRUE(InternalCoordinator::describeConfiguration().starts_with("# configuration file: " + path + " (there is none)\n"));
}

TEST_F(ConfigurationTest, NodesOfAMachineHaveFilesOfTheirOwn)
{
	write("config.ini", "[config]\nprompt=shared\n");
	const struct
	{
		std::string node;
		std::string suffix;
	} cases[] = {{"", ""}, {"LocalHost", ""}, {"127.0.0.1", ""}, {"::1", ""}, {"Büro", ".Büro"}};
	for (const auto &[node, suffix] : cases)
	{
		SCOPED_TRACE(node);
		ASSERT_TRUE(Platform::setEnvironmentVariable("MORVANE_CONFIG_NODE_NAME", node));
		EXPECT_EQ(configure().prompt, suffix.empty() ? "shared" : "> ");
		std::string folder = fFolder.substr(0, fFolder.size() - 1);
		folder.append(suffix).append(SEPARATOR);
		EXPECT_EQ(InternalCoordinator::getSysConfigFolderPath(), folder);
		EXPECT_TRUE(Dirs::dirExists(folder));
		if (!suffix.empty())
		{
			Dirs::rmDir(folder, DirRecurse::RECURSE);
		}
	}
	Platform::setEnvironmentVariable("MORVANE_CONFIG_NODE_NAME", "");
	EXPECT_TRUE(Dirs::dirExists(InternalCoordinator::getPipeFolderPath()));
}

TEST_F(ConfigurationTest, SettingsOfTheLogAndTheParserAct)
{
	const std::string errors = fFolder + "errors.log";
	write("config.ini", "[config]\nlogLevel=99999999999\nlogFile=" + fFolder + "log.txt\ntimingLogFile=" + fFolder +
	                        "timing.txt\nlogIPC=true\nlogScriptError=true\nscriptErrorLogFile=" + errors + "\n");
	configure({"-n", "logs"});
	const auto logger = getCurrentLogger();
	EXPECT_EQ(logger->getLogLevel(), INT32_MAX);
	EXPECT_EQ(logger->getLogFilePath(), fFolder + "log.txt");
	EXPECT_EQ(logger->getTimingLogFilePath(), fFolder + "timing.txt");
	EXPECT_TRUE(logger->getIsLogIPC());
	EXPECT_TRUE(logger->getIsLogScriptError());
	EXPECT_LOG("coordinator name: net.morvane.coordinator.logs"); // by the level of the file
	EXPECT_LOG("config file: " + fFolder + "config.ini");
	Parser::reportDebugLine("a line");
	EXPECT_EQ(readWholeFile(errors), "a line\n");
	// Without files all of that is off again, but for the paths, which a host may have set.
	ASSERT_TRUE(Platform::removeFile(fFolder + "config.ini"));
	configure();
	EXPECT_EQ(logger->getLogLevel(), 2);
	EXPECT_FALSE(logger->getIsLogIPC());
	EXPECT_FALSE(logger->getIsLogScriptError());
	Parser::reportDebugLine("another line");
	EXPECT_EQ(readWholeFile(errors), "a line\n");
	logger->setLogFilePath("");
	logger->setTimingLogFilePath("");
	takeLogLines();
}

TEST_F(ConfigurationTest, HugeNumbersMeanNever)
{
	std::string text = "[config]\ncoordinatorName=main\n";
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		// The sleep would be as long.
		if (key.kind == ConfigurationKey::Kind::MICROSECONDS && key.name != "eventLoopSleepMicroseconds")
		{
			text += std::string(key.name) + "=9223372036854775807\n";
		}
	}
	for (const std::string &script :
	    {std::string(), std::string("internalCoordinatorTimesliceMicroseconds=0\neventLoopSleepMicroseconds=0\n")})
	{
		write("start.msl", "yield(1); ready = 42");
		write("config.ini", text + script + "startupScriptFile=" + fFolder + "start.msl\n");
		const CoordinatorStart coordinator;
		ASSERT_TRUE(coordinator.isStarted());
		EXPECT_TRUE(InternalCoordinator::runEventLoop(1000));
		EXPECT_TRUE(InternalCoordinator::terminate());
		EXPECT_TRUE(InternalCoordinator::runEventLoop(-1));
	}
}

TEST_F(ConfigurationTest, TheExampleStatesEachKeyWithItsDefault)
{
	const std::string path = std::string(MORVANE_EXAMPLES) + "/config.ini";
	const auto example = Dirs::readIni(path);
	ASSERT_TRUE(example);
	EXPECT_EQ(example->getEntryNames("config").size(), getConfigurationKeys().size());
	// But for the slices of hosts, which it makes short.
	CoordinatorSettings expected;
	expected.eventLoopMicroseconds = 20'000;
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		EXPECT_EQ(example->getEntryCount("config", std::string(key.name)), 1U) << key.name;
		EXPECT_EQ(example->getEntry("config", std::string(key.name)), key.getText(expected)) << key.name;
	}
	// Taken as it is it gives no warning.
	const CoordinatorSettings &settings = configure({"-c", path});
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		EXPECT_EQ(key.getText(settings), key.getText(expected)) << key.name;
	}
	EXPECT_EQ(InternalCoordinator::describeConfiguration().find("unknown key"), std::string::npos);
	EXPECT_TRUE(logLines().empty());
	// The page explains each key, with its default.
	const std::string page = readWholeFile(std::string(MORVANE_DOCS) + "/configuration.md");
	for (const ConfigurationKey &key : getConfigurationKeys())
	{
		const std::string value = key.getText(CoordinatorSettings());
		const std::string row = "| `" + std::string(key.name) + "` | " + (value.empty() ? "" : "`" + value + "` ") + "|";
		EXPECT_NE(page.find(row), std::string::npos) << row;
	}
}
}
}
