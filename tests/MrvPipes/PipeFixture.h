#pragma once

#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvPipePacket.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"
#include "support/MemoryPipes.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Mrv::Test
{
// Counts the reports of activity.
class PipeCoordinator final : public IPipeCoordinator
{
public:
	PipeCoordinator() { setCurrent(this); }
	PipeCoordinator(const PipeCoordinator &) = delete;
	PipeCoordinator &operator=(const PipeCoordinator &) = delete;
	~PipeCoordinator() override { setCurrent(nullptr); }

	std::string getCoordinatorName() const override { return "tester"; }
	bool reportMessagingActivityInEventLoop() override
	{
		++activityCount;
		return true;
	}

	int activityCount = 0;
};

// A pipe folder, and the path of one pipe in it. All pipes are closed at the end.
class PipeFixture : public testing::Test
{
protected:
	PipeFixture() : fFolder(Dirs::getTmpPath() + "net.morvane" + Platform::pathSeparator() + "NamedPipes" + Platform::pathSeparator())
	{
		Dirs::mkDir(fFolder, DirRecurse::RECURSE);
		fPath = fFolder + "net.morvane.coordinator.tester";
	}
	~PipeFixture() override
	{
		WritePipe::closeAll();
		ReadPipe::closeAll();
		Pipe::setTransitionObserver(nullptr);
		Platform::setClockSource(nullptr);
		Dirs::rmDir(Dirs::getTmpPath() + "net.morvane", DirRecurse::RECURSE);
	}

	// A proxy file that somebody else has made.
	void writeProxyFile(const std::string &rawPath, const std::string &processId = "1") const
	{
		EXPECT_TRUE(
		    Dirs::replaceFile(fPath, "[NamedPipe]\nnamedPipeProxyPath=\"" + rawPath + "\"\nprocessId=" + processId + "\n", fFolder));
	}

	// Runs both ends until `isReached`, at the most a minute; sleeps as the event loop does.
	template <typename Condition>
	static bool pumpUntil(Condition isReached)
	{
		constexpr std::int64_t MINUTE = 60'000'000'000;
		const std::int64_t end = Platform::steadyNanoseconds() + MINUTE;
		while (!isReached())
		{
			const std::int64_t now = Platform::steadyNanoseconds();
			if (now > end)
			{
				return false;
			}
			WritePipe::timeslice();
			Platform::sleepUntil(now + 5'000'000);
		}
		return true;
	}

	// All lines that have arrived until there are `count` of them.
	static std::vector<std::string> readLines(int handle, std::size_t count)
	{
		std::vector<std::string> lines;
		std::string text;
		const auto readAll = [&]
		{
			std::string piece;
			bool isComplete = false;
			while (Pipes::readFromNamedPipe(piece, handle, isComplete, '\n') || isComplete)
			{
				text += piece;
				if (isComplete)
				{
					lines.push_back(std::exchange(text, {}));
				}
			}
			return lines.size() >= count;
		};
		EXPECT_TRUE(pumpUntil(readAll)) << lines.size() << " of " << count;
		return lines;
	}

	PipeCoordinator fCoordinator;
	std::string fFolder;
	std::string fPath;
};

// A packet as a writer sends it.
inline std::string packet(std::uint64_t stringSequence, std::uint64_t packetSequence, const std::string &payload,
    Platform::ProcessId processId = Platform::currentProcessId())
{
	const PipePacketHeader header{stringSequence, packetSequence, processId, static_cast<std::uint16_t>(payload.size()), 0};
	return std::string(reinterpret_cast<const char *>(&header), sizeof header) + payload;
}

// The beginning of a payload of a packet 0.
inline std::string lengthText(std::uint64_t length)
{
	return {reinterpret_cast<const char *>(&length), sizeof length};
}
}
