// Two machines, played by two homes on one: each has its main coordinator in a host of its own, and nothing joins them but a program that
// carries what one host gives out to the other.
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvUtils/MrvDirs.h"
#include "host/HostLibrary.h"
#include "host/HostSettings.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace Mrv::Test
{
namespace
{
std::filesystem::path pathOf(const std::string &text)
{
	return {std::u8string(text.begin(), text.end())};
}

// What useHome sets in the environment, as it was, when this object goes.
class EnvironmentKept
{
public:
	EnvironmentKept()
	{
		for (const char *name : {"HOME", "XDG_DATA_HOME", "TMPDIR", "XDG_RUNTIME_DIR", "USERPROFILE", "APPDATA", "LOCALAPPDATA",
		         "PROGRAMDATA", "TEMP", "TMP", "MORVANE_CONFIG_NODE_NAME"})
		{
			fValues[name] = Platform::environmentVariable(name);
		}
	}
	~EnvironmentKept()
	{
		for (const auto &[name, value] : fValues)
		{
			value ? Platform::setEnvironmentVariable(name, *value) : Platform::unsetEnvironmentVariable(name);
		}
	}
	EnvironmentKept(const EnvironmentKept &) = delete;
	EnvironmentKept &operator=(const EnvironmentKept &) = delete;

private:
	std::map<std::string, std::optional<std::string>> fValues;
};

// A machine: a home, and in a host the coordinator that is its main one. The library is a copy of its own, since a process holds each file
// once.
class Machine
{
public:
	explicit Machine(const std::string &itsName) : name(itsName)
	{
		const EnvironmentKept kept;
		EXPECT_TRUE(useHome(fFolder / "home"));
		for (const char *folder : {"home/AppData/Roaming", "home/.config"})
		{
			const std::filesystem::path settings = fFolder / folder / "net.morvane" / "SysConfig";
			std::filesystem::create_directories(settings);
			std::ofstream(settings / "config.ini") << "[config]\neventLoopMicroseconds = 2000\neventLoopSleepMicroseconds = 200\n";
		}
		const std::filesystem::path original = pathOf(MORVANE_EXTERNAL_OBJECT);
		const std::filesystem::path copy = fFolder / original.filename();
		std::filesystem::copy_file(original, copy);
		const std::u8string text = copy.u8string();
		library.emplace(std::string(text.begin(), text.end()));
		EXPECT_EQ(library->call("mrvInit", {"net.morvane.coordinator.main"}), MRV_HOST_OK);
	}
	~Machine()
	{
		library.reset();
		std::error_code ignored;
		std::filesystem::remove_all(fFolder, ignored);
	}
	Machine(const Machine &) = delete;
	Machine &operator=(const Machine &) = delete;

	const std::string name;
	std::optional<HostLibrary> library;

private:
	const std::filesystem::path fFolder = pathOf(Dirs::getTmpPath()) / ("machine-" + name);
};

class GatewayPairTest : public testing::Test
{
protected:
	// Carries what waits in one host to the machines it is for; what is for nobody known is the answer to this test.
	void carryFrom(Machine &machine)
	{
		while (machine.library->count("mrvGetHostMessageQueueSize") > 0)
		{
			const std::string target = machine.library->text("mrvGetHostMessageTargetHost");
			const std::string message = machine.library->text("mrvGetHostMessage");
			machine.library->call("mrvAdvanceHostMessageQueue");
			Machine *receiver = target == fOne.name ? &fOne : target == fTwo.name ? &fTwo : nullptr;
			if (receiver)
			{
				++fCarried;
				receiver->library->call("mrvRelayHostMessage", {machine.name, message});
			}
			else
			{
				EXPECT_EQ(target, "far");
				fAnswer = message;
			}
		}
	}
	void serveScripts(Machine &machine)
	{
		while (machine.library->count("mrvGetScriptQueueSize") > 0)
		{
			machine.library->call(
			    "mrvReportScriptCompleted", {"", "'host " + machine.name + " has run " + machine.library->text("mrvGetScript") + "'"});
			machine.library->call("mrvAdvanceScriptQueue");
		}
	}
	// What a script in the coordinator of machine one gives.
	std::string evalInOne(const std::string &script)
	{
		fAnswer.clear();
		fOne.library->ask(script);
		const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
		while (fAnswer.empty() && std::chrono::steady_clock::now() < end)
		{
			for (Machine *machine : {&fOne, &fTwo})
			{
				machine->library->call("mrvTimeslice");
				serveScripts(*machine);
				carryFrom(*machine);
			}
		}
		return fAnswer;
	}
	bool gives(const std::string &script, const std::string &literal)
	{
		const std::string answer = evalInOne(script);
		const bool isThere = answer.find("\\\"result\\\": " + literal) != std::string::npos;
		EXPECT_TRUE(isThere) << answer << fOne.library->logText() << fTwo.library->logText();
		return isThere;
	}

	Machine fOne{"m1"};
	Machine fTwo{"m2"};
	std::string fAnswer;
	int fCarried = 0;
};
}

TEST_F(GatewayPairTest, AScriptInOneRunsInTheOtherAndItsValueComesBack)
{
	EXPECT_TRUE(gives("eval('6 * 7', 'mrv://m2/main')", "42"));
	EXPECT_EQ(fCarried, 2) << "there and back";
	EXPECT_TRUE(gives("eval('var kept = 1', 'mrv://m2/main'); eval('kept + 1', 'mrv://m2/main')", "2"));
	// What the text of the other one is, byte for byte.
	EXPECT_TRUE(gives("eval('[1, true, null]', 'mrv://m2/net.morvane.coordinator.main/default')", "[1, true, null]"));
	// On to the host of the other one, and back to the first machine from there.
	EXPECT_TRUE(gives("eval('hostEval(1)', 'mrv://m2/main')", "\\\"host m2 has run 1\\\""));
	EXPECT_TRUE(gives("eval('eval(1 + 1, \\\\\\\"mrv://m1/main\\\\\\\")', 'mrv://m2/main')", "2"));
	// Data, too.
	EXPECT_TRUE(gives("eval('setDataRequestCallBack(1 + \\\\\\\"\\\\\\\", function(d) { return d + 1; }); 0', 'mrv://m2/main');"
	                  "sendData(41, '1', 'mrv://m2/main')",
	    "42"));
}

TEST_F(GatewayPairTest, AMessageThatGetsLostCostsOneScriptItsDeadline)
{
	fOne.library->ask("typeof eval('1', 'mrv://m3/main', 30)");
	const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
	bool isLost = false;
	while (fAnswer.empty() && std::chrono::steady_clock::now() < end)
	{
		fOne.library->call("mrvTimeslice");
		if (!isLost && fOne.library->count("mrvGetHostMessageQueueSize") > 0)
		{
			isLost = fOne.library->text("mrvGetHostMessageTargetHost") == "m3";
			fOne.library->call("mrvAdvanceHostMessageQueue");
		}
		carryFrom(fOne);
	}
	EXPECT_TRUE(isLost);
	EXPECT_NE(fAnswer.find("error"), std::string::npos);
	EXPECT_TRUE(gives("1 + 1", "2"));
}
}
