#pragma once

#include <cstdint>
#include <memory>

namespace Mrv
{
class IOMNode;
class ITaskStream;

// What the layers below the coordinator ask of it. The coordinator implements it and is the current one while it exists;
// without one, everything that waits should end.
class IInternalCoordinator
{
public:
	virtual ~IInternalCoordinator() = default;

	// The coordinator in charge; null before it is made, while it is released and after that. May make it on first use.
	static IInternalCoordinator *current();
	// Says how `current` finds the coordinator. A null function means that there is none.
	static void setProvider(IInternalCoordinator *(*provider)());

	// True when there is no coordinator, or when it has been asked to end.
	static bool isTerminatingNow();

	// Microseconds; a negative default time-out means none.
	virtual int64_t getDefaultTimeoutMicroseconds() const = 0;
	virtual int64_t getEventLoopSleepMicroseconds() const = 0;
	virtual int64_t getInternalCoordinatorTimesliceMicroseconds() const = 0;

	virtual bool isTerminationRequested() const = 0;
	// Asks for an orderly end; false when the coordinator may not end itself.
	virtual bool requestTermination() = 0;

	// The prompted stream of a task that has no other: the process's input and output as the settings say.
	virtual std::shared_ptr<ITaskStream> makeInputStream() = 0;
	// A Bool node, the result of a task that has no value of its own.
	virtual std::shared_ptr<IOMNode> makeBoolNode(bool value) = 0;
	// A new Map of settings, folders and facts: what scripts get from `sysInfo`. Null when it can't be made.
	virtual std::shared_ptr<IOMNode> buildSysInfo() = 0;
};
}
