#pragma once

#include "MrvCoordinator/MrvISiblingDirectory.h"
#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvService/MrvService_abstract.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mrv
{
class IMessage;
enum class OpCode : std::uint32_t;

enum class SiblingState : std::uint8_t
{
	IDLE = 0,     // no evidence either way; nothing to send
	SENDING = 1,  // the front message was handed to the pipe, which may not have finished it
	LAUNCHED = 2, // a process was started, its pipe isn't there yet
	RUNNING = 3,  // its pipe exists and its process lives
	INACTIVE = 4, // given up: what is to be sent is dropped until the pipe reappears
};

// Another coordinator on this machine, as this one sees it: a service below the coordinator, with the messages that go there, the state of
// the connection, and the decision to start its process when it is missing.
//
//   IDLE --alive--> RUNNING --written--> SENDING --finished--> IDLE
//   IDLE --launched--> LAUNCHED --alive--> RUNNING             LAUNCHED --too many launches--> INACTIVE --alive--> RUNNING
//
// It holds no process: that the other one lives is told by its proxy file and its pid file, so that two which never met find each other.
// Files and processes are looked at from time to time only. A failure to reach it is logged and not told to the sender.
class SiblingCoordinator final : public Service_abstract, public ISibling
{
public:
	static const std::string TYPENAME;
	static const std::string SERVICE_NAME;

	// The sibling of that name, made and attached to the coordinator, which must be the parent, when there is none. Empty, with a log line,
	// for another parent.
	static std::shared_ptr<IObject> factoryFromParentName(std::shared_ptr<IObject> parentObj, const std::string &name);
	static void deleter(SiblingCoordinator *sibling);
	static bool registerDeregisterClass(RegisterDeregister registerDeregister);

	// The one of that name; null when there is none.
	static std::shared_ptr<SiblingCoordinator> find(const std::string &name);
	// Those that live, in no particular order.
	static std::vector<std::shared_ptr<SiblingCoordinator>> all();
	// Forgets the entries of those that have gone.
	static void forgetExpired();
	// Whether this is the own name, or its process is known to live, or its files say so.
	static bool isRunning(const std::string &name);

	// Every change of state passes here: it is logged at trace level and shown to the observer, if there is one. For tests.
	using TransitionObserver = void (*)(const SiblingCoordinator &sibling, SiblingState from, SiblingState to);
	static void setTransitionObserver(TransitionObserver observer);
	static const char *getStateName(SiblingState state);

	const std::string &getCoordinatorName() const { return fCoordinatorName; }
	SiblingState getState() const { return fSiblingState; }
	const std::string &getNamedPipePath() const { return fNamedPipePath; }
	std::size_t getQueueSize() const { return fQueue.size(); }

	// A launch happened and its process hasn't published itself yet.
	bool isLaunching() const { return fIsLaunched && fProcessId == 0; }
	// Its process lives, by what was seen last.
	bool isRunning();
	// Starts the process unless it is there or on its way. Only the main coordinator starts others; any one starts the main one. False,
	// with a log line, when it can't be started; true also when that is left to the main coordinator.
	bool launchIfNotRunning();
	// The command line that starts it, from the configuration; the main coordinator has one without that. Empty: there is none.
	std::vector<std::string> getLaunchArgs() const;
	// Where a launched process without a log file of its own writes errors and warnings; empty for what is no name.
	static std::string getLaunchLogPath(const std::string &coordinatorName);

	// Sends a ping, or the wish that it ends.
	bool ping();
	bool terminate();
	// Queues a message. False, with a log line, when too much waits already; it is lost then. One that is lost later, since the other one
	// can't be reached, makes the coordinator fire "messageNotRelayed", like one that never had a way.
	bool relayOutgoingMessage(const std::shared_ptr<const IObject> &messageObj) override;
	// Checks that a message that came from there is for this coordinator.
	static bool relayIncomingMessage(const std::shared_ptr<const IObject> &messageObj);

	bool deleteNamedPipe() const;
	// Nothing waits for it, nothing tells that it exists, and no configuration names it.
	bool isForgettable() const;
	// This process can't end as long as that is so: see ISiblingDirectory.
	bool isHoldingResponses() const;

	bool isIdle() const override;
	void timeslice_yielding(const std::shared_ptr<Task> &task, bool &success) override;
	bool deregisterObject() override;

	const std::string &getTypeName() const override { return TYPENAME; }
	const std::string &getName() const override { return SERVICE_NAME; }

private:
	using Table = std::unordered_map<std::string, std::weak_ptr<SiblingCoordinator>>;
	struct QueuedMessage
	{
		std::shared_ptr<IMessage> message;
		std::size_t bytes;
	};

	explicit SiblingCoordinator(const std::string &name);
	static Table &table();

	void switchToState(SiblingState state);
	// One pass of the machine. Whether it sent something or changed the state.
	bool runPass();
	bool passWhileTerminating();
	bool passInactive();
	bool passSending();
	bool passRunning();
	bool passIdleOrLaunched();
	bool launchTimedOut();
	bool isComingUp();
	bool launch();
	bool giveUp(const std::string &reason);
	bool writeFailed();
	bool sendFront();
	void closeIdleHandle();
	void closeHandle();
	void popFront();
	// Lost, and whoever waits for an answer learns it.
	void loseFront();
	void loseQueue();
	void clearQueue();
	void resetNamedPipeTimeout();
	void look();
	std::int64_t getLookInterval() const;
	bool queueOpCode(const std::string &indices, OpCode opCode);

	static TransitionObserver sTransitionObserver;

	const std::string fCoordinatorName;
	const std::string fNamedPipePath;
	const PublishedProcess fPublished;
	SiblingState fSiblingState = SiblingState::IDLE;

	std::deque<QueuedMessage> fQueue; // the front is in progress
	std::size_t fQueueBytes = 0;
	bool fIsQueueFullLogged = false;
	int fSendRetries = 0; // failed openings and writes for the front message
	int fHandle = 0;      // of the pipe that leads there; 0: closed
	std::int64_t fNextOpenTime = 0;
	std::uint64_t fLossCount = 0;
	std::int64_t fIdleSince = 0; // when the handle was last used; 0 while it is used

	// What was seen last.
	bool fIsAlive = false;
	bool fHasPipe = false;
	std::uint32_t fProcessId = 0; // 0: unknown
	std::int64_t fLastLook = 0;
	bool fMustLook = true; // now, whatever the interval: for the first time, or something failed

	bool fIsLaunched = false;
	int fLaunchRetries = 0; // launches since it was RUNNING
	std::uint32_t fLaunchedProcessId = 0;
	std::int64_t fWaitStart = 0;        // of the launch, or of the wait for a pipe that a living process doesn't serve
	std::int64_t fNamedPipeTimeout = 0; // when a launch counts as failed

	bool fIsEndNoted = false;         // this process is ending
	std::size_t fQueuedBeforeEnd = 0; // messages that still go out then
	bool fIsHoldingLogged = false;
};
}
