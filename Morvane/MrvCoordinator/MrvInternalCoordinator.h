#pragma once

#include "MrvAddress/MrvIRoutingCoordinator.h"
#include "MrvCoordinator/MrvConfigurationStack.h"
#include "MrvCoordinator/MrvCoordinatorSettings.h"
#include "MrvCoordinator/MrvISiblingDirectory.h"
#include "MrvCoordinator/MrvPendingTasks.h"
#include "MrvCoordinator/MrvRoutingTable.h"
#include "MrvEvent/MrvEventListener.h"
#include "MrvParser/Builtin/MrvIRemoteScripts.h"
#include "MrvService/MrvIMessagingCoordinator.h"
#include "MrvService/MrvService_abstract.h"
#include "MrvTask/MrvIInternalCoordinator.h"
#include "MrvTask/MrvTask.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Mrv
{
class HostNames;
class IAddress;
class IMessage;
class IOStreamPrompted;
struct ConfigurationKey;
class OMScope;

// The coordinator of this process, a singleton: owner of the settings, the main task and the event loop, root of the tree of services, and
// router of all messages. Its life:
//
//   not created --factory--> configured --init--> running --terminate--> terminating --idle--> ended --release--> not created
//
// The settings are static, since they exist before the object does. There is no way back from terminating but `release`.
class InternalCoordinator final : public Service_abstract,
                                  public IInternalCoordinator,
                                  public IRoutingCoordinator,
                                  public IMessagingCoordinator,
                                  public IRemoteScripts,
                                  public EventListener
{
public:
	static const std::string TYPENAME;
	static const std::string MAIN_NAME;    // of the coordinator that others come to by themselves
	static const std::string GATEWAY_NAME; // of the one that passes messages on to other machines
	// The environment variable that tells a new process who has launched it: its standard error is seen by nobody.
	static const std::string LAUNCHED_VARIABLE;

	// --- Life

	// The singleton, made on first use with the services that every coordinator has; null from the beginning of a release until the next
	// `init`.
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
	// The end was asked for so long ago that nothing more is waited for.
	static bool isEndOverdue();
	// Something that was sent hasn't left the process yet.
	bool hasMessagesToSend() const;
	// The name and kind can be given until `init` is half-way.
	static bool setName(const std::string &name);
	static bool setIsEmbedded(bool isEmbedded);
	static void setCanTerminate(bool canTerminate) { fCanTerminate = canTerminate; }
	static bool isEmbedded() { return fIsEmbedded; }
	// The coordinator is the one named MAIN_NAME. Known for good once `init` has passed half-way.
	static bool isMainCoordinator();

	// --- The event loop. A negative slice has no end; false when nested.

	static bool runEventLoop(int64_t timesliceMicroseconds);
	// Ended early by the call-back, which is asked before each pass, but not while the services' turn is unfinished.
	bool runEventLoop(int64_t timesliceMicroseconds, const std::function<bool()> &mustEnd);
	static bool runEventLoopUntilNoMoreSubTasks(int64_t timesliceMicroseconds);
	static uint64_t getEventLoopCycles() { return fEventLoopCycles; }

	// No message waits or is being relayed, and the tree is idle.
	bool isIdle() const override;
	// Sends and receives what can be without waiting, and relays what has come.
	bool handleMessagingTimeslice();
	// Keeps the input pipe open and takes the messages that have come by it. False, with a log line and the wish to end, when the pipe
	// can't be opened.
	bool monitorNamedPipe();
	// Whether it could not be opened when that was tried last.
	bool isPipeRefused() const { return fIsPipeFailureLogged; }
	// Closes the input pipe and removes its proxy file, unless that is another process's.
	bool destroyNamedPipe();
	bool reportMessagingActivityInEventLoop() override;
	void timeslice_yielding(const std::shared_ptr<Task> &task, bool &success) override;
	const std::shared_ptr<Task> &getMainTask() const { return fMainTask; }

	// --- Messages

	bool queueMessage(const std::shared_ptr<const IObject> &messageObj) override;
	// Relays what was queued before. False when one of the messages could not be relayed; the others were all the same.
	bool processMessageQueues();
	// Delivers a message to a service of this process, hands it to another coordinator or to the gateway, and fires "messageRelayed", or
	// "messageNotRelayed" where nobody knows the coordinator, or it takes no more. True also when it was dropped knowingly: there is no
	// such target.
	bool relayMessage(const std::shared_ptr<const IObject> &messageObj) { return relayMessage(messageObj, MessageOrigin::OWN); }
	// Fires "messageNotRelayed". A request of this process has failed then; one that came from elsewhere is answered with the reason.
	bool reportNotRelayed(const std::shared_ptr<IMessage> &message);
	// A serialized message came from another coordinator on this machine; its sender is learnt, and it is queued. False, with a log line
	// and nothing done, for what is no message or can't be answered, and for one's own.
	bool receiveMessageStr(const std::string &str);
	// The same from another machine, which is called so. What it calls this one is local from now on, unless that is a name of its own or
	// of a third one.
	bool receiveGatewayMessageStr(const std::string &senderHostName, const std::string &str);
	// What is addressed to the coordinator itself: "terminate", "stdOut", "stdErr"; the rest is accepted and ignored.
	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override;

	// Takes a serialized message for the host of that name. Who sets it takes over all traffic to other machines.
	using GatewaySendMethod = std::function<void(const std::string &hostName, const std::string &serializedMessage)>;
	void setGatewaySendMethod(GatewaySendMethod gatewaySend) { fGatewaySend = std::move(gatewaySend); }
	// Who finds other coordinators on this machine; null: there are none.
	void setSiblingDirectory(std::shared_ptr<ISiblingDirectory> siblings) { fSiblings = std::move(siblings); }
	// The service that a message to the coordinator itself goes to, as "name" or "name/index"; empty: the coordinator. The setting
	// `defaultEngine`.
	static void setDefaultIndexPath(const std::string &indexPath) { fSettings.defaultEngine = indexPath; }

	// --- Remote scripts and data requests. What ends in `_yielding` is the work of the task that it is given, of the class of its name: it
	// sends the request and waits for the answer. `success`: whether there is one.

	void runRemoteScript_yielding(const std::shared_ptr<Task> &task, bool &success);
	void sendDataToRemote_yielding(const std::shared_ptr<Task> &task, bool &success);
	// Events of its own: what answers a task is given to it, and one whose request could not be relayed is told.
	bool handleEvent(const std::string &eventHandlerName, const std::shared_ptr<IObject> &eventObj) override;
	// The answers, "evalResult" and "dataReply". One that nobody waits for is passed over. False, with a log line, for one that can't be
	// used; who waits for it is told, unless it comes from another session.
	bool handleEventScriptResults(const std::shared_ptr<IMessage> &message);
	bool handleEventDataResults(const std::shared_ptr<IMessage> &message);
	// A task that has ended is no longer waited for.
	void removePendingTask(const RemoteRequestTask &task) { fPendingTasks.remove(task); }
	std::size_t getPendingTaskCount() const { return fPendingTasks.size(); }
	bool deregisterPendingTasks();

	Target findTarget(const std::string &text) override;
	std::shared_ptr<Task> makeRemoteScriptTask(
	    const Target &target, OpCode opCode, const std::string &script, const Options &options) override;
	std::shared_ptr<Task> makeSendDataTask(
	    const Target &target, const std::string &callBackID, const Value &data, const Options &options) override;
	bool setDataRequestCallBack(const std::shared_ptr<OMScope> &scope, const std::string &callBackID, const Value &function) override;
	bool removeDataRequestCallBack(const std::string &callBackID) override;
	// Whether there is any; then the process has work.
	static bool hasDataRequestCallBack();
	std::shared_ptr<Task> handleDataRequest(const std::shared_ptr<const IObject> &senderAddressObj, const std::string &callBackID,
	    const Value &data, const RemoteExchange &exchange) override;

	// --- What is known of others. GUIDs aren't owned and may be null where nothing is known.

	// Learns from the sender of a message where the GUIDs in it are to be found. False, with a log line, when that can't be.
	bool registerSenderAddressObj(const std::shared_ptr<const IObject> &senderAddressObj);
	std::shared_ptr<const IObject> getAddressFromGUID(GUIDClass *guid);
	// By the names of host and coordinator, the latter in full or short. An empty host is this one.
	GUIDClass *getSenderGUID(const std::string &hostName, const std::string &coordinatorName);
	GUIDClass *getUpstreamCoordinatorGUID(const std::string &hostName, const std::string &coordinatorName) override;
	static const std::string &getCoordinatorName() { return fSettings.coordinatorName; }
	const std::string &getCoordinatorName(GUIDClass *upstreamCoordinatorGUID) override;
	const std::string &getHostName(GUIDClass *upstreamCoordinatorGUID) override;
	bool isValidUpstreamCoordinatorGUID(GUIDClass *upstreamCoordinatorGUID) override;
	const std::string &getOwnCoordinatorName() const override { return fSettings.coordinatorName; }
	bool isOwnCoordinatorName(const std::string &coordinatorName) const override;
	GUIDClass *getOwnGUID() override { return createGUID(); }
	std::shared_ptr<const IObject> resolveAddress(const std::shared_ptr<const IObject> &addressObj) override;
	std::shared_ptr<IService> getRootService() override;

	// Two names of one host. Local are "localhost", "127.0.0.1", "::1" and what was registered as one of these.
	static bool registerHostName(const std::string &hostName, const std::string &ipAddress);
	static bool registerLocalHostName(const std::string &hostName);
	static const std::string &getHostAddress(const std::string &hostName);
	bool isLocalHost(const std::string &hostName) const override;

	// --- Settings

	static const CoordinatorSettings &getSettings() { return fSettings; }
	// For tests and hosts, before `init`. What is set here is the default for what the files don't say.
	static CoordinatorSettings &changeSettings() { return fSettings; }
	// The first step of `init`: settings from the environment, the configuration files and the command line, each over those before it.
	static bool configure(int argc, char **argv);
	static bool parseCommandLineArgs(int argc, char **argv);
	static bool processCmdLineArg(int switchChar, const std::vector<std::string> &switchArgs);
	// Whether a switch letter is followed by a value.
	static bool takesValue(char switchChar);
	static const std::vector<std::string> &getLaunchArgs() { return fLaunchArgs; }
	static void setLaunchArgs(std::vector<std::string> launchArgs) { fLaunchArgs = std::move(launchArgs); }
	static std::string getVersion();

	// --- Configuration files

	// "<system configuration>config.ini", which may be missing.
	static const std::string &getConfigFilePath() { return fConfigFilePath; }
	static const ConfigurationStack &getConfigStack() { return fConfigStack; }
	static bool processConfigStack();
	// What the files say for this coordinator, or the default; the second form also for what is no number.
	static std::string getConfigValue(const std::string &key, const std::string &section, const std::string &defaultValue);
	static int64_t getConfigValue(const std::string &key, const std::string &section, int64_t defaultValue);
	// The URL that a text stands for by the section [urlMap], or the text itself.
	static std::string mapURL(const std::string &text);
	// Host names and what they stand for, by the section [hosts].
	static const ConfigurationStack::Map &getHostMap() { return fHostMap; }
	// Coordinators by their full names and the command lines that start them, by the section [coordinatorMap].
	static const ConfigurationStack::Map &getCoordinatorMap() { return fCoordinatorMap; }
	// All settings as the text of a configuration file, with where each comes from: "FILE:LINE", "default", "command line" or "program".
	static std::string describeConfiguration();

	// --- Folders and the published process id

	// Folders below "<user data>/net.morvane/", made on first use; empty when that fails. The first one is "SysConfig" with the
	// configuration node's suffix: the nodes of a machine have files of their own, and share the other two.
	static const std::string &getSysConfigFolderPath();
	static const std::string &getPipeFolderPath();
	static const std::string &getSessionDataFolderPath();
	// The process id that is published under a coordinator's name, 0 if none is.
	static int64_t getPublishedProcessId(const std::string &coordinatorName);

	// --- Scripts

	// The scope that clients elsewhere work on, the outermost one; made on first use.
	static std::shared_ptr<OMScope> getDefaultScope();
	// The scope of this process's own scripts: the default scope itself, unless a factory makes another of it. Made on first use; it holds
	// the launch arguments as `arguments` and the function `fileSystem`.
	static std::shared_ptr<OMScope> getCoordinatorScope();
	using ScopeFactory = std::function<std::shared_ptr<OMScope>(const std::shared_ptr<OMScope> &defaultScope)>;
	static void setScopeFactory(ScopeFactory scopeFactory) { fScopeFactory = std::move(scopeFactory); }
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
	std::shared_ptr<IOMNode> buildSysInfo() override;

	const std::string &getTypeName() const override { return TYPENAME; }
	const std::string &getName() const override { return fSettings.coordinatorName; }
	bool deregisterObject() override;

protected:
	bool isCoordinator() const override { return true; }

private:
	// Where a message in the queue comes from.
	enum class MessageOrigin : uint8_t
	{
		OWN,
		PIPE, // another coordinator on this machine
		GATEWAY,
	};
	struct QueuedMessage
	{
		std::shared_ptr<const IObject> messageObj;
		MessageOrigin origin;
	};
	enum class MainState : uint8_t
	{
		UNKNOWN,
		MAIN,
		OTHER,
	};

	static void createServices();
	static void setProviders();
	static void setPipeCoordinator(bool isSet);
	static void giveNameIfUnnamed();
	static void applyMessagingSettings();
	static void forgetMessaging();
	static HostNames &hostNames();
	std::string toFullName(const std::string &coordinatorName) const;
	std::string getDestinationName(const IAddress &resolvedAddress) const;
	bool queueMessage(const std::shared_ptr<const IObject> &messageObj, MessageOrigin origin);
	bool relayMessage(const std::shared_ptr<const IObject> &messageObj, MessageOrigin origin);
	bool relayToSibling(const std::shared_ptr<IMessage> &message, std::string coordinatorName, MessageOrigin origin);
	bool deliver(const std::shared_ptr<IMessage> &message, const std::shared_ptr<const IObject> &resolvedReceiverAddress);
	bool fireMessageEvent(const std::string &eventName, const std::shared_ptr<IObject> &messageObj);
	std::shared_ptr<const IObject> withTravellingSender(const std::shared_ptr<IMessage> &message);
	std::shared_ptr<const IObject> walkIndexPath(std::vector<std::string> indexVector);
	void registerReceiverHost(const std::string &receiverHostName, const std::string &senderHostName);
	std::string getNameToRegister(GUIDClass *upstreamGUID, const std::string &hostKey, const std::string &coordinatorName);
	void listenToAnswers();
	void forgetCoordinator(GUIDClass *upstreamGUID);
	void releaseServiceScopes();
	void request_yielding(const std::shared_ptr<RemoteRequestTask> &task, bool &success);
	bool sendRequest(const std::shared_ptr<RemoteRequestTask> &task);
	bool handleNotRelayed(const std::shared_ptr<IMessage> &message);
	static IInternalCoordinator *provide();
	static void readConfigurationNode();
	// A letter and its values, in the order in which they were given; a repeated one stands where it came last.
	using Switches = std::vector<std::pair<char, std::vector<std::string>>>;
	static Switches collectSwitches(int argc, char **argv);
	static bool takeNames(const Switches &switches);
	static void normaliseNames();
	static void loadConfigFiles(const Switches &switches);
	static void readKey(const ConfigurationKey &key);
	static std::string describeMap(const std::string &section, const ConfigurationStack::Map &map);
	static void applyLoggerSettings();
	static void applyParserSettings();
	static void forgetConfiguration();
	static int64_t timePointAfter(int64_t now, int64_t microseconds);
	bool publishProcessId();
	bool writePublication();
	bool isNameTaken() const;
	// A coordinator without a name of its own can be seen by others as soon as it has sent something.
	bool ensurePublished();
	std::string getInputPipePath() const;
	bool takeMessageFromPipe(bool &isComplete);
	static void limitLaunchLog();
	static bool runStartupScript();
	static void releaseInstance();
	bool destroySessionData();
	bool isStillPublished();
	static int64_t computeAdaptiveSleep(int64_t now);
	// What a sleep becomes that would last beyond the end of the slice: as long as the overrun, or the time that is left.
	enum class SleepNearEnd : uint8_t
	{
		OVERRUN,
		CUT,
	};
	static void sleepAfterPass(int64_t end, SleepNearEnd sleepNearEnd);

	static std::shared_ptr<InternalCoordinator> sInstance;
	static bool sIsClosing;
	static CoordinatorSettings fSettings;
	static std::vector<std::string> fLaunchArgs;
	static ScopeFactory fScopeFactory;
	static std::shared_ptr<OMScope> fDefaultScope;
	static std::shared_ptr<OMScope> fCoordinatorScope;
	static std::shared_ptr<IOStreamPrompted> fInputStream;
	static InputKind fInputKind;
	static bool fIsTerminating;
	static int64_t fEndOverdueTime;
	static std::string fLaunchLogPath; // empty: there is none
	static bool fCanTerminate;
	static bool fIsEmbedded;
	static bool fIsNameGiven; // by the program or the command line: files don't change it
	static bool fIsInited;
	static bool fIsInEventLoop;
	static ConfigurationStack fConfigStack;
	static std::string fConfigFilePath;
	static ConfigurationStack::Map fURLMap;
	static ConfigurationStack::Map fCoordinatorMap;
	static ConfigurationStack::Map fHostMap;
	// Where a setting comes from; a key that isn't here has its default.
	static std::map<std::string_view, std::string> fSettingSources;
	static std::string fSysConfigFolderPath;
	static std::string fPipeFolderPath;
	static std::string fSessionDataFolderPath;
	static int32_t fIsProcessingMessageQueue;
	static uint64_t fEventLoopCycles;
	static uint64_t sCoordinatorCycles;
	static uint64_t sCoordinatorLoops;
	static bool sHasMessagingActivity;
	static uint64_t sLastActivityCycle;
	static bool sAreThresholdsStale;
	static int64_t sSleepThresholds[3];
	static MainState sIsMainCoordinator;

	std::shared_ptr<Task> fMainTask;
	bool fIsInServiceTimeslice = false;
	std::vector<QueuedMessage> fMessageQueue;
	RoutingTable fRoutingTable;
	PendingTasks fPendingTasks;
	GatewaySendMethod fGatewaySend;
	std::shared_ptr<ISiblingDirectory> fSiblings;
	int fNamedPipeHandle = 0; // 0: closed
	bool fHasInputNamedPipe = false;
	bool fIsPipeFailureLogged = false;
	int64_t fNextPipeLook = 0;
	std::string fReadBuffer; // of a message that hasn't come in whole
	int64_t fNextPublishedCheck = 0;
	bool fIsStillPublished = true;
};
}
