#pragma once

#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvEvent/MrvEventListener.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvService/MrvServicePing.h"
#include "MrvUtils/MrvDirs.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv::Bench
{
// A coordinator in this process and `morvane`, which serves, in another one, in a data folder of their own.
class TwoCoordinators
{
public:
	TwoCoordinators() : fFolder(Dirs::getTmpPath() + "morvane-sibling-bench-" + std::to_string(::getpid()) + Platform::pathSeparator())
	{
		Dirs::mkDir(fFolder, DirRecurse::RECURSE);
		Platform::setEnvironmentVariable("XDG_DATA_HOME", fFolder);
		Dirs::forgetWellKnownPaths();
		fPeer = static_cast<pid_t>(Platform::launchProcess({Dirs::getAppDirPath() + "morvane", "-n", "peer", "-s"}));
		std::array<std::string, 3> arguments{"morvane", "-n", "main"};
		std::array<char *, 3> argv{arguments[0].data(), arguments[1].data(), arguments[2].data()};
		InternalCoordinator::init(static_cast<int>(argv.size()), argv.data());
		fCoordinator = InternalCoordinator::instance();
		fCounter = std::make_shared<Counter>();
		fCoordinator->attachDetachEventHandler(AttachDetach::ATTACH, "messageReceived", "1_bench", fCounter);
		awaitCoordinator(PEER);
		ping();
	}
	~TwoCoordinators()
	{
		::kill(fPeer, SIGKILL);
		::waitpid(fPeer, nullptr, 0);
		fCoordinator.reset();
		InternalCoordinator::release();
		Dirs::rmDir(fFolder, DirRecurse::RECURSE);
	}
	TwoCoordinators(const TwoCoordinators &) = delete;
	TwoCoordinators &operator=(const TwoCoordinators &) = delete;

	void send(const std::string &service, OpCode opCode, const std::string &payload) const
	{
		fCoordinator->queueMessage(Message::factoryFromSenderDestinationAddressOpCodePayloadStr(fCoordinator->getAddressObj(),
		    LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(PEER, service + "/0"), opCode, payload));
	}
	// There and back.
	void ping() const
	{
		const std::int64_t awaited = fCounter->count + 1;
		send(ServicePing::SERVICE_NAME, OpCode::PING, {});
		fCoordinator->runEventLoop(-1, [&] { return fCounter->count >= awaited; });
	}
	pid_t getPeer() const { return fPeer; }
	// The home of both, with a separator at its end. Gone when this object is.
	const std::string &getFolder() const { return fFolder; }

	static inline const std::string PEER = "net.morvane.coordinator.peer";
	// Until a coordinator that has just been launched in this home can be reached. Ends this process when that takes half a minute.
	static void awaitCoordinator(const std::string &name)
	{
		for (int i = 0; !Dirs::fileExists(InternalCoordinator::getPipeFolderPath() + name); ++i)
		{
			if (i == 30'000)
			{
				std::fprintf(stderr, "%s doesn't start\n", name.c_str());
				std::exit(1);
			}
			::usleep(1000);
		}
	}

private:
	// Counts what the coordinator gets.
	class Counter final : public EventListener
	{
	public:
		bool handleEvent(const std::string &eventName, const std::shared_ptr<IObject> &eventObj) override
		{
			++count;
			return EventListener::handleEvent(eventName, eventObj);
		}
		std::int64_t count = 0;
	};

	std::string fFolder;
	pid_t fPeer = 0;
	std::shared_ptr<InternalCoordinator> fCoordinator;
	std::shared_ptr<Counter> fCounter;
};
}
