// The life of the coordinator: coming into being, start, orderly end, release.
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvCoordinator/MrvMainTaskTimesliceTask.h"
#include "MrvCoordinator/MrvSiblingCoordinator.h"
#include "MrvCoordinator/MrvSiblingDirectory.h"
#include "MrvData/MrvDataNull.h"
#include "MrvData/MrvDataOM.h"
#include "MrvData/MrvDataString.h"
#include "MrvEvent/MrvEvent.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvParser/Builtin/MrvOpenedFile.h"
#include "MrvParser/FileSystem/MrvOMExpressionFileSystem.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvContainerRelease.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamConsole.h"
#include "MrvParser/Stream/MrvInputStreamStdIn.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Stream/MrvOutputStreamStdOut.h"
#include "MrvParser/Task/MrvEvalScriptTask.h"
#include "MrvPipes/MrvReadPipe.h"
#include "MrvPipes/MrvWritePipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvSerializer/MrvSimpleSerializer.h"
#include "MrvService/MrvServiceLog.h"
#include "MrvService/MrvServiceNull.h"
#include "MrvService/MrvServiceOM.h"
#include "MrvService/MrvServicePing.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
const std::string InternalCoordinator::TYPENAME = "InternalCoordinator";
const std::string InternalCoordinator::MAIN_NAME = "net.morvane.coordinator.main";
const std::string InternalCoordinator::LAUNCHED_VARIABLE = "MORVANE_LAUNCHED_BY";

std::shared_ptr<InternalCoordinator> InternalCoordinator::sInstance;
bool InternalCoordinator::sIsClosing = false;
CoordinatorSettings InternalCoordinator::fSettings;
std::vector<std::string> InternalCoordinator::fLaunchArgs;
InternalCoordinator::ScopeFactory InternalCoordinator::fScopeFactory;
std::shared_ptr<OMScope> InternalCoordinator::fDefaultScope;
std::shared_ptr<OMScope> InternalCoordinator::fCoordinatorScope;
std::shared_ptr<IOStreamPrompted> InternalCoordinator::fInputStream;
InternalCoordinator::InputKind InternalCoordinator::fInputKind = InputKind::EMPTY;
bool InternalCoordinator::fIsTerminating = false;
int64_t InternalCoordinator::fEndOverdueTime = 0;
std::string InternalCoordinator::fLaunchLogPath;
bool InternalCoordinator::fCanTerminate = true;
bool InternalCoordinator::fIsEmbedded = false;
bool InternalCoordinator::fIsNameGiven = false;
bool InternalCoordinator::fIsInited = false;
bool InternalCoordinator::fIsInEventLoop = false;
ConfigurationStack InternalCoordinator::fConfigStack;
std::string InternalCoordinator::fConfigFilePath;
ConfigurationStack::Map InternalCoordinator::fURLMap;
ConfigurationStack::Map InternalCoordinator::fCoordinatorMap;
ConfigurationStack::Map InternalCoordinator::fHostMap;
std::map<std::string_view, std::string> InternalCoordinator::fSettingSources;
std::string InternalCoordinator::fSysConfigFolderPath;
std::string InternalCoordinator::fPipeFolderPath;
std::string InternalCoordinator::fSessionDataFolderPath;
uint64_t InternalCoordinator::fEventLoopCycles = 0;
uint64_t InternalCoordinator::sCoordinatorCycles = 0;
uint64_t InternalCoordinator::sCoordinatorLoops = 0;
bool InternalCoordinator::sHasMessagingActivity = false;
uint64_t InternalCoordinator::sLastActivityCycle = 0;
bool InternalCoordinator::sAreThresholdsStale = true;
int64_t InternalCoordinator::sSleepThresholds[3] = {};
InternalCoordinator::MainState InternalCoordinator::sIsMainCoordinator = MainState::UNKNOWN;

// --- The singleton

std::shared_ptr<IObject> InternalCoordinator::factory()
{
	if (!sInstance && !sIsClosing)
	{
		sInstance = std::shared_ptr<InternalCoordinator>(new InternalCoordinator(), InternalCoordinator::deleter);
		sInstance->registerObjectID(sInstance);
		setProviders();
		sInstance->listenToAnswers();
		createServices();
	}
	return sInstance;
}

