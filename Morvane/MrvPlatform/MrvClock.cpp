#include "MrvPlatform/MrvClock.h"

namespace Mrv::Platform
{
namespace
{
ClockSource sClockSource = nullptr;
}

std::int64_t steadyNanoseconds()
{
	return sClockSource ? sClockSource() : systemSteadyNanoseconds();
}

void setClockSource(ClockSource source)
{
	sClockSource = source;
}
}
