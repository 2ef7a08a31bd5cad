#include "MrvFabric.h"

#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace Mrv
{
namespace
{
constexpr std::string_view PID_EXTENSION = ".pid";
constexpr std::int64_t NANOSECONDS = 1'000'000'000;
constexpr std::int64_t LOOK_NANOSECONDS = 10'000'000;
constexpr std::int64_t LONGEST_WAIT_MICROSECONDS = 600'000'000;

PublishedProcess publishedProcess(const std::string &name)
{
	return {InternalCoordinator::getSessionDataFolderPath(), name};
}

std::string padded(std::string text, std::size_t width)
{
	text.resize(std::max(text.size(), width), ' ');
	return text + "  ";
}

std::string timeText(std::int64_t seconds)
{
	Platform::CalendarTime time;
	if (!Platform::localCalendarTime(seconds, time))
	{
		return "?";
	}
	const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
	return std::to_string(time.year) + '-' + two(time.month) + '-' + two(time.day) + ' ' + two(time.hour) + ':' + two(time.minute) + ':' +
	       two(time.second);
}

void complain(const std::string &line)
{
	Platform::console().write(Platform::StandardStream::ERROR_OUTPUT, "morvane: " + line + "\n");
}

bool sendTerminate(const std::string &name)
{
	const int handle = Pipes::openWriteNamedPipe(InternalCoordinator::getPipeFolderPath() + name);
	const auto coordinator = InternalCoordinator::instance();
	const std::shared_ptr<IObject> message = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
	    coordinator->getAddressObj(), LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(name, {}), OpCode::TERMINATE, {});
	return handle != 0 && Pipes::writeToNamedPipe(handle, Utils::escapeIPC(Data_abstract::serializeToStr(message)) + '\n');
}

// Those that are still there at the end.
std::vector<std::string> waitForEnd(std::vector<std::string> names)
{
	// They end within their own limit, which is most likely this process's too.
	const std::int64_t wait =
	    std::min(InternalCoordinator::getSettings().delayQuitMicroseconds, LONGEST_WAIT_MICROSECONDS) * 1000 + 2 * NANOSECONDS;
	const std::int64_t end = Platform::steadyNanoseconds() + wait;
	while (true)
	{
		WritePipe::timeslice();
		std::erase_if(names, [](const std::string &name) { return !publishedProcess(name).read().isAlive(); });
		const std::int64_t now = Platform::steadyNanoseconds();
		if (names.empty() || now >= end || Platform::pendingSignal() != 0)
		{
			return names;
		}
		Platform::sleepUntil(now + LOOK_NANOSECONDS);
	}
}

bool stopTogether(const std::vector<std::string> &names)
{
	std::vector<std::string> asked;
	for (const std::string &name : names)
	{
		if (!publishedProcess(name).read().isAlive())
		{
			complain(name + " isn't running");
		}
		else if (!sendTerminate(name))
		{
			complain(name + " can't be reached");
		}
		else
		{
			asked.push_back(name);
		}
	}
	bool isGood = asked.size() == names.size();
	for (const std::string &name : waitForEnd(asked))
	{
		complain(name + " hasn't ended");
		isGood = false;
	}
	return isGood;
}
}

std::vector<std::string> Fabric::getNames()
{
	std::vector<std::string> names;
	const std::string &folder = InternalCoordinator::getSessionDataFolderPath();
	for (const std::string &file : folder.empty() ? std::vector<std::string>() : Dirs::scanDir(folder))
	{
		const std::string name = file.ends_with(PID_EXTENSION) ? file.substr(0, file.size() - PID_EXTENSION.size()) : std::string();
		if (Utils::isCoordinatorName(name))
		{
			names.push_back(name);
		}
	}
	return names;
}

std::string Fabric::list()
{
	const std::vector<std::string> names = getNames();
	std::size_t width = 4;
	for (const std::string &name : names)
	{
		width = std::max(width, name.size());
	}
	std::string text = padded("NAME", width) + padded("PID", 7) + padded("ALIVE", 5) + "SINCE\n";
	for (const std::string &name : names)
	{
		const PublishedProcess process = publishedProcess(name);
		const PublishedProcess::Publication publication = process.read();
		const std::int64_t since = Platform::fileInfo(process.getPidFilePath()).modifiedNanoseconds / NANOSECONDS;
		text += padded(name, width) + padded(std::to_string(publication.processId), 7) + padded(publication.isAlive() ? "yes" : "no", 5) +
		        timeText(since) + '\n';
	}
	return text;
}

int Fabric::stop(const std::vector<std::string> &names)
{
	std::vector<std::string> others;
	bool isMainAmongThem = false;
	for (const std::string &name : names)
	{
		const std::string fullName = Utils::normaliseCoordinatorName(name);
		isMainAmongThem = isMainAmongThem || fullName == InternalCoordinator::MAIN_NAME;
		if (fullName != InternalCoordinator::MAIN_NAME)
		{
			others.push_back(fullName);
		}
	}
	bool isGood = stopTogether(others);
	isGood = (!isMainAmongThem || stopTogether({InternalCoordinator::MAIN_NAME})) && isGood;
	return isGood ? 0 : 1;
}

int Fabric::stopAll()
{
	std::vector<std::string> names = getNames();
	std::erase_if(names, [](const std::string &name) { return !publishedProcess(name).read().isAlive(); });
	return stop(names);
}
}