// They attach themselves, so they find the singleton made.
void InternalCoordinator::createServices()
{
	ServiceNull::factory();
	ServicePing::factory();
	ServiceLog::factory();
	const std::shared_ptr<OMScope> sampleScope = OMScope::factory();
	Environment &sample = sampleScope->getEnvironment();
	sample.create(Name("abc")) = Value::string("sampleValue");
	sample.create(Name("def")) = Value::string("a");
	ServiceOM::factoryFromNameOMScope("sample.test", sampleScope);
	ServiceOM::factoryFromNameOMScope(ServiceOM::DEFAULT_NAME, getDefaultScope());
}

void InternalCoordinator::setProviders()
{
	IRoutingCoordinator::setProvider([]() -> IRoutingCoordinator * { return instance().get(); });
	IMessagingCoordinator::setProvider([]() -> IMessagingCoordinator * { return instance().get(); });
	IRemoteScripts::setProvider([]() -> IRemoteScripts * { return instance().get(); });
	setPipeCoordinator(true);
}

std::shared_ptr<InternalCoordinator> InternalCoordinator::instance()
{
	factory();
	return sInstance;
}

void InternalCoordinator::deleter(InternalCoordinator *coordinator)
{
	SANITY_CHECK_AS(coordinator, "internalCoordinator", return );
	Object::deleter(coordinator);
	delete coordinator;
}

IInternalCoordinator *InternalCoordinator::provide()
{
	factory();
	return sInstance.get();
}

bool InternalCoordinator::registerDeregisterClass(RegisterDeregister registerDeregister)
{
	if (registerDeregister == RegisterDeregister::DEREGISTER)
	{
		return deregisterFactory(TYPENAME);
	}
	SANITY_CHECK_AS(registerFactory(TYPENAME, InternalCoordinator::factory),
	    "Object::registerFactory( TYPENAME, InternalCoordinator::factory)", return false);
	return true;
}

namespace
{
constexpr bool (*CLASSES[])(RegisterDeregister) = {
    InternalCoordinator::registerDeregisterClass,
    SimpleSerializer::registerDeregisterClass,
    DataNull::registerDeregisterClass,
    DataString::registerDeregisterClass,
    DataOM::registerDeregisterClass,
    Address_abstract::registerDeregisterClasses,
    Message::registerDeregisterClass,
    Event::registerDeregisterClass,
    ServiceNull::registerDeregisterClass,
    ServicePing::registerDeregisterClass,
    ServiceLog::registerDeregisterClass,
    ServiceOM::registerDeregisterClass,
    SiblingCoordinator::registerDeregisterClass,
};
}

bool InternalCoordinator::registerObjectClasses()
{
	for (const auto registerClass : CLASSES)
	{
		if (!registerClass(RegisterDeregister::REGISTER))
		{
			LOG_ERROR("failed to register class");
			return false;
		}
	}
	return true;
}

bool InternalCoordinator::deregisterObjectClasses()
{
	for (const auto deregisterClass : CLASSES)
	{
		if (!deregisterClass(RegisterDeregister::DEREGISTER))
		{
			LOG_ERROR("failed to de-register class");
			return false;
		}
	}
	return true;
}

// --- Start

bool InternalCoordinator::setName(const std::string &name)
{
	if (fIsInited)
	{
		LOG_ERROR("the name can't be changed any more");
		return false;
	}
	fSettings.coordinatorName = Utils::normaliseCoordinatorName(name);
	fIsNameGiven = !name.empty();
	return true;
}

bool InternalCoordinator::setIsEmbedded(bool isEmbedded)
{
	if (fIsInited)
	{
		LOG_ERROR("too late to say what the coordinator is embedded in");
		return false;
	}
	fIsEmbedded = isEmbedded;
	return true;
}

