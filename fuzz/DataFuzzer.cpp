// Serialized data objects, messages among them. What can be read must be written in a form that reads back equal and stays the same.
#include "FuzzEnvironment.h"
#include "MrvData/MrvData_abstract.h"
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
	const auto object = Mrv::Data_abstract::deserializeFromStr(std::string(input.rest()));
	if (!object)
	{
		return 0;
	}
	static_cast<void>(object->toString());
	const std::string written = Mrv::Data_abstract::serializeToStr(object);
	const auto again = Mrv::Data_abstract::deserializeFromStr(written);
	if (!again || Mrv::Data_abstract::serializeToStr(again) != written)
	{
		std::abort();
	}
	return 0;
}
