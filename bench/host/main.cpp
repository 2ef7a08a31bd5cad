// What a host pays: the external object, loaded at run time. An idle slice of 20 ms, how exactly slices of 500 ms end while a thousand
// tasks wait, and the way of a script to the host and back.

#include "MrvHostInterface.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvSharedLibrary.h"
#include "MrvUtils/MrvDirs.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <unistd.h>
#include <vector>

using namespace Mrv;

namespace
{
using Export = std::int32_t(TaggedData *argv, std::int32_t argc, TaggedData *retval);

constexpr std::int64_t MILLISECOND = 1'000'000; // nanoseconds

std::int64_t processorNanoseconds()
{
	timespec time{};
	::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
	return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

// A coordinator in this process, with a home of its own, as a host has it.
class Host
{
public:
	explicit Host(int sliceMilliseconds)
	    : fFolder(Dirs::getTmpPath() + "morvane-host-bench-" + std::to_string(::getpid()) + Platform::pathSeparator()),
	      fLibrary(Dirs::getAppDirPath() + "libMorvaneESDLL_x64R.so")
	{
		const std::string settings = fFolder + "net.morvane/SysConfig/";
		Dirs::mkDir(settings, DirRecurse::RECURSE);
		Dirs::replaceFile(settings + "config.ini",
		    "[config]\ndefaultTimeoutMicroseconds=3600000000\neventLoopMicroseconds=" + std::to_string(sliceMilliseconds * 1000) + "\n");
		Platform::setEnvironmentVariable("XDG_DATA_HOME", fFolder);
		call("mrvInit", {"main"});
	}
	~Host()
	{
		call("mrvShutdown");
		Dirs::rmDir(fFolder, DirRecurse::RECURSE);
	}
	Host(const Host &) = delete;
	Host &operator=(const Host &) = delete;

	void call(const char *name, std::vector<std::string> arguments = {})
	{
		std::vector<TaggedData> argv(arguments.size());
		for (std::size_t i = 0; i < arguments.size(); ++i)
		{
			argv[i].data.string = arguments[i].data();
			argv[i].type = MRV_HOST_STRING;
		}
		fResult = TaggedData{};
		fLibrary.find<Export>(name)(argv.data(), static_cast<std::int32_t>(argv.size()), &fResult);
	}
	std::uint32_t count(const char *name)
	{
		call(name);
		return fResult.data.uintval;
	}
	void ask(const std::string &script)
	{
		call("mrvRelayHostMessage",
		    {"far", "Message\nRemoteResolvedAddress\n00112233-4455-6677-8899-AABBCCDDEEFF\n00112233-4455-6677-8899-AABBCCDDEE00\n\nfar\n"
		            "InternalAddress\nnet.morvane.service.objectmodel/0\n12\n{clientSequenceNr: 1, script: \\\"" +
		                script + "\\\"}"});
	}
	void dropAnswers()
	{
		while (count("mrvGetHostMessageQueueSize") > 0)
		{
			call("mrvAdvanceHostMessageQueue");
		}
	}

private:
	const std::string fFolder;
	const Platform::SharedLibrary fLibrary;
	TaggedData fResult{};
};

// How long each of so many slices lasts, in nanoseconds, sorted.
std::vector<std::int64_t> slices(Host &host, int number)
{
	std::vector<std::int64_t> times;
	for (int i = 0; i < number; ++i)
	{
		const std::int64_t start = Platform::steadyNanoseconds();
		host.call("mrvTimeslice");
		times.push_back(Platform::steadyNanoseconds() - start);
	}
	std::sort(times.begin(), times.end());
	return times;
}

double milliseconds(std::int64_t nanoseconds)
{
	return static_cast<double>(nanoseconds) / static_cast<double>(MILLISECOND);
}

void idleSlices()
{
	Host host(20);
	slices(host, 50);
	constexpr int NUMBER = 250;
	const std::int64_t before = processorNanoseconds();
	const std::vector<std::int64_t> times = slices(host, NUMBER);
	const double each = milliseconds(processorNanoseconds() - before) / NUMBER;
	std::printf("idle slice of 20 ms: %.3f ms of processor time (%.2f %%), lasts %.2f ms p50, %.2f ms p99\n", each, each / 20 * 100,
	    milliseconds(times[NUMBER / 2]), milliseconds(times[NUMBER * 99 / 100]));
}

void longSlices()
{
	Host host(500);
	host.ask("1");
	slices(host, 1);
	host.dropAnswers();
	for (int i = 0; i < 1000; ++i)
	{
		host.ask("yield(3600000, function() { return false; })");
	}
	slices(host, 2);
	constexpr int NUMBER = 100;
	const std::vector<std::int64_t> times = slices(host, NUMBER);
	const std::int64_t p99 = times[NUMBER * 99 / 100];
	std::printf("slice of 500 ms with 1000 tasks that wait: lasts %.1f ms p50, %.1f ms p99: %s\n", milliseconds(times[NUMBER / 2]),
	    milliseconds(p99), std::abs(milliseconds(p99) - 500) <= 50 ? "within 10 %" : "BEYOND 10 %");
}

// A script asks the host, which answers at once, and goes on.
void roundTrips()
{
	Host host(20);
	constexpr int NUMBER = 2000;
	std::vector<std::int64_t> times;
	for (int i = 0; i < NUMBER; ++i)
	{
		const std::int64_t start = Platform::steadyNanoseconds();
		host.ask("hostEval('6 * 7')");
		while (host.count("mrvGetHostMessageQueueSize") == 0)
		{
			host.call("mrvTimeslice");
			while (host.count("mrvGetScriptQueueSize") > 0)
			{
				host.call("mrvReportScriptCompleted", {"undefined", "42"});
				host.call("mrvAdvanceScriptQueue");
			}
		}
		host.dropAnswers();
		times.push_back(Platform::steadyNanoseconds() - start);
	}
	std::sort(times.begin(), times.end());
	std::printf("hostEval in this process's coordinator, to the host and back: %.3f ms p50, %.3f ms p99\n", milliseconds(times[NUMBER / 2]),
	    milliseconds(times[NUMBER * 99 / 100]));
}
}

int main()
{
	idleSlices();
	roundTrips();
	longSlices();
	return 0;
}
