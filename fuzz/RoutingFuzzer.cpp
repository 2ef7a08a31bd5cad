// What a running coordinator does with what arrives: messages from other processes and from other machines, taken apart, learnt from,
// delivered and answered.
#include "FuzzEnvironment.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvMessage/MrvMessage.h"
#include "support/MemoryConsole.h"

#include <cstdlib>

namespace
{
// Knows everybody, and takes what it is given.
class Everybody final : public Mrv::ISibling, public Mrv::ISiblingDirectory
{
public:
	bool relayOutgoingMessage(const std::shared_ptr<const Mrv::IObject> &messageObj) override
	{
		return !Mrv::Data_abstract::serializeToStr(messageObj).empty();
	}
	std::shared_ptr<Mrv::ISibling> findSibling(const std::string &coordinatorName) override
	{
		return coordinatorName.empty() ? nullptr : std::shared_ptr<Mrv::ISibling>(std::shared_ptr<void>(), this);
	}
	bool isKnownName(const std::string &coordinatorName) const override { return coordinatorName == "known"; }
	bool isAliveUnder(const std::string &coordinatorName, Mrv::GUIDClass *) const override { return coordinatorName == "known"; }
};

Mrv::Test::MemoryConsole &console()
{
	static Mrv::Test::MemoryConsole sConsole;
	return sConsole;
}
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	Mrv::Fuzz::prepare();
	console();
	Mrv::InternalCoordinator::init(0, nullptr);
	Mrv::InternalCoordinator::setCanTerminate(false);
	Mrv::InternalCoordinator::instance()->setSiblingDirectory(std::make_shared<Everybody>());
	// Nothing that an input makes up is to be run.
	for (const char *name : {"default", "sample.test"})
	{
		Mrv::InternalCoordinator::instance()->getChildByNameIndex(name, 0)->detachFromParent();
	}
	return 0;
}

// The first byte says where from; messages are ended by a NUL.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	Mrv::Fuzz::Input input(data, size);
	const auto coordinator = Mrv::InternalCoordinator::instance();
	const uint8_t kind = input.takeByte();
	if ((kind & 2U) != 0)
	{
		coordinator->setGatewaySendMethod([](const std::string &, const std::string &) {});
	}
	else
	{
		coordinator->setGatewaySendMethod(nullptr);
	}
	while (!input.rest().empty())
	{
		const std::string text = input.takeText();
		static_cast<void>((kind & 1U) != 0 ? coordinator->receiveGatewayMessageStr("m1", text) : coordinator->receiveMessageStr(text));
		// Nobody here goes on answering for ever.
		for (int passes = 0; !coordinator->isIdle(); ++passes)
		{
			if (passes == 10)
			{
				std::abort();
			}
			coordinator->processMessageQueues();
		}
	}
	console().output.clear();
	console().errorOutput.clear();
	return 0;
}
