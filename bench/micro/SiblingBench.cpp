// Two coordinators in two processes: this one, and `morvane` beside it, which serves. A ping to its ping service and back, and messages
// to its null service, with a ping behind them that tells when they have arrived.

#include "MrvPlatform/MrvClock.h"
#include "MrvService/MrvServiceNull.h"
#include "transports/TwoCoordinators.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

using namespace Mrv;

namespace
{
using Mrv::Bench::TwoCoordinators;

void pingRoundTrip(benchmark::State &state)
{
	const TwoCoordinators two;
	std::vector<std::int64_t> times;
	for (auto _ : state)
	{
		const std::int64_t start = Platform::steadyNanoseconds();
		two.ping();
		times.push_back(Platform::steadyNanoseconds() - start);
	}
	std::sort(times.begin(), times.end());
	state.counters["p50_us"] = static_cast<double>(times[times.size() / 2]) / 1000;
	state.counters["p99_us"] = static_cast<double>(times[times.size() * 99 / 100]) / 1000;
}
BENCHMARK(pingRoundTrip)->UseRealTime();

void siblingMessagesOneWay(benchmark::State &state)
{
	const auto size = static_cast<std::size_t>(state.range(0));
	const std::int64_t batch = size < 10'000 ? 1000 : 8;
	const std::string payload(size, 'x');
	const TwoCoordinators two;
	for (auto _ : state)
	{
		for (std::int64_t i = 0; i < batch; ++i)
		{
			two.send(ServiceNull::SERVICE_NAME, OpCode::LOG_NOTE, payload);
		}
		two.ping();
	}
	state.SetItemsProcessed(state.iterations() * batch);
	state.SetBytesProcessed(state.iterations() * batch * static_cast<std::int64_t>(size));
}
BENCHMARK(siblingMessagesOneWay)->Arg(200)->Arg(1 << 20)->UseRealTime();
}
