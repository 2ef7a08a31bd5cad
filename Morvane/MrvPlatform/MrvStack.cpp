#include "MrvPlatform/MrvStack.h"

namespace Mrv::Platform::Detail
{
constinit thread_local StackBounds tStackBounds{};

std::uintptr_t stackBytesLeftAfresh(std::uintptr_t here)
{
	tStackBounds = findStackBounds();
	return here > tStackBounds.limit && here < tStackBounds.base ? here - tStackBounds.limit : 0;
}
}
