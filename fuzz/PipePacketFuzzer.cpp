// Packet streams into a read pipe, over pipes in memory: several writers at once, torn messages, sizes and lengths that lie. An input is a
// run of steps, each a byte that tells what happens and to whom, and what that takes.
#include "FuzzEnvironment.h"
#include "MrvPipes/MrvPipePacket.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvLimits.h"
#include "support/MemoryPipes.h"

#include <array>
#include <cstdlib>

namespace
{
using Mrv::PipePacketHeader;
using Mrv::Test::MemoryPipes;

constexpr std::size_t WRITERS = 8;

// The path of the pipe, in a folder that stays: the proxy file is written once, and is the same for each input.
const std::string &pipePath()
{
	static const std::string sPath = []
	{
		const std::string folder = Mrv::Dirs::getTmpPath() + "morvane-fuzz" + Mrv::Platform::pathSeparator();
		Mrv::Dirs::mkDir(folder, Mrv::DirRecurse::RECURSE);
		return folder + "net.morvane.coordinator.fuzzed";
	}();
	return sPath;
}

// A message made from a few bytes: a header with small numbers, most of them right, and a payload of one letter.
std::string makeMessage(Mrv::Fuzz::Input &input, Mrv::Platform::ProcessId processId)
{
	PipePacketHeader header;
	header.stringSequence = input.takeByte();
	header.packetSequence = input.takeByte();
	header.processId = processId;
	const std::size_t size = input.takeByte() * std::size_t{16};
	const std::uint8_t lie = input.takeByte();
	header.payloadSize = static_cast<std::uint16_t>(size + (lie == 1 ? 1 : 0) - (lie == 2 ? 1 : 0) + (lie == 3 ? 32768 : 0));
	header.processId += lie == 4 ? 1 : 0;
	std::string payload(size, 'p');
	if (header.packetSequence == 0 && size >= Mrv::PIPE_LENGTH_SIZE)
	{
		std::uint64_t length = input.takeByte();
		length = lie == 5 ? ~std::uint64_t{0} - length : lie == 6 ? length << 56 : lie == 7 ? length << 20 : length * 8;
		std::memcpy(payload.data(), &length, sizeof length);
	}
	if (lie == 8 && !payload.empty())
	{
		payload.back() = '\n';
	}
	return std::string(reinterpret_cast<const char *>(&header), sizeof header) + payload;
}

void play(Mrv::Fuzz::Input &input, MemoryPipes &pipes, Mrv::ReadPipe &pipe)
{
	std::array<std::shared_ptr<MemoryPipes::Connection>, WRITERS> writers;
	std::string text;
	bool isComplete = false;
	while (!input.rest().empty())
	{
		const std::uint8_t step = input.takeByte();
		const std::size_t index = step % WRITERS;
		std::shared_ptr<MemoryPipes::Connection> &writer = writers.at(index);
		const auto processId = static_cast<Mrv::Platform::ProcessId>(4'000'000'000 + index / 2); // two connections of one process
		switch (step / WRITERS % 8)
		{
			case 0:
				writer = pipes.connectWriter(processId);
				break;
			case 1:
				if (writer)
				{
					writer->isWriterGone = true;
				}
				break;
			case 2:
				if (writer)
				{
					writer->messages.push_back(input.takeText());
				}
				break;
			case 3:
				pipe.read(text, isComplete, '\n');
				break;
			case 4:
				pipes.script(static_cast<Mrv::Test::PipeOperation>(input.takeByte() % 6),
				    static_cast<Mrv::Platform::PipeOutcome>(input.takeByte() * 8 % 1000), input.takeText().substr(0, 4096));
				break;
			case 5:
				pipe.poll();
				break;
			default:
				if (writer)
				{
					writer->messages.push_back(makeMessage(input, processId));
				}
				break;
		}
	}
	pipe.poll();
	while (pipe.read(text, isComplete, '\n') || isComplete)
	{
	}
}
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	Mrv::Fuzz::prepare();
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	MemoryPipes pipes;
	{
		Mrv::ReadPipe pipe(pipePath());
		if (!pipe.open())
		{
			std::abort();
		}
		Mrv::Fuzz::Input input(data, size);
		play(input, pipes, pipe);
		if (pipe.getUnfinishedCount() > WRITERS || pipe.getPoolSize() > Mrv::Limits::PIPE_POOL_INSTANCES)
		{
			std::abort();
		}
	}
	if (pipes.instanceCount() != 0)
	{
		std::abort();
	}
	return 0;
}
