#include "MrvPipes/MrvProcess.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvPublishedProcess.h"
#include "MrvPlatform/MrvLasting.h"
#include "MrvUtils/MrvDirs.h"

#include <unordered_map>

namespace Mrv::Process
{
namespace
{
struct LaunchedProcess
{
	Platform::ProcessId processId = 0;
	std::string startToken;
};

// By their arguments.
std::unordered_map<std::string, LaunchedProcess> &launchedProcesses()
{
	static auto &sProcesses = Platform::makeLasting<std::unordered_map<std::string, LaunchedProcess>>();
	return sProcesses;
}

std::string keyOf(const std::vector<std::string> &launchArgs)
{
	std::string key;
	for (const std::string &argument : launchArgs)
	{
		key += argument;
		key += '\0'; // in no argument
	}
	return key;
}
}

bool isRunning(std::uint32_t processId)
{
	return Platform::isProcessRunning(processId);
}

bool isRunning(std::uint32_t processId, const std::string &startToken)
{
	if (!Platform::isProcessRunning(processId))
	{
		return false;
	}
	if (Platform::machineOfStartToken(startToken) != Platform::machineId())
	{
		return true;
	}
	const std::string present = Platform::processStartToken(processId);
	return present.empty() || present == startToken;
}

std::uint32_t getProcessId(const std::string &processName)
{
	return Platform::findProcess(processName);
}

std::uint32_t getProcessId(const std::vector<std::string> &launchArgs)
{
	SANITY_CHECK_AS(!launchArgs.empty(), "launchArgs.size() > 0", return 0);
	const auto found = launchedProcesses().find(keyOf(launchArgs));
	if (found == launchedProcesses().end())
	{
		return 0;
	}
	if (isRunning(found->second.processId, found->second.startToken))
	{
		return found->second.processId;
	}
	launchedProcesses().erase(found);
	return 0;
}

std::uint32_t launchProcess(const std::vector<std::string> &launchArgs, const std::string &pidFilePath)
{
	SANITY_CHECK_AS(!launchArgs.empty(), "! launchArgs.empty()", return 0);
	SANITY_CHECK_AS(Dirs::fileExists(launchArgs.front()), "Dirs::fileExists(processPath)", return 0);
	if (const std::uint32_t running = getProcessId(launchArgs))
	{
		return running;
	}
	if (!pidFilePath.empty())
	{
		PublishedProcess::removeDead(pidFilePath);
	}
	const Platform::ProcessId processId = Platform::launchProcess(launchArgs);
	SANITY_CHECK_AS(processId != 0, "createProcessResult", return 0);
	launchedProcesses()[keyOf(launchArgs)] = {processId, Platform::processStartToken(processId)};
	LOG_NOTE("launched " + launchArgs.front() + ", processId = " + std::to_string(processId) + "l");
	return processId;
}
}
