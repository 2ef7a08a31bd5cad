#include "MrvPipes/MrvPipe.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvPipes/MrvIPipeCoordinator.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"

#include <array>
#include <cstdio>
#include <limits>

namespace Mrv
{
namespace
{
Pipe::TransitionObserver sObserver = nullptr;

int nextExternalHandle()
{
	static int sLast = 0;
	do
	{
		sLast = sLast == std::numeric_limits<int>::max() ? 1 : sLast + 1;
	} while (ReadPipe::hasPipe(sLast) || WritePipe::getPipe(sLast));
	return sLast;
}
}

int Pipe::getPipeExternalHandle()
{
	if (fPipeExternalHandle == 0)
	{
		fPipeExternalHandle = nextExternalHandle();
	}
	return fPipeExternalHandle;
}

void Pipe::openCountIncrement()
{
	if (++fOpenCount > 1)
	{
		LOG_WARNING("pipe opened more than once");
	}
}

void Pipe::setTransitionObserver(TransitionObserver observer)
{
	sObserver = observer;
}

void Pipe::noteTransition(const PipeTransition &transition)
{
	if (isLogged(LogLevel::TRACE))
	{
		std::array<char, 64> handles{};
		std::snprintf(handles.data(), handles.size(), " (%d - 0x%.16llX): switch from ", transition.pipeExternalHandle,
		    static_cast<unsigned long long>(transition.rawHandle));
		const std::string machine = transition.machine;
		LOG_TRACE(IPipeCoordinator::current().getCoordinatorName() + handles.data() + machine + "::" + transition.fromName + " to " +
		          machine + "::" + transition.toName);
	}
	if (sObserver)
	{
		sObserver(transition);
	}
}

std::string Pipe::logPrefix()
{
	return IPipeCoordinator::current().getCoordinatorName() + " (" + std::to_string(getPipeExternalHandle()) + "): ";
}

std::int64_t Pipe::timeAfter(std::int64_t microseconds)
{
	constexpr std::int64_t NANOSECONDS_PER_MICROSECOND = 1000;
	std::int64_t nanoseconds = 0;
	std::int64_t time = 0;
	if (__builtin_mul_overflow(microseconds, NANOSECONDS_PER_MICROSECOND, &nanoseconds) ||
	    __builtin_add_overflow(Platform::steadyNanoseconds(), nanoseconds, &time))
	{
		return std::numeric_limits<std::int64_t>::max();
	}
	return time;
}
}
