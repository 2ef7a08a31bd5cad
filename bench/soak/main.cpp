// A million remote evals between two processes, a hundred of them in flight, and the memory of both after the first ten thousand and at the
// end. Argument: another number. Status 1 when a process has grown by 5 MB or more, or an answer is wrong.

#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvClock.h"
#include "remote/RemoteEvals.h"
#include "transports/TwoCoordinators.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace Mrv;

namespace
{
constexpr std::int64_t SETTLED = 10'000;
constexpr std::size_t IN_FLIGHT = 100;
constexpr std::int64_t LARGEST_GROWTH = 5'000'000; // bytes

std::int64_t residentBytes(pid_t process)
{
	std::int64_t all = 0;
	std::int64_t resident = 0;
	std::ifstream("/proc/" + std::to_string(process) + "/statm") >> all >> resident;
	return resident * ::sysconf(_SC_PAGESIZE);
}

int run(std::int64_t count)
{
	setCurrentLogger(std::make_shared<Logger>());
	const Bench::TwoCoordinators two;
	Bench::RemoteEvals evals(Bench::TwoCoordinators::PEER, "1 + 2", "3");
	if (!evals.run(SETTLED, IN_FLIGHT))
	{
		std::puts("an eval failed");
		return 1;
	}
	const pid_t processes[] = {::getpid(), two.getPeer()};
	const std::int64_t before[] = {residentBytes(processes[0]), residentBytes(processes[1])};
	const std::int64_t start = Platform::steadyNanoseconds();
	const bool isWell = evals.run(count - SETTLED, IN_FLIGHT);
	const double seconds = static_cast<double>(Platform::steadyNanoseconds() - start) / 1e9;
	std::printf("%lld remote evals, %zu in flight: %.0f a second\n", static_cast<long long>(count), IN_FLIGHT,
	    static_cast<double>(count - SETTLED) / seconds);
	bool isFlat = true;
	for (int i = 0; i < 2; ++i)
	{
		const std::int64_t growth = residentBytes(processes[i]) - before[i];
		std::printf("%s process: %.1f MB after the first %lld, %+.2f MB at the end\n", i == 0 ? "asking" : "answering",
		    static_cast<double>(before[i]) / 1e6, static_cast<long long>(SETTLED), static_cast<double>(growth) / 1e6);
		isFlat = isFlat && growth < LARGEST_GROWTH;
	}
	std::puts(!isWell ? "an eval failed" : isFlat ? "memory is flat" : "MEMORY GROWS");
	return isWell && isFlat ? 0 : 1;
}
}

int main(int argc, char **argv)
{
	return run(argc > 1 ? std::strtoll(argv[1], nullptr, 10) : 1'000'000);
}
