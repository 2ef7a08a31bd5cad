// Message lines as they come from a pipe: protected against line ends, half a message or several.
#include "FuzzEnvironment.h"
#include "MrvUtils/MrvUtils.h"
#include "support/RoutingCoordinator.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	Mrv::Fuzz::prepare();
	static Mrv::Test::RoutingCoordinator sCoordinator;
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	const Mrv::Fuzz::Input input(data, size);
	const std::string text = Mrv::Utils::unescapeIPC(input.rest());
	if (Mrv::Utils::unescapeIPC(Mrv::Utils::escapeIPC(text)) != text)
	{
		std::abort();
	}
	const auto message = std::dynamic_pointer_cast<Mrv::Message>(Mrv::Data_abstract::deserializeFromStr(text));
	if (!message)
	{
		return 0;
	}
	static_cast<void>(message->toString());
	static_cast<void>(message->getAsOMNode());
	if (const auto receiver = std::dynamic_pointer_cast<const Mrv::IAddress>(message->getReceiverAddressObj()))
	{
		message->setReceiverAddressObj(receiver->resolved());
	}
	const auto again = Mrv::Data_abstract::deserializeFromStr(Mrv::Data_abstract::serializeToStr(message));
	if (!again || !(*again == *message))
	{
		std::abort();
	}
	return 0;
}