bool InternalCoordinator::init(int argc, char **argv)
{
	sIsClosing = false;
	Object::createMaps();
	IInternalCoordinator::setProvider(&InternalCoordinator::provide);
	SANITY_CHECK_AS(configure(argc, argv), "parseCommandLineArgs(argc, argv)", return false);
	SANITY_CHECK_AS(registerObjectClasses(), "registerObjectClasses()", return false);
	const auto coordinator = instance();
	GUIDClass *guid = coordinator->createGUID();
	SANITY_CHECK_AS(guid, "internalCoordinatorGUID = internalCoordinatorObj->createGUID();", return false);
	fIsInited = true;
	sIsMainCoordinator = MainState::UNKNOWN;
	if (fIsTerminating)
	{
		return true; // only the version was asked for
	}
	applyMessagingSettings();
	const std::string &name = fSettings.coordinatorName;
	if (name.empty())
	{
		giveNameIfUnnamed();
	}
	else
	{
		if (!Utils::isCoordinatorName(name))
		{
			LOG_ERROR("invalid coordinator name: " + name);
			return false;
		}
		if (!coordinator->publishProcessId())
		{
			return false;
		}
		// A run that crashed may have left one.
		SANITY_CHECK_AS(coordinator->destroyNamedPipe(), "internalCoordinator->destroyNamedPipe()", return false);
		coordinator->fHasInputNamedPipe = true;
	}
	if (!coordinator->fSiblings)
	{
		coordinator->fSiblings = std::make_shared<SiblingDirectory>();
	}
	coordinator->fMainTask = MainTaskTimesliceTask::factory();
	SANITY_CHECK_AS(coordinator->fMainTask, "internalCoordinator->fMainTask", return false);
	Task::startTask(coordinator->fMainTask);
	return fSettings.startupScriptFile.empty() || runStartupScript();
}

bool InternalCoordinator::runStartupScript()
{
	const auto scope = getCoordinatorScope();
	SANITY_CHECK_AS(scope, "coordinatorScope", return false);
	const auto task = EvalScriptTask::factory(scope, fSettings.startupScriptFile, HandleReturnValue::UNWRAP);
	LOG_TRACE("startup script task started: " + fSettings.startupScriptFile);
	SANITY_CHECK_AS(task->runToCompletion(), "evalScriptTask->runToCompletion()", return false);
	LOG_TRACE("startup script task completed: " + fSettings.startupScriptFile);
	return true;
}

bool InternalCoordinator::isMainCoordinator()
{
	if (sIsMainCoordinator == MainState::UNKNOWN)
	{
		const bool isMain = fSettings.coordinatorName == MAIN_NAME;
		if (!fIsInited)
		{
			return isMain;
		}
		sIsMainCoordinator = isMain ? MainState::MAIN : MainState::OTHER;
	}
	return sIsMainCoordinator == MainState::MAIN;
}

// --- End

bool InternalCoordinator::terminate()
{
	LOG_TRACE("terminate()");
	if (!fCanTerminate)
	{
		LOG_ERROR("cannot terminate - fCanTerminate is false");
		return false;
	}
	if (!fIsTerminating)
	{
		fEndOverdueTime = timePointAfter(Platform::steadyNanoseconds(), fSettings.delayQuitMicroseconds);
	}
	fIsTerminating = true;
	return true;
}

bool InternalCoordinator::isEndOverdue()
{
	return fIsTerminating && fEndOverdueTime != Task::kNoTimePoint && fEndOverdueTime < Platform::steadyNanoseconds();
}

bool InternalCoordinator::isTerminating()
{
	return !sInstance || fIsTerminating;
}

bool InternalCoordinator::isTerminatingAndIdle()
{
	return !sInstance || (fIsTerminating && sInstance->isIdle());
}

bool InternalCoordinator::deregisterObject()
{
	SANITY_CHECK(destroyNamedPipe(), return false);
	SANITY_CHECK(destroySessionData(), return false);
	if (!fMessageQueue.empty())
	{
		LOG_NOTE("message queue not empty");
		fMessageQueue.clear();
	}
	fRoutingTable.clear();
	SANITY_CHECK_AS(deregisterPendingTasks(), "internalCoordinator->deregisterPendingTasks()", static_cast<void>(0));
	return Service_abstract::deregisterObject();
}

