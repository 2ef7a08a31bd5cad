// URLs. An address must be equal to itself, and what is written of it must read back, unless a bad name in it was kept.
#include "FuzzEnvironment.h"
#include "MrvAddress/MrvAddress_abstract.h"
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
	std::string tail;
	const auto object = Mrv::Address_abstract::factoryFromURL(std::string(input.rest()), tail);
	const auto address = std::dynamic_pointer_cast<Mrv::Address_abstract>(object);
	const bool isTailTrimmed = tail.empty() || (tail.front() != '/' && tail.back() != '/');
	if (!isTailTrimmed || (object && !(address && *address == *object)))
	{
		std::abort();
	}
	if (!address)
	{
		return 0;
	}
	static_cast<void>(address->getURL());
	static_cast<void>(address->resolved());
	const std::string written = Mrv::Data_abstract::serializeToStr(address);
	const auto read = Mrv::Data_abstract::deserializeFromStr(written);
	const bool isNameGood = Mrv::Utils::isCoordinatorName(address->getCoordinatorName());
	if (isNameGood ? !(read && *read == *address) : read && Mrv::Data_abstract::serializeToStr(read) != written)
	{
		std::abort();
	}
	return 0;
}
