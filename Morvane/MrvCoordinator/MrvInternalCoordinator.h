#pragma once

#include "MrvCoordinator/MrvCoordinatorSettings.h"
#include "MrvObject/MrvObject.h"
#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvTask/MrvTask.h"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mrv
{
class IOStreamPrompted;
class OMScope;

// The coordinator of this process, a singleton: owner of the settings, the main task and the event loop. Its life:
//
//   not created --factory--> configured --init--> running --terminate--> terminating --idle--> ended --release--> not created
//
// The settings are static, since they exist before the object does. There is no way back from terminating but `release`.
class InternalCoordinator final : public Object, public IInternalCoordinator
{
public:
	static const std::string TYPENAME;
	static const std::string MAIN_NAME; // of the coordinator that others come to by themselves

	// --- Life

	// The singleton, made on first use; null from the beginning of a release until the next `init`.
	static std::shared_ptr<IObject> factory();
	static std::shared_ptr<InternalCoordinator> instance();
	static void deleter(InternalCoordinator *coordinator);
	static bool registerDeregisterClass(RegisterDeregister registerDeregister);
	static bool registerObjectClasses();
	static bool deregisterObjectClasses();

	// Starts: settings from the command line (argc 0 and null when embedded), the published process id, the main task, the start-up
	// script. False, after a log line, when that can't be: what was running under the name goes on untouched.
	static bool init(int argc, char **argv);
	// Ends everything at once and forgets it: tasks, scope, singleton, settings. `init` may follow.
	static void release();

	// Asks for an orderly end; false when it is not allowed to end itself (an embedded one).
	static bool terminate();
	static bool isTerminating();
	static bool isTerminatingAndIdle();
	// The name and kind can be given until `init` is half-way.
	static bool setName(const std::string &name);
	static bool setIsEmbedded(bool isEmbedded);
	static void setCanTerminate(bool canTerminate) { fCanTerminate = canTerminate; }
	static bool isEmbedded() { return fIsEmbedded; }
	// The coordinator is the one named MAIN_NAME. Known for good once `init` has passed half-way.
	static bool isMainCoordinator();

	// --- The event loop. A negative slice has no end; false when nested.

	static bool runEventLoop(int64_t timesliceMicroseconds);
	// Ended early by the call-back, which is asked before each pass.
	bool runEventLoop(int64_t timesliceMicroseconds, const std::function<bool()> &mustEnd);
	static bool runEventLoopUntilNoMoreSubTasks(int64_t timesliceMicroseconds);
	static uint64_t getEventLoopCycles() { return fEventLoopCycles; }

	bool isIdle() const;
	bool handleMessagingTimeslice();
	bool reportMessagingActivityInEventLoop();
	void timeslice_yielding(const std::shared_ptr<Task> &task, bool &success);
	const std::shared_ptr<Task> &getMainTask() const { return fMainTask; }

	// --- Settings

	static const CoordinatorSettings &getSettings() { return fSettings; }
	// For tests and hosts, before `init`.
	static CoordinatorSettings &changeSettings() { return fSettings; }
	static bool parseCommandLineArgs(int argc, char **argv);
	static bool processCmdLineArg(int switchChar, const std::vector<std::string> &switchArgs);
	// Whether a switch letter is followed by a value.
	static bool takesValue(char switchChar);
	static const std::vector<std::string> &getLaunchArgs() { return fLaunchArgs; }
	static void setLaunchArgs(std::vector<std::string> launchArgs) { fLaunchArgs = std::move(launchArgs); }
	static std::string getVersion();

	// --- Folders and the published process id

	// "<user data>/net.morvane/SessionData/", made on first use; empty when that fails.
	static const std::string &getSessionDataFolderPath();
	// The process id that is published under a coordinator's name, 0 if none is.
	static int64_t getPublishedProcessId(const std::string &coordinatorName);

	// --- Scripts

	// The root scope, made on first use; it holds the launch arguments as `arguments`.
	static std::shared_ptr<OMScope> getCoordinatorScope();
	static void setScopeFactory(std::function<std::shared_ptr<OMScope>()> scopeFactory) { fScopeFactory = std::move(scopeFactory); }
	// The stream of tasks that have none of their own, made for what reads: the prompt, standard input, or nothing at all.
	enum class InputKind : uint8_t
	{
		EMPTY,
		STANDARD_INPUT,
		CONSOLE,
	};
	static void setInputKind(InputKind kind);
	static std::shared_ptr<IOStreamPrompted> inputStreamFactory();

	// --- What the layers below ask
	int64_t getDefaultTimeoutMicroseconds() const override { return fSettings.defaultTimeoutMicroseconds; }
	int64_t getEventLoopSleepMicroseconds() const override { return fSettings.eventLoopSleepMicroseconds; }
	int64_t getInternalCoordinatorTimesliceMicroseconds() const override { return fSettings.internalCoordinatorTimesliceMicroseconds; }
	bool isTerminationRequested() const override { return fIsTerminating; }
	bool requestTermination() override { return terminate(); }
	std::shared_ptr<ITaskStream> makeInputStream() override;
	std::shared_ptr<IOMNode> makeBoolNode(bool value) override;

	const std::string &getTypeName() const override { return TYPENAME; }
	bool deregisterObject() override;

private:
	enum class MainState : uint8_t
	{
		UNKNOWN,
		MAIN,
		OTHER,
	};

	static IInternalCoordinator *provide();
	static void readConfigurationNode();
	static void applyLoggerSettings();
	static bool publishProcessId();
	static std::string getProcessIdFilePath(const std::string &coordinatorName);
	static bool runStartupScript();
	static void releaseInstance();
	bool destroySessionData();
	bool isStillPublished();
	static int64_t computeAdaptiveSleep(int64_t now);
	static void sleepAfterPass(int64_t end);

	static std::shared_ptr<InternalCoordinator> sInstance;
	static bool sIsClosing;
	static CoordinatorSettings fSettings;
	static std::vector<std::string> fLaunchArgs;
	static std::function<std::shared_ptr<OMScope>()> fScopeFactory;
	static std::shared_ptr<OMScope> fCoordinatorScope;
	static std::shared_ptr<IOStreamPrompted> fInputStream;
	static InputKind fInputKind;
	static bool fIsTerminating;
	static bool fCanTerminate;
	static bool fIsEmbedded;
	static bool fIsInited;
	static bool fIsInEventLoop;
	static std::string fSessionDataFolderPath;
	static uint64_t fEventLoopCycles;
	static uint64_t sCoordinatorCycles;
	static uint64_t sCoordinatorLoops;
	static bool sHasMessagingActivity;
	static uint64_t sLastActivityCycle;
	static bool sAreThresholdsStale;
	static int64_t sSleepThresholds[3];
	static MainState sIsMainCoordinator;

	std::shared_ptr<Task> fMainTask;
	int64_t fNextPublishedCheck = 0;
	bool fIsStillPublished = true;
};
}
