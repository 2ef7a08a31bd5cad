// What messages and services cost: on the wire, on the way to a local service, and when there is nothing to do.

#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalResolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvService/MrvServiceNull.h"
#include "MrvService/MrvService_abstract.h"
#include "MrvTask/MrvTask.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

using namespace Mrv;

namespace
{
// A coordinator without a name of its own publishes nothing, so that the benchmark leaves nothing behind.
class RunningCoordinator
{
public:
	RunningCoordinator()
	{
		InternalCoordinator::init(0, nullptr);
		fCoordinator = InternalCoordinator::instance();
	}
	~RunningCoordinator()
	{
		fCoordinator = nullptr;
		InternalCoordinator::release();
	}
	RunningCoordinator(const RunningCoordinator &) = delete;
	RunningCoordinator &operator=(const RunningCoordinator &) = delete;
	InternalCoordinator *operator->() const { return fCoordinator.get(); }

private:
	std::shared_ptr<InternalCoordinator> fCoordinator;
};

// JSON, as payloads are, of about so many bytes.
std::string payloadOfSize(std::size_t size)
{
	std::string payload = "{\"values\":[";
	while (payload.size() + 2 < size)
	{
		payload += "\"value\",12345,";
	}
	payload.resize(size - 3, '0');
	return payload + "1]}";
}

// A message whose serialized form has so many bytes, as it travels between coordinators.
std::shared_ptr<IObject> messageOfSize(std::size_t size)
{
	const auto address = []
	{
		return LocalResolvedAddress::factoryFromGUIDsName(
		    GUIDClass::randomFactory(), GUIDClass::randomFactory(), "net.morvane.coordinator.main");
	};
	const auto sender = address();
	const auto receiver = address();
	const auto make = [&](std::string payload)
	{ return Message::factoryFromSenderDestinationAddressOpCodePayloadStr(sender, receiver, OpCode::EVAL, std::move(payload)); };
	const std::size_t around = Data_abstract::serializeToStr(make("")).size();
	return make(size > around + 16 ? payloadOfSize(size - around) : std::string(size > around ? size - around : 0, 'x'));
}

void serializeMessage(benchmark::State &state)
{
	const RunningCoordinator coordinator;
	const auto message = messageOfSize(static_cast<std::size_t>(state.range(0)));
	std::size_t size = 0;
	for (auto _ : state)
	{
		size = Data_abstract::serializeToStr(message).size();
		benchmark::DoNotOptimize(size);
	}
	state.SetItemsProcessed(state.iterations());
	state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}
BENCHMARK(serializeMessage)->Arg(200)->Arg(1 << 20);

void parseMessage(benchmark::State &state)
{
	const RunningCoordinator coordinator;
	const std::string text = Data_abstract::serializeToStr(messageOfSize(static_cast<std::size_t>(state.range(0))));
	for (auto _ : state)
	{
		if (!Data_abstract::deserializeFromStr(text))
		{
			state.SkipWithError("the message could not be read");
			break;
		}
	}
	state.SetItemsProcessed(state.iterations());
	state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(parseMessage)->Arg(200)->Arg(1 << 20);

// Counts what it gets.
class CountingService final : public Service_abstract
{
public:
	static inline const std::string TYPENAME = "CountingService";
	static inline const std::string NAME = "counting";

	static std::shared_ptr<CountingService> factory()
	{
		std::shared_ptr<CountingService> service(new CountingService,
		    [](CountingService *object)
		    {
			    Object::deleter(object);
			    delete object;
		    });
		service->registerObjectID(service);
		service->attachToParent(InternalCoordinator::factory());
		return service;
	}
	const std::string &getTypeName() const override { return TYPENAME; }
	const std::string &getName() const override { return NAME; }
	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override
	{
		++fCount;
		return Service_abstract::receiveMessage(messageObj);
	}
	int64_t fCount = 0;
};

// From the queue to the service: made beforehand, since who sends pays for that.
void relayToLocalService(benchmark::State &state)
{
	constexpr int MESSAGES = 1000;
	const RunningCoordinator coordinator;
	const auto service = CountingService::factory();
	const auto byPath = InternalAddress::factoryFromIndices("counting");
	const std::shared_ptr<const IObject> receiver = state.range(0) == 0 ? service->getAddressObj() : byPath;
	for (auto _ : state)
	{
		state.PauseTiming();
		for (int i = 0; i < MESSAGES; ++i)
		{
			coordinator->queueMessage(
			    Message::factoryFromSenderDestinationAddressOpCodePayloadStr(byPath, receiver, OpCode::NONE, "payload"));
		}
		state.ResumeTiming();
		coordinator->processMessageQueues();
	}
	if (service->fCount != state.iterations() * MESSAGES)
	{
		state.SkipWithError("messages were lost");
	}
	state.SetItemsProcessed(state.iterations() * MESSAGES);
}
BENCHMARK(relayToLocalService)->Arg(0)->Arg(1)->ArgName("byPath");

// One pass of the scheduler with the coordinator's own task, and so many services beside the built-in ones.
void onePass(benchmark::State &state)
{
	const RunningCoordinator coordinator;
	for (int64_t i = 0; i < state.range(0); ++i)
	{
		CountingService::factory();
	}
	const std::shared_ptr<Task> task = coordinator->getMainTask();
	for (auto _ : state)
	{
		int64_t budget = 1'000'000;
		Task::runActiveTasks(budget);
	}
	if (task->isTaskCompleted())
	{
		state.SkipWithError("the coordinator ended");
	}
}
BENCHMARK(onePass)->ArgName("services")->Arg(0)->Arg(10000)->Unit(benchmark::kMicrosecond);
}
