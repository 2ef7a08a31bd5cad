// The life of the coordinator: coming into being, start, orderly end, release.
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvCoordinator/MrvMainTaskTimesliceTask.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvContainerRelease.h"
#include "MrvParser/Stream/MrvIOStreamPrompted.h"
#include "MrvParser/Stream/MrvInputStreamConsole.h"
#include "MrvParser/Stream/MrvInputStreamStdIn.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Stream/MrvOutputStreamStdOut.h"
#include "MrvParser/Task/MrvEvalScriptTask.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>
#include <cctype>

namespace Mrv
{
const std::string InternalCoordinator::TYPENAME = "InternalCoordinator";
const std::string InternalCoordinator::MAIN_NAME = "net.morvane.coordinator.main";

std::shared_ptr<InternalCoordinator> InternalCoordinator::sInstance;
bool InternalCoordinator::sIsClosing = false;
CoordinatorSettings InternalCoordinator::fSettings;
std::vector<std::string> InternalCoordinator::fLaunchArgs;
std::function<std::shared_ptr<OMScope>()> InternalCoordinator::fScopeFactory;
std::shared_ptr<OMScope> InternalCoordinator::fCoordinatorScope;
std::shared_ptr<IOStreamPrompted> InternalCoordinator::fInputStream;
InternalCoordinator::InputKind InternalCoordinator::fInputKind = InputKind::EMPTY;
bool InternalCoordinator::fIsTerminating = false;
bool InternalCoordinator::fCanTerminate = true;
bool InternalCoordinator::fIsEmbedded = false;
bool InternalCoordinator::fIsInited = false;
bool InternalCoordinator::fIsInEventLoop = false;
std::string InternalCoordinator::fSessionDataFolderPath;
uint64_t InternalCoordinator::fEventLoopCycles = 0;
uint64_t InternalCoordinator::sCoordinatorCycles = 0;
uint64_t InternalCoordinator::sCoordinatorLoops = 0;
bool InternalCoordinator::sHasMessagingActivity = false;
uint64_t InternalCoordinator::sLastActivityCycle = 0;
bool InternalCoordinator::sAreThresholdsStale = true;
int64_t InternalCoordinator::sSleepThresholds[3] = {};
InternalCoordinator::MainState InternalCoordinator::sIsMainCoordinator = MainState::UNKNOWN;

namespace
{
constexpr int64_t NANOSECONDS_PER_MICROSECOND = 1000;
constexpr size_t MAX_PROCESS_ID_TEXT = 32; // more than any process id has digits

std::string readSmallFile(const std::string &path)
{
	std::FILE *file = Platform::openFile(path, Platform::OpenMode::READ);
	if (!file)
	{
		return {};
	}
	char bytes[MAX_PROCESS_ID_TEXT];
	const size_t count = std::fread(bytes, 1, sizeof bytes, file);
	std::fclose(file);
	return {bytes, count};
}

// Others poll such files: they are written beside and moved into place.
bool writeSmallFile(const std::string &path, const std::string &text)
{
	const std::string temporary = path + ".new";
	std::FILE *file = Platform::openFile(temporary, Platform::OpenMode::WRITE);
	if (!file)
	{
		return false;
	}
	const bool isWritten = std::fwrite(text.data(), 1, text.size(), file) == text.size();
	return std::fclose(file) == 0 && isWritten && Platform::renameReplacing(temporary, path);
}
}

// --- The singleton

std::shared_ptr<IObject> InternalCoordinator::factory()
{
	if (!sInstance && !sIsClosing)
	{
		sInstance = std::shared_ptr<InternalCoordinator>(new InternalCoordinator(), InternalCoordinator::deleter);
		sInstance->registerObjectID(sInstance);
	}
	return sInstance;
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
constexpr bool (*CLASSES[])(RegisterDeregister) = {InternalCoordinator::registerDeregisterClass};
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

void InternalCoordinator::readConfigurationNode()
{
	fSettings.configurationNodeSuffix.clear();
	const std::string node = Platform::environmentVariable("MORVANE_CONFIG_NODE_NAME").value_or("");
	std::string lower = node;
	std::transform(
	    lower.begin(), lower.end(), lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
	if (!node.empty() && lower != "localhost" && lower != "127.0.0.1" && lower != "::1")
	{
		fSettings.configurationNodeSuffix = "." + node;
	}
}

void InternalCoordinator::applyLoggerSettings()
{
	const auto logger = getCurrentLogger();
	if (!logger)
	{
		return;
	}
	logger->setLogLevel(static_cast<int32_t>(fSettings.logLevel));
	if (!fSettings.logFile.empty())
	{
		logger->setLogFilePath(fSettings.logFile);
	}
}

bool InternalCoordinator::init(int argc, char **argv)
{
	sIsClosing = false;
	Object::createMaps();
	IInternalCoordinator::setProvider(&InternalCoordinator::provide);
	readConfigurationNode();
	SANITY_CHECK_AS(parseCommandLineArgs(argc, argv), "parseCommandLineArgs(argc, argv)", return false);
	applyLoggerSettings();
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
	const std::string &name = fSettings.coordinatorName;
	if (!name.empty())
	{
		if (!Utils::isCoordinatorName(name))
		{
			LOG_ERROR("invalid coordinator name: " + name);
			return false;
		}
		if (!publishProcessId())
		{
			return false;
		}
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

// --- The published process id

const std::string &InternalCoordinator::getSessionDataFolderPath()
{
	if (fSessionDataFolderPath.empty())
	{
		const std::string &base = Dirs::getUserDataPath();
		if (!base.empty())
		{
			const std::string separator(1, Platform::pathSeparator());
			std::string path = base;
			path += "net.morvane" + separator + "SessionData" + separator;
			SANITY_CHECK_AS(Dirs::mkDir(path, DirRecurse::RECURSE), "Dirs::mkDir(fSessionDataFolderPath, DirRecurse::RECURSE)",
			    return fSessionDataFolderPath);
			fSessionDataFolderPath = path;
		}
	}
	return fSessionDataFolderPath;
}

std::string InternalCoordinator::getProcessIdFilePath(const std::string &coordinatorName)
{
	const std::string &folder = getSessionDataFolderPath();
	return folder.empty() || coordinatorName.empty() ? std::string() : folder + coordinatorName + ".pid";
}

int64_t InternalCoordinator::getPublishedProcessId(const std::string &coordinatorName)
{
	const std::string path = getProcessIdFilePath(coordinatorName);
	int64_t processId = 0;
	const std::string text = path.empty() ? std::string() : Utils::trim(readSmallFile(path));
	return Utils::isNumeric(text) && Utils::toInt64(text, processId) && processId <= UINT32_MAX ? processId : 0;
}

bool InternalCoordinator::publishProcessId()
{
	const int64_t processId = getPublishedProcessId(fSettings.coordinatorName);
	LOG_TRACE("processId = " + std::to_string(processId));
	const int64_t ownId = Platform::currentProcessId();
	// One's own number is what a run before this one has left behind.
	SANITY_CHECK_AS(processId == 0 || processId == ownId || !Platform::isProcessRunning(static_cast<Platform::ProcessId>(processId)),
	    "processId == 0 || ! Process::isRunning(processId)", return false);
	const std::string path = getProcessIdFilePath(fSettings.coordinatorName);
	SANITY_CHECK_AS(!path.empty() && writeSmallFile(path, std::to_string(ownId)), "publishProcessId()", return false);
	return true;
}

bool InternalCoordinator::destroySessionData()
{
	const std::string &name = fSettings.coordinatorName;
	if (!name.empty() && getPublishedProcessId(name) == Platform::currentProcessId())
	{
		return Platform::removeFile(getProcessIdFilePath(name));
	}
	return true;
}

// Looked at from time to time only: it is a file.
bool InternalCoordinator::isStillPublished()
{
	const int64_t now = Platform::steadyNanoseconds();
	if (now >= fNextPublishedCheck)
	{
		fNextPublishedCheck = now + fSettings.scanActiveSiblingsIntervalMicroseconds * NANOSECONDS_PER_MICROSECOND;
		const bool isPublished = getPublishedProcessId(fSettings.coordinatorName) == Platform::currentProcessId();
		if (fIsStillPublished && !isPublished)
		{
			LOG_ERROR("published pid has changed; another coordinator node has taken over. Terminating");
		}
		fIsStillPublished = isPublished;
	}
	return fIsStillPublished;
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
	fIsTerminating = true;
	return true;
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
	SANITY_CHECK(destroySessionData(), return false);
	return Object::deregisterObject();
}

void InternalCoordinator::releaseInstance()
{
	Task::exitAllTasks(sInstance->fMainTask.get());
	sIsClosing = true;
	if (fIsInited && !fSettings.coordinatorName.empty())
	{
		sInstance->destroySessionData();
	}
	sInstance->fMainTask.reset();
	Task::releaseAll();
	fInputStream.reset();
	if (fCoordinatorScope)
	{
		emptyReachableContainers(fCoordinatorScope->getValue());
		fCoordinatorScope.reset();
	}
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
	fSettings = CoordinatorSettings();
	fLaunchArgs.clear();
	fScopeFactory = nullptr;
	fInputKind = InputKind::EMPTY;
	fIsTerminating = false;
	fCanTerminate = true;
	fIsEmbedded = false;
	fIsInited = false;
	fSessionDataFolderPath.clear();
	sHasMessagingActivity = false;
	sLastActivityCycle = sCoordinatorCycles;
	sAreThresholdsStale = true;
	sIsMainCoordinator = MainState::UNKNOWN;
}

// --- Scripts

std::shared_ptr<OMScope> InternalCoordinator::getCoordinatorScope()
{
	if (!fCoordinatorScope)
	{
		fCoordinatorScope = fScopeFactory ? fScopeFactory() : OMScope::factory();
		Value arguments = Value::emptyArray();
		for (const std::string &argument : fLaunchArgs)
		{
			arguments.array()->fItems.push_back(Value::string(std::string_view(argument)));
		}
		fCoordinatorScope->getEnvironment().create(Name("arguments")) = std::move(arguments);
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