void InternalCoordinator::releaseInstance()
{
	Task::exitAllTasks(sInstance->fMainTask.get());
	sIsClosing = true;
	sInstance->releaseServiceScopes();
	sInstance->deregisterObject();
	sInstance->fMainTask.reset();
	WritePipe::closeAll();
	ReadPipe::closeAll();
	sInstance->fSiblings.reset();
	setPipeCoordinator(false);
	Task::releaseAll();
	OpenedFile::closeAll();
	fInputStream.reset();
	if (fCoordinatorScope)
	{
		emptyReachableContainers(fCoordinatorScope->getValue());
		fCoordinatorScope.reset();
	}
	fDefaultScope.reset();
	if (fIsInited)
	{
		deregisterObjectClasses();
	}
	sInstance.reset();
	Object::deleteMaps();
}

void InternalCoordinator::release()
{
	if (sInstance)
	{
		releaseInstance();
	}
	// A start that was refused may have left settings without an object.
	forgetConfiguration();
	fLaunchArgs.clear();
	fScopeFactory = nullptr;
	fInputKind = InputKind::EMPTY;
	fIsTerminating = false;
	fEndOverdueTime = 0;
	fLaunchLogPath.clear();
	fCanTerminate = true;
	fIsEmbedded = false;
	fIsInited = false;
	fIsInEventLoop = false; // still set when an exception has ended it
	forgetMessaging();
	sHasMessagingActivity = false;
	sLastActivityCycle = sCoordinatorCycles;
	sAreThresholdsStale = true;
	sIsMainCoordinator = MainState::UNKNOWN;
}

// --- Scripts

std::shared_ptr<OMScope> InternalCoordinator::getDefaultScope()
{
	if (!fDefaultScope)
	{
		fDefaultScope = OMScope::factory();
	}
	return fDefaultScope;
}

std::shared_ptr<OMScope> InternalCoordinator::getCoordinatorScope()
{
	if (!fCoordinatorScope)
	{
		fCoordinatorScope = fScopeFactory ? fScopeFactory(getDefaultScope()) : getDefaultScope();
		Value arguments = Value::emptyArray();
		for (const std::string &argument : fLaunchArgs)
		{
			arguments.array()->fItems.push_back(Value::string(std::string_view(argument)));
		}
		Environment &environment = fCoordinatorScope->getEnvironment();
		environment.create(Name("arguments")) = std::move(arguments);
		environment.create(Name(OMExpressionFileSystem::FUNCTION_NAME)) = OMExpressionFileSystem::makeFunction();
	}
	return fCoordinatorScope;
}

void InternalCoordinator::setInputKind(InputKind kind)
{
	if (kind != fInputKind)
	{
		fInputKind = kind;
		fInputStream.reset();
	}
}

// One for all: what a stream has fetched is lost to others.
std::shared_ptr<IOStreamPrompted> InternalCoordinator::inputStreamFactory()
{
	if (!fInputStream)
	{
		std::shared_ptr<InputStream> nested;
		switch (fInputKind)
		{
			case InputKind::EMPTY:
				nested = std::make_shared<InputStreamString>(std::string());
				break;
			case InputKind::STANDARD_INPUT:
				nested = std::make_shared<InputStreamStdIn>();
				break;
			case InputKind::CONSOLE:
				nested = std::make_shared<InputStreamConsole>();
				break;
		}
		fInputStream = std::make_shared<IOStreamPrompted>(nested, std::make_shared<OutputStreamStdOut>());
		if (fInputKind != InputKind::CONSOLE)
		{
			// A script that reads its input shows no prompt; a session that wants one says so.
			fInputStream->setPrompt("");
			fInputStream->setContinuationPrompt("");
		}
	}
	return fInputStream;
}

std::shared_ptr<ITaskStream> InternalCoordinator::makeInputStream()
{
	return inputStreamFactory();
}

std::shared_ptr<IOMNode> InternalCoordinator::makeBoolNode(bool value)
{
	return OMStored::factory(value);
}
}
