// What scripts get from `sysInfo`: a picture of the moment, made anew each time.
#include "MrvCoordinator/MrvInternalCoordinator.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Language/MrvScriptEvaluation.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvPlatform/MrvEnvironment.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
namespace
{
// Puts entries into a Map, in the order of the calls.
class MapWriter
{
public:
	explicit MapWriter(MapContainer &map) : fMap(map) {}
	void text(std::string_view key, const std::string &text) { fMap.set(Name(key), Value::string(std::string_view(text))); }
	void number(std::string_view key, int64_t number) { fMap.set(Name(key), Value::integer(number)); }
	void flag(std::string_view key, bool flag) { fMap.set(Name(key), Value::boolean(flag)); }

private:
	MapContainer &fMap;
};

// A folder of the user that a machine without a desktop doesn't have: nothing to complain about each time somebody asks.
std::string folderOfUser(const char *name, const std::string &(*get)())
{
	return Dirs::dirExists(Dirs::getHomePath() + name) ? get() : std::string();
}

void writeSettings(MapWriter &writer, const CoordinatorSettings &settings)
{
	writer.number("consoleEcho", settings.consoleEcho);
	writer.text("logFile", settings.logFile);
	writer.text("defaultEngine", settings.defaultEngine);
	writer.number("delayQuitMicroseconds", settings.delayQuitMicroseconds);
	writer.number("eventLoopMicroseconds", settings.eventLoopMicroseconds);
	writer.number("quitReflectorEventLoopForTestsMicroseconds", settings.quitReflectorEventLoopForTestsMicroseconds);
	writer.number("eventLoopSleepMicroseconds", settings.eventLoopSleepMicroseconds);
	writer.number("interCoordinatorPipeWaitTimeMicroseconds", settings.interCoordinatorPipeWaitTimeMicroseconds);
	writer.number("interCoordinatorTestTimeMicroseconds", settings.interCoordinatorTestTimeMicroseconds);
	writer.number("maxWaitPipeReappearMicroseconds", settings.maxWaitPipeReappearMicroseconds);
	writer.number("remoteTimeoutMicroseconds", settings.remoteTimeoutMicroseconds);
	writer.number("sleepWaitForPipeMicroseconds", settings.sleepWaitForPipeMicroseconds);
	writer.number("defaultTimeoutMicroseconds", settings.defaultTimeoutMicroseconds);
	writer.number("testTimeoutMicroseconds", settings.testTimeoutMicroseconds);
	writer.number("internalCoordinatorTimesliceMicroseconds", settings.internalCoordinatorTimesliceMicroseconds);
	writer.text("coordinatorName", settings.coordinatorName);
	writer.text("remoteCoordinatorURL", settings.remoteCoordinator);
}

void writeFolders(MapWriter &writer)
{
	writer.text("APP_DIR", Dirs::getAppDirPath());
	writer.text("APP_PATH", Dirs::getAppPath());
	writer.text("DESKTOP_DIR", folderOfUser("Desktop", Dirs::getDesktopPath));
	writer.text("DOCUMENTS_DIR", folderOfUser("Documents", Dirs::getDocumentsPath));
	writer.text("HOME_DIR", Dirs::getHomePath());
	writer.text("LOG_DIR", Dirs::getLogDirPath());
	writer.text("SYSTEMDATA_DIR", Dirs::getSystemDataPath());
	writer.text("TMP_DIR", Dirs::getTmpPath());
	writer.text("USERDATA_DIR", Dirs::getUserDataPath());
}

void writeBuild(MapWriter &writer, const std::string &version)
{
	// "DD-MM-YYYY HH:MM:SS"
	const std::string built = Utils::dateToString(Utils::getBuildTime());
	const size_t blank = std::min(built.find(' '), built.size());
	writer.text("buildDate", built.substr(0, blank));
	writer.text("buildTime", built.substr(std::min(blank + 1, built.size())));
	writer.text("version", version);
	const std::string &platform = Platform::systemName();
	writer.text("platform", platform);
	writer.flag("isMac", platform == "mac");
	writer.flag("isLinux", platform == "linux");
	writer.flag("isWindows", platform == "windows");
	writer.text("pathSeparator", std::string(1, Platform::pathSeparator()));
}
}

std::shared_ptr<IOMNode> InternalCoordinator::buildSysInfo()
{
	Value information = Value::emptyMap();
	MapWriter writer(*information.map());
	writeSettings(writer, fSettings);
	writeFolders(writer);
	writeBuild(writer, getVersion());
	writer.flag("isEmbedded", fIsEmbedded);
	writer.text("pipeFolderPath", getPipeFolderPath());
	writer.text("sessionDataFolderPath", getSessionDataFolderPath());
	writer.text("sessionDataPath", PublishedProcess(getSessionDataFolderPath(), fSettings.coordinatorName).getPidFilePath());
	writer.text("scriptFilePath", ScriptEvaluation::toSystemPath(getCoordinatorScope()->getScriptFilePath()));
	return information.toNode();
}
}
