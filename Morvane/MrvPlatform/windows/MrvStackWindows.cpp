#include "MrvPlatform/MrvStack.h"

#include "MrvPlatform/windows/MrvWide.h"

namespace Mrv::Platform
{
StackBounds findStackBounds()
{
	// A stack is reserved in one piece and committed from its base downwards: the piece that a local variable lies in begins at the
	// limit, and the committed pages above the variable end at the base.
	MEMORY_BASIC_INFORMATION region{};
	if (::VirtualQuery(&region, &region, sizeof(region)) == 0)
	{
		return {};
	}
	return {
	    reinterpret_cast<std::uintptr_t>(region.AllocationBase), reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize};
}
}
