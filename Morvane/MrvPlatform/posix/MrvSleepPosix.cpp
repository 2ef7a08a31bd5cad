// The sleep is one `ppoll` over an event descriptor, which `wake` writes to, and the registered descriptors.
#include "MrvPlatform/MrvLasting.h"
#include "MrvPlatform/MrvSleepSources.h"

#include <atomic>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace Mrv::Platform
{
namespace
{
int makeWakeDescriptor();

// Made before `main`, so that a signal handler never has to make it; closed when the module goes, which a host's libraries do many times
// in one process. -1 when the system has no descriptor left: a signal then still interrupts the wait.
std::atomic<int> sWakeDescriptor{makeWakeDescriptor()};
std::atomic<bool> sWakePending{false};

int makeWakeDescriptor()
{
	callAtUnload([](void *) { ::close(sWakeDescriptor.exchange(-1)); }, nullptr);
	return ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

void consumeWake()
{
	sWakePending.store(false);
	std::uint64_t count = 0;
	if (const int descriptor = sWakeDescriptor.load(); descriptor >= 0 && ::read(descriptor, &count, sizeof(count)) < 0)
	{
		// Nothing was there; that is the usual case.
	}
}
}

void wake() noexcept
{
	const int savedErrno = errno;
	sWakePending.store(true);
	const std::uint64_t one = 1;
	if (const int descriptor = sWakeDescriptor.load(); descriptor >= 0 && ::write(descriptor, &one, sizeof(one)) < 0)
	{
		// The counter is full, so a wake is pending anyway.
	}
	errno = savedErrno;
}

bool Detail::waitNanoseconds(std::int64_t nanoseconds)
{
	static std::vector<pollfd> sPolled;
	sPolled.clear();
	sPolled.push_back({sWakeDescriptor, POLLIN, 0});
	for (const WakeSource &source : wakeSources())
	{
		if (source.kind == WakeKind::HANDLE)
		{
			sPolled.push_back({static_cast<int>(source.handle), static_cast<short>(source.on == WakeOn::WRITABLE ? POLLOUT : POLLIN), 0});
		}
	}
	if (sWakePending.load())
	{
		consumeWake();
		return true;
	}
	const timespec timeout{static_cast<time_t>(nanoseconds / 1'000'000'000), static_cast<long>(nanoseconds % 1'000'000'000)};
	const int ready = ::ppoll(sPolled.data(), static_cast<nfds_t>(sPolled.size()), &timeout, nullptr);
	if (ready == 0)
	{
		return false;
	}
	consumeWake();
	// A descriptor that its owner closed without taking it back would end every sleep to come.
	for (const pollfd &polled : sPolled)
	{
		if (polled.revents & POLLNVAL)
		{
			std::erase_if(wakeSources(),
			    [&polled](const WakeSource &source) { return source.kind == WakeKind::HANDLE && source.handle == polled.fd; });
		}
	}
	return true;
}
}
