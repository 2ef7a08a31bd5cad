// Messages between two processes, by this system and by others, in one run: round trips, many small ones, large ones. With --idle also what
// the two processes cost while nothing happens, and how soon a message arrives then. Each transport has its turn in each round, so that
// what else the machine does hits all of them.

#include "Transports.h"

#include "Timing.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <unistd.h>
#include <vector>

namespace Mrv::Bench
{
namespace
{
constexpr int ROUNDS = 5;
constexpr int PINGS = 4000;
constexpr std::size_t SMALL = 200;
constexpr int SMALL_COUNT = 20'000;
constexpr std::size_t LARGE = 1 << 20;
constexpr int LARGE_COUNT = 40;

struct Figures
{
	std::vector<double> pings; // microseconds
	std::vector<double> small; // messages a second
	std::vector<double> large; // MB a second
};

double stream(ITransport &transport, std::size_t size, int count)
{
	const std::string payload(size, 'x');
	return secondsOf(
	    [&]
	    {
		    for (int i = 0; i < count; ++i)
		    {
			    transport.send(payload);
		    }
		    transport.ping();
	    });
}

void measure(const std::function<std::unique_ptr<ITransport>()> &make, Figures &figures, std::string &name)
{
	const std::unique_ptr<ITransport> transport = make();
	name = transport->getName();
	for (int i = 0; i < PINGS / 10; ++i)
	{
		transport->ping();
	}
	for (int i = 0; i < PINGS; ++i)
	{
		figures.pings.push_back(secondsOf([&] { transport->ping(); }) * 1e6);
	}
	figures.small.push_back(SMALL_COUNT / stream(*transport, SMALL, SMALL_COUNT));
	double seconds = 0;
	for (int sent = 0; sent < LARGE_COUNT; sent += 8) // not more than a queue takes
	{
		seconds += stream(*transport, LARGE, 8);
	}
	figures.large.push_back(LARGE_COUNT * (static_cast<double>(LARGE) / 1e6) / seconds);
}

// Seconds of processor time that a process has used.
double processorSeconds(int processId)
{
	std::ifstream file("/proc/" + std::to_string(processId) + "/stat");
	std::string text((std::istreambuf_iterator<char>(file)), {});
	const char *field = std::strrchr(text.c_str(), ')') + 1;
	for (int i = 3; i < 14; ++i)
	{
		field = std::strchr(field + 1, ' ');
	}
	char *rest = nullptr;
	const double user = std::strtod(field, &rest);
	return (user + std::strtod(rest, nullptr)) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

// The coordinator at the other end has nothing to do; this one doesn't run meanwhile.
void measureIdle()
{
	constexpr int WARM_UP = 31; // the loop sleeps longest after 30 s
	constexpr int SECONDS = 30;
	constexpr int WAKES = 15;
	const std::unique_ptr<ITransport> transport = makeMorvane();
	::sleep(WARM_UP);
	const double before = processorSeconds(transport->getPeer());
	::sleep(SECONDS);
	std::printf("\nidle coordinator: %.2f %% of a core\n", (processorSeconds(transport->getPeer()) - before) * 100 / SECONDS);
	std::vector<double> times;
	for (int i = 0; i < WAKES; ++i)
	{
		times.push_back(secondsOf([&] { transport->ping(); }) * 1e6);
		if (i + 1 < WAKES)
		{
			::usleep(i == 0 ? 31'000'000 : 6'000'000); // the peer sleeps again
		}
	}
	std::printf("ping to an idle coordinator and back: p50 %.0f us, first (after a minute) %.0f us\n", quantile(times, 0.5), times[0]);
}
}
}

int main(int argc, char **argv)
{
	using namespace Mrv::Bench;
	const std::array<std::function<std::unique_ptr<ITransport>()>, 4> makers{
	    makeMorvane, [] { return makeZeroMQ("p", "a"); }, makeDBus, makeSeqpacket};
	std::array<Figures, 4> figures;
	std::array<std::string, 4> names;
	for (int round = 0; round < ROUNDS; ++round)
	{
		for (std::size_t i = 0; i < makers.size(); ++i)
		{
			measure(makers[i], figures[i], names[i]);
		}
	}
	std::printf("\nmedian of %d rounds; messages of %zu bytes and of 1 MiB, one way\n", ROUNDS, SMALL);
	std::printf("%-16s%14s%14s%16s%12s\n", "", "ping p50 us", "ping p99 us", "messages/s", "MB/s");
	for (std::size_t i = 0; i < makers.size(); ++i)
	{
		std::printf("%-16s%14.1f%14.1f%16.0f%12.1f\n", names[i].c_str(), quantile(figures[i].pings, 0.5), quantile(figures[i].pings, 0.99),
		    quantile(figures[i].small, 0.5), quantile(figures[i].large, 0.5));
	}
	if (argc > 1 && std::strcmp(argv[1], "--idle") == 0)
	{
		measureIdle();
	}
	return 0;
}
