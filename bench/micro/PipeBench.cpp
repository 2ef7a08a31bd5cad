// One way through a pipe from another process, which writes as fast as it can: megabytes a second of long messages, messages a second of
// short ones. The writer is this program, forked. An end that finds nothing to do sleeps until the pipe ends its sleep, so that neither
// takes the processor from the other.

#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvPipes.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvUtils/MrvDirs.h"

#include <benchmark/benchmark.h>

#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Mrv;

namespace
{
// Sleeps as the event loop does: not while there was traffic.
class BenchPipeCoordinator final : public IPipeCoordinator
{
public:
	BenchPipeCoordinator() { setCurrent(this); }
	BenchPipeCoordinator(const BenchPipeCoordinator &) = delete;
	BenchPipeCoordinator &operator=(const BenchPipeCoordinator &) = delete;
	~BenchPipeCoordinator() override { setCurrent(nullptr); }

	bool reportMessagingActivityInEventLoop() override { return fHasActivity = true; }

	void sleepWithoutTraffic()
	{
		if (!std::exchange(fHasActivity, false))
		{
			Platform::sleepUntil(Platform::steadyNanoseconds() + 5'000'000);
		}
	}

private:
	bool fHasActivity = false;
};

// Writes lines until it is killed, and never has more than a few megabytes waiting.
[[noreturn]] void writeForEver(const std::string &path, std::size_t size)
{
	const std::string line = std::string(size - 1, 'x') + '\n';
	const std::size_t batch = size < 10'000 ? 1000 : 4;
	BenchPipeCoordinator coordinator;
	const int handle = Pipes::openWriteNamedPipe(path);
	while (handle != 0)
	{
		for (std::size_t i = 0; i < batch; ++i)
		{
			Pipes::writeToNamedPipe(handle, line);
		}
		for (WritePipe::timeslice(); !WritePipe::isAllIdle(); WritePipe::timeslice())
		{
			coordinator.sleepWithoutTraffic();
		}
	}
	::_exit(1);
}

void messagesOneWay(benchmark::State &state)
{
	const auto size = static_cast<std::size_t>(state.range(0));
	const std::string folder = Dirs::getTmpPath() + "morvane-pipe-bench" + Platform::pathSeparator();
	Dirs::mkDir(folder, DirRecurse::RECURSE);
	const std::string path = folder + "bench";
	const int handle = Pipes::openReadNamedPipe(path);
	const pid_t writer = ::fork();
	if (writer == 0)
	{
		writeForEver(path, size);
	}
	BenchPipeCoordinator coordinator;
	std::string text;
	bool isComplete = false;
	const auto receive = [&]
	{
		while (!Pipes::readFromNamedPipe(text, handle, isComplete, '\n'))
		{
			coordinator.sleepWithoutTraffic();
		}
	};
	receive(); // the connection stands
	for (auto _ : state)
	{
		receive();
	}
	state.SetItemsProcessed(state.iterations());
	state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
	::kill(writer, SIGKILL);
	::waitpid(writer, nullptr, 0);
	Pipes::closeNamedPipe(handle);
	Dirs::rmDir(folder, DirRecurse::RECURSE);
}
BENCHMARK(messagesOneWay)->Arg(200)->Arg(1 << 20)->UseRealTime();

// The same within one process, each end in its turn: what both ends cost together, whatever else the machine does.
void messagesWithinOneProcess(benchmark::State &state)
{
	const auto size = static_cast<std::size_t>(state.range(0));
	const std::string folder = Dirs::getTmpPath() + "morvane-pipe-bench" + Platform::pathSeparator();
	Dirs::mkDir(folder, DirRecurse::RECURSE);
	const int reader = Pipes::openReadNamedPipe(folder + "bench");
	const int writer = Pipes::openWriteNamedPipe(folder + "bench");
	const std::string line = std::string(size - 1, 'x') + '\n';
	const std::int64_t batch = size < 10'000 ? 100 : 1;
	std::string text;
	bool isComplete = false;
	for (auto _ : state)
	{
		for (std::int64_t i = 0; i < batch; ++i)
		{
			Pipes::writeToNamedPipe(writer, line);
		}
		for (std::int64_t received = 0; received < batch;)
		{
			WritePipe::timeslice();
			received += Pipes::readFromNamedPipe(text, reader, isComplete, '\n') ? 1 : 0;
		}
	}
	state.SetItemsProcessed(state.iterations() * batch);
	state.SetBytesProcessed(state.iterations() * batch * static_cast<std::int64_t>(size));
	WritePipe::closeAll();
	Pipes::closeNamedPipe(reader);
	Dirs::rmDir(folder, DirRecurse::RECURSE);
}
BENCHMARK(messagesWithinOneProcess)->Arg(200)->Arg(1 << 20);

// What a pass costs while nothing comes: five instances listen, so many writers are connected.
void pollWithoutTraffic(benchmark::State &state)
{
	const std::string folder = Dirs::getTmpPath() + "morvane-pipe-bench" + Platform::pathSeparator();
	Dirs::mkDir(folder, DirRecurse::RECURSE);
	const int handle = Pipes::openReadNamedPipe(folder + "bench");
	const auto pipe = ReadPipe::getPipe(handle);
	std::vector<std::unique_ptr<Platform::IPipeWriter>> writers(static_cast<std::size_t>(state.range(0)));
	for (auto &writer : writers)
	{
		Platform::messagePipes().openWriter(pipe->getRawNamedPipePath(), writer);
		pipe->poll();
	}
	for (auto _ : state)
	{
		pipe->poll();
	}
	writers.clear();
	Pipes::closeNamedPipe(handle);
	Dirs::rmDir(folder, DirRecurse::RECURSE);
}
BENCHMARK(pollWithoutTraffic)->Arg(0)->Arg(50);
}
