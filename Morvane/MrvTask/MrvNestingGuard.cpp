#include "MrvTask/MrvNestingGuard.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvStack.h"

namespace Mrv
{
uint32_t NestingGuard::sUnits = 0;
uintptr_t NestingGuard::sStackLimit = 0;
uintptr_t NestingGuard::sStackRange = 0;

void NestingGuard::report(const char *what)
{
	LOG_ERROR(std::string("nesting limit reached: ") + what);
}

bool NestingGuard::isStackExceeded() noexcept
{
	const Platform::StackBounds &bounds = Platform::stackBounds();
	const uintptr_t here = stackPointer();
	if (here - bounds.limit >= bounds.base - bounds.limit)
	{
		sStackRange = 0; // a stack that the system doesn't know: the units alone count, and we ask again next time
		return false;
	}
	sStackLimit = bounds.limit + STACK_RESERVE;
	sStackRange = bounds.base > sStackLimit ? bounds.base - sStackLimit : 0;
	return here - sStackLimit >= sStackRange;
}

bool NestingGuard::mayReenter(uintptr_t bytes) noexcept
{
	const Platform::StackBounds &bounds = Platform::stackBounds();
	const uintptr_t here = stackPointer();
	const bool isKnown = here - bounds.limit < bounds.base - bounds.limit;
	return !isKnown || here - bounds.limit > bytes + STACK_RESERVE / 2;
}
}
