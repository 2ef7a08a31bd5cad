#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// What the pipes ask of the coordinator above them. Without one the defaults here hold.
class IPipeCoordinator
{
public:
	IPipeCoordinator() = default;
	IPipeCoordinator(const IPipeCoordinator &) = delete;
	IPipeCoordinator &operator=(const IPipeCoordinator &) = delete;
	virtual ~IPipeCoordinator() = default;

	static IPipeCoordinator &current();
	// The caller keeps owning it; null takes it away.
	static void setCurrent(IPipeCoordinator *coordinator);

	// For log lines.
	virtual std::string getCoordinatorName() const { return {}; }
	// Between two attempts to open a pipe, and to write what didn't fit.
	virtual int64_t getSleepWaitForPipeMicroseconds() const { return 10'000; }
	// Between two looks at whether a peer lives.
	virtual int64_t getScanActiveSiblingsIntervalMicroseconds() const { return 100'000; }
	// There was traffic: the event loop is not to fall asleep.
	virtual bool reportMessagingActivityInEventLoop() { return true; }
};
}
