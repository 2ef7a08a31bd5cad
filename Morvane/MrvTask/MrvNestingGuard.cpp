#include "MrvTask/MrvNestingGuard.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvPlatform/MrvStack.h"

namespace Mrv
{
uint32_t NestingGuard::sUnits = 0;
uintptr_t NestingGuard::sStackLimit = 0;

void NestingGuard::report(const char *what)
{
	LOG_ERROR(std::string("nesting limit reached: ") + what);
}

void NestingGuard::watchThisThread() noexcept
{
	const uintptr_t limit = Platform::stackLimit();
	sStackLimit = limit == 0 ? 0 : limit + STACK_RESERVE;
}
}
