#pragma once

#include "MrvCoordinator/MrvInternalCoordinator.h"

#include <deque>
#include <memory>
#include <string>
#include <utility>

namespace Mrv
{
class ESDLLServiceOM;

// What the exported functions keep between two calls of the host. One thread.
class MorvaneData
{
public:
	// One object, made when the library is loaded and destroyed when it is unloaded, where it ends a coordinator that was left running and
	// takes the registries away.
	static MorvaneData &get();

	MorvaneData(const MorvaneData &) = delete;
	MorvaneData &operator=(const MorvaneData &) = delete;

	// Starts a coordinator under a name. It exists afterwards even when it could not start; then a line at error level says why. After an
	// exception it doesn't.
	void start(const std::string &name);
	// Ends it without ceremony, as when the process ends. The queues stay; what leads into them gives nothing.
	void stop();
	// One slice of the event loop, of the length that the settings say, shorter when there is something new for the host.
	void runSlice();
	bool isStarted() const { return fInternalCoordinator != nullptr; }

	std::shared_ptr<InternalCoordinator> fInternalCoordinator;
	// Stays until the next start.
	std::shared_ptr<ESDLLServiceOM> fService;
	std::deque<std::string> fLogMessageQueue;
	std::deque<std::pair<std::string, std::string>> fHostMessageQueue; // host and text
	// Stays set after an exception in a slice: the coordinator is dead then.
	bool fIsInTimeslice = false;

	bool fIsClientInited = false;
	void *fServerHandle = nullptr;
	void *fServerInterface = nullptr;

private:
	MorvaneData() = default;
	~MorvaneData() = default;

	void startCoordinator(const std::string &name);
	void end();
	static void endBeforeStatics(bool isInited);
	static void takeLogLine(const std::string &line);
	void takeHostMessage(const std::string &hostName, const std::string &text);

	std::string fLastLineOfStart;
	bool fIsQueueingLog = false;
	bool fIsHostQueueFull = false;
};
}
