#include "support/HelperProcess.h"

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvArguments.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvMessagePipe.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvService/MrvServicePing.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include "support/CoordinatorStart.h"
#include "support/TestService.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>

namespace Mrv::Test
{
namespace
{
constexpr std::int64_t MILLISECOND = 1'000'000;
constexpr std::int64_t MINUTE = 60'000 * MILLISECOND;

bool pumpUntil(const std::function<bool()> &isReached)
{
	const std::int64_t end = Platform::steadyNanoseconds() + MINUTE;
	while (!isReached() && Platform::steadyNanoseconds() < end)
	{
		WritePipe::timeslice();
		Platform::sleepUntil(Platform::steadyNanoseconds() + 5 * MILLISECOND);
	}
	return isReached();
}

// write PATH COUNT SIZE: so many lines of that size, "<process id> <number> xxx...".
int writeLines(const std::vector<std::string> &arguments)
{
	const int handle = Pipes::openWriteNamedPipe(arguments.at(0));
	std::int64_t count = 0;
	std::int64_t size = 0;
	if (handle == 0 || !Utils::toInt64(arguments.at(1), count) || !Utils::toInt64(arguments.at(2), size))
	{
		return 2;
	}
	for (std::int64_t i = 0; i < count; ++i)
	{
		std::string line = std::to_string(Platform::currentProcessId()) + ' ' + std::to_string(i) + ' ';
		line.resize(static_cast<std::size_t>(size) - 1, 'x');
		if (!Pipes::writeToNamedPipe(handle, line + '\n'))
		{
			return 3;
		}
	}
	return pumpUntil(WritePipe::isAllIdle) ? 0 : 4;
}

// half PATH: begins a long string and ends without any farewell once a part of it has gone out.
int writeHalf(const std::vector<std::string> &arguments)
{
	const int handle = Pipes::openWriteNamedPipe(arguments.at(0));
	Pipes::writeToNamedPipe(handle, std::string(8 << 20, 'h'));
	std::_Exit(WritePipe::isAllIdle() ? 5 : 0);
}

// arguments FILE ...: writes all that follow to a file, one a line.
int writeArguments(const std::vector<std::string> &arguments)
{
	std::string text;
	for (std::size_t i = 1; i < arguments.size(); ++i)
	{
		text += arguments[i] + '\n';
	}
	return Dirs::replaceFile(arguments.at(0), text) ? 0 : 2;
}

// wait FILE: lives until the file is gone.
int waitForEnd(const std::vector<std::string> &arguments)
{
	return pumpUntil([&] { return !Dirs::fileExists(arguments.at(0)); }) ? 0 : 2;
}

// crash NAME COUNT: a coordinator that dies without any farewell as soon as its ping service has got so many messages.
int crash(const std::vector<std::string> &arguments)
{
	const CoordinatorStart start({"-n", arguments.at(0), "-s"}, OtherCoordinators::REAL);
	std::int64_t count = 0;
	if (!start.isStarted() || !Utils::toInt64(arguments.at(1), count))
	{
		return 2;
	}
	const auto listener = TestListener::attach(*ServicePing::instance(), "messageReceived");
	InternalCoordinator::instance()->runEventLoop(
	    MINUTE / 1000, [&] { return static_cast<std::int64_t>(listener->payloads.size()) >= count; });
	std::_Exit(9);
}

// ping FILE TARGET COUNT SIZE: a coordinator without a name sends so many pings of so many bytes at once, and writes to the file how many
// came back.
int ping(const std::vector<std::string> &arguments)
{
	const CoordinatorStart start({}, OtherCoordinators::REAL);
	std::int64_t count = 0;
	std::int64_t size = 0;
	if (!start.isStarted() || !Utils::toInt64(arguments.at(2), count) || !Utils::toInt64(arguments.at(3), size))
	{
		return 2;
	}
	const auto coordinator = InternalCoordinator::instance();
	const auto service = TestService::factory("pinger", coordinator);
	std::string tail;
	const auto target = Address_abstract::factoryFromURL("mrv:///" + arguments.at(1) + "/net.morvane.service.ping", tail);
	for (std::int64_t i = 0; i < count; ++i)
	{
		coordinator->queueMessage(Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
		    service->getAddressObj(), target, OpCode::PING, std::string(static_cast<std::size_t>(size), 'x')));
	}
	coordinator->runEventLoop(MINUTE / 1000, [&] { return static_cast<std::int64_t>(service->received.size()) >= count; });
	return Dirs::replaceFile(arguments.at(0), std::to_string(service->received.size())) ? 0 : 3;
}

// stall NAME: a coordinator that comes up and then does nothing more.
int stall(const std::vector<std::string> &arguments)
{
	const CoordinatorStart start({"-n", arguments.at(0), "-s"}, OtherCoordinators::REAL);
	InternalCoordinator::runEventLoop(1000);
	return start.isStarted() && pumpUntil([] { return false; }) ? 0 : 2;
}

// tell TARGET COUNT: a coordinator without a name sends so many messages and ends at once.
int tell(const std::vector<std::string> &arguments)
{
	const CoordinatorStart start({}, OtherCoordinators::REAL);
	std::int64_t count = 0;
	if (!start.isStarted() || !Utils::toInt64(arguments.at(1), count))
	{
		return 2;
	}
	const auto coordinator = InternalCoordinator::instance();
	std::string tail;
	const auto target = Address_abstract::factoryFromURL(arguments.at(0), tail);
	for (std::int64_t i = 0; i < count; ++i)
	{
		coordinator->queueMessage(Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
		    coordinator->getAddressObj(), target, OpCode::NONE, std::to_string(i)));
	}
	InternalCoordinator::terminate();
	return InternalCoordinator::runEventLoop(-1) ? 0 : 3;
}

// serve RAW_PATH: tries to serve an address; the status is the code of how that went.
int serve(const std::vector<std::string> &arguments)
{
	std::unique_ptr<Platform::IPipeInstance> instance;
	return static_cast<int>(Platform::messagePipes().createInstance(arguments.at(0), instance));
}
}

std::vector<std::string> helperArguments(const std::vector<std::string> &arguments)
{
	std::vector<std::string> all{Dirs::getAppPath(), "--helper"};
	all.insert(all.end(), arguments.begin(), arguments.end());
	return all;
}

bool runHelper(int argc, const char *const *argv, int &status)
{
	const std::vector<std::string> arguments = Platform::processArguments(argc, argv);
	if (arguments.size() < 4 || arguments[1] != "--helper")
	{
		return false;
	}
	const std::vector<std::string> rest(arguments.begin() + 3, arguments.end());
	const std::string &name = arguments[2];
	status = name == "write"       ? writeLines(rest)
	         : name == "half"      ? writeHalf(rest)
	         : name == "arguments" ? writeArguments(rest)
	         : name == "serve"     ? serve(rest)
	         : name == "wait"      ? waitForEnd(rest)
	         : name == "crash"     ? crash(rest)
	         : name == "ping"      ? ping(rest)
	         : name == "stall"     ? stall(rest)
	         : name == "tell"      ? tell(rest)
	                               : 1;
	return true;
}

unsigned startHelper(const std::vector<std::string> &arguments)
{
	const unsigned processId = Platform::launchProcess(helperArguments(arguments));
	EXPECT_NE(processId, 0U) << "can't start " << Dirs::getAppPath();
	return processId;
}
}
