#pragma once

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvFabric.h"
#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"
#include "support/CoordinatorStart.h"
#include "support/TestService.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Mrv::Test
{
inline constexpr int64_t TIME_LIMIT_MICROSECONDS = 60'000'000;
inline const std::string PREFIX = "net.morvane.coordinator.";

inline std::string morvane()
{
	const std::string path = Dirs::getAppDirPath() + "morvane";
	return Dirs::fileExists(path) ? path : path + ".exe";
}

inline std::string quotedList(const std::vector<std::string> &values)
{
	std::string text;
	for (const std::string &value : values)
	{
		std::string escaped;
		for (const char c : value)
		{
			escaped += c == '\\' ? "\\\\" : std::string(1, c);
		}
		text += (text.empty() ? "\"" : ", \"") + escaped + '"';
	}
	return text;
}

// This process's coordinator, with a service that keeps what comes back.
class Sender
{
public:
	explicit Sender(const std::string &name)
	    : fStart(name.empty() ? std::vector<std::string>() : std::vector<std::string>{"-n", name}, OtherCoordinators::REAL)
	{
		EXPECT_TRUE(fStart.isStarted());
		coordinator = InternalCoordinator::instance();
		service = TestService::factory("sender", coordinator);
	}
	void ping(const std::string &name, const std::string &payload = "payload") const
	{
		std::string tail;
		coordinator->queueMessage(Message::factoryFromSenderDestinationAddressOpCodePayloadStr(service->getAddressObj(),
		    Address_abstract::factoryFromURL("mrv:///" + name + "/net.morvane.service.ping", tail), OpCode::PING, payload));
	}
	bool runUntil(const std::function<bool()> &isReached) const
	{
		coordinator->runEventLoop(TIME_LIMIT_MICROSECONDS, isReached);
		return isReached();
	}
	bool waitForReplies(std::size_t count) const
	{
		return runUntil([&] { return service->received.size() >= count; });
	}
	// Whether a ping comes back as it went.
	bool isAnswered(const std::string &name, const std::string &payload = "payload") const
	{
		service->received.clear();
		ping(name, payload);
		return waitForReplies(1) && service->received[0]->getOpCode() == OpCode::PING_REPLY &&
		       service->received[0]->getPayload() == payload;
	}

	std::shared_ptr<InternalCoordinator> coordinator;
	std::shared_ptr<TestService> service;

private:
	const CoordinatorStart fStart;
};

class SiblingProcessTest : public testing::Test
{
protected:
	SiblingProcessTest()
	{
		fConfigPath = InternalCoordinator::getSysConfigFolderPath() + "config.ini";
		fPipeFolder = InternalCoordinator::getPipeFolderPath();
		fSessionFolder = InternalCoordinator::getSessionDataFolderPath();
		configure({{"b", {morvane(), "-n", "b", "-s"}}, {"c", {morvane(), "-n", "c", "-s"}}});
	}
	~SiblingProcessTest() override
	{
		CoordinatorStart::release();
		EXPECT_EQ(runMorvaneStop(), 0);
		Platform::removeFile(fConfigPath);
	}

	void configure(const std::vector<std::pair<std::string, std::vector<std::string>>> &commands) const
	{
		std::string text = "[config]\nmaxWaitPipeReappearMicroseconds = 300000\ndelayQuitMicroseconds = 3000000\n[coordinatorMap]\n";
		for (const auto &[name, command] : commands)
		{
			text.append(name).append(" = ").append(quotedList(command)).append("\n");
		}
		EXPECT_TRUE(Dirs::replaceFile(fConfigPath, text));
	}

	static int runMorvaneStop()
	{
		const CoordinatorStart start({}, OtherCoordinators::REAL);
		return Fabric::stopAll();
	}

	PublishedProcess::Publication published(const std::string &name) const
	{
		return PublishedProcess(fSessionFolder, PREFIX + name).read();
	}
	bool hasPipe(const std::string &name) const { return Dirs::fileExists(fPipeFolder + PREFIX + name); }

	static bool waitUntil(const std::function<bool()> &isReached)
	{
		const int64_t end = Platform::steadyNanoseconds() + TIME_LIMIT_MICROSECONDS * 1000;
		while (!isReached())
		{
			if (Platform::steadyNanoseconds() > end)
			{
				return false;
			}
			Platform::sleepUntil(Platform::steadyNanoseconds() + 5'000'000);
		}
		return true;
	}

	std::string fConfigPath;
	std::string fPipeFolder;
	std::string fSessionFolder;
};
}
