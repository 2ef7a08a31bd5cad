#include "MrvPlatform/MrvInterrupts.h"

#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"

#include <atomic>

namespace Mrv::Platform
{
namespace
{
constexpr int MAX_UNTAKEN = 2;

std::atomic<bool> sAreTaken{false};
std::atomic<int> sInterrupts{0};
static_assert(std::atomic<int>::is_always_lock_free, "the handler may not lock");
}

void setInterruptsAreTaken(bool areTaken) noexcept
{
	sInterrupts.store(0);
	sAreTaken.store(areTaken);
}

void noteInterrupt() noexcept
{
	sInterrupts.fetch_add(1);
}

bool takeInterrupt() noexcept
{
	return sInterrupts.load() != 0 && sInterrupts.exchange(0) != 0;
}

bool Detail::acceptInterrupt() noexcept
{
	if (!sAreTaken.load() || sInterrupts.load() >= MAX_UNTAKEN)
	{
		return false;
	}
	noteInterrupt();
	wake();
	return true;
}
}
