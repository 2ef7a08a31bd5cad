// A script in another process: how long until its value is back, beside a Python process that runs a line and beside ZeroMQ with the same
// texts; how many a second with a hundred in flight; and the way through another coordinator into its host and back, while the sample host
// gives it its slices. Each has its turn in each round, so that what else the machine does hits all of them.

#include "PythonPeer.h"
#include "RemoteEvals.h"
#include "transports/Timing.h"
#include "transports/Transports.h"
#include "transports/TwoCoordinators.h"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace Mrv::Bench
{
namespace
{
constexpr int ROUNDS = 5;
constexpr int TRIPS = 3000;
constexpr int HOST_TRIPS = 200;
constexpr std::size_t IN_FLIGHT = 100;
constexpr std::int64_t MANY = 20'000;
constexpr double FEWEST_A_SECOND = 20'000;
const std::string HOST = "net.morvane.coordinator.layout";

struct Figures
{
	std::vector<double> p50; // microseconds, a value a round
	std::vector<double> p99;
};

// The sample host with a coordinator of its own, in the home of the other two.
class HostProcess
{
public:
	explicit HostProcess(const std::string &home)
	{
		const std::string settings = home + "net.morvane/SysConfig/";
		Dirs::mkDir(settings, DirRecurse::RECURSE);
		Dirs::replaceFile(settings + "config.ini", "[config]\neventLoopMicroseconds=20000\n");
		fProcess = static_cast<pid_t>(Platform::launchProcess({Dirs::getAppDirPath() + "morvane-host", "--name", HOST}));
		TwoCoordinators::awaitCoordinator(HOST);
	}
	~HostProcess() { endPeer(fProcess); }
	HostProcess(const HostProcess &) = delete;
	HostProcess &operator=(const HostProcess &) = delete;

private:
	pid_t fProcess = 0;
};

// A tenth of the trips as a warm-up, and then each of them timed. False when one went wrong.
bool timeTrips(int count, const std::function<bool()> &trip, Figures &figures)
{
	bool isRight = true;
	for (int i = 0; i < count / 10; ++i)
	{
		isRight = trip() && isRight;
	}
	std::vector<double> times;
	for (int i = 0; i < count; ++i)
	{
		times.push_back(secondsOf([&] { isRight = trip() && isRight; }) * 1e6);
	}
	figures.p50.push_back(quantile(times, 0.5));
	figures.p99.push_back(quantile(times, 0.99));
	return isRight;
}

struct Results
{
	Figures eval;
	Figures python;
	Figures zeroMQ;
	Figures hostCoordinator;
	Figures host;
	std::vector<double> aSecond;
};

bool measureCoordinators(Results &results)
{
	const TwoCoordinators two;
	RemoteEvals evals(TwoCoordinators::PEER, "1 + 2", "3");
	bool isRight = timeTrips(
	    TRIPS, [&] { return evals.run(1, 1); }, results.eval);
	results.aSecond.push_back(MANY / secondsOf([&] { isRight = evals.run(MANY, IN_FLIGHT) && isRight; }));

	const HostProcess host(two.getFolder());
	RemoteEvals there(HOST, "1 + 2", "3");
	isRight = timeTrips(
	              HOST_TRIPS, [&] { return there.run(1, 1); }, results.hostCoordinator) &&
	          isRight;
	RemoteEvals inHost(HOST, "hostEval('6 * 7')", "42");
	return timeTrips(
	           HOST_TRIPS, [&] { return inHost.run(1, 1); }, results.host) &&
	       isRight;
}

bool measurePython(Results &results)
{
	PythonPeer python;
	return timeTrips(
	    TRIPS, [&] { return python.ask("result = 1 + 2") == "3"; }, results.python);
}

bool measureZeroMQ(Results &results)
{
	const auto zeroMQ = makeZeroMQ("1 + 2", "3");
	return timeTrips(
	    TRIPS,
	    [&]
	    {
		    zeroMQ->ping();
		    return true;
	    },
	    results.zeroMQ);
}

void print(const char *name, const Figures &figures)
{
	std::printf("%-58s%10.1f%10.1f\n", name, quantile(figures.p50, 0.5), quantile(figures.p99, 0.5));
}

bool measure()
{
	Results results;
	bool isRight = true;
	for (int round = 0; round < ROUNDS; ++round)
	{
		isRight = measureCoordinators(results) && isRight;
		isRight = measurePython(results) && isRight;
		isRight = measureZeroMQ(results) && isRight;
	}
	const double aSecond = quantile(results.aSecond, 0.5);
	std::printf(
	    "\nmedian of %d rounds of %d there and back, %d into the host\n%-58s%10s%10s\n", ROUNDS, TRIPS, HOST_TRIPS, "", "p50 us", "p99 us");
	print("eval of '1 + 2' in another coordinator", results.eval);
	print("Python process, exec of a line from a socket", results.python);
	print("ZeroMQ ipc, the texts alone", results.zeroMQ);
	print("eval of '1 + 2' in the coordinator of a host", results.hostCoordinator);
	print("hostEval of '6 * 7' there, in the host itself", results.host);
	std::printf("evals a second with %zu in flight: %.0f: %s\n", IN_FLIGHT, aSecond, aSecond >= FEWEST_A_SECOND ? "enough" : "TOO FEW");
	if (!isRight)
	{
		std::puts("AN ANSWER WAS WRONG OR MISSING");
	}
	return isRight;
}
}
}

int main()
{
	return Mrv::Bench::measure() ? 0 : 1;
}
