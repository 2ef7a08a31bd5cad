// Files are looked at again right before they are removed: another process may publish under the name at any time.
#include "MrvPipes/MrvPublishedProcess.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPipes/MrvProcess.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvIni.h"
#include "MrvUtils/MrvUtils.h"

#include <limits>

namespace Mrv
{
namespace
{
const std::string SECTION = "session";
const std::string NAME_KEY = "coordinatorName";
const std::string PROCESS_KEY = "processId";
const std::string TOKEN_KEY = "startToken";
const std::string GUID_KEY = "guid";
constexpr std::size_t MAX_PID_FILE_BYTES = 32; // more than any id has digits
constexpr std::size_t MAX_SESSION_FILE_BYTES = 65536;
constexpr std::string_view PID_EXTENSION = ".pid";

std::string sessionFilePathOf(const std::string &pidFilePath)
{
	const std::size_t end = pidFilePath.size() - (pidFilePath.ends_with(PID_EXTENSION) ? PID_EXTENSION.size() : 0);
	return pidFilePath.substr(0, end) + ".session";
}

std::uint32_t toProcessId(const std::string &text)
{
	std::uint64_t number = 0;
	return Utils::isNumeric(text) && Utils::toUInt64(text, number) && number <= std::numeric_limits<std::uint32_t>::max()
	           ? static_cast<std::uint32_t>(number)
	           : 0;
}
}

bool PublishedProcess::Publication::isAlive() const
{
	return isPublished() && !isOfAnotherMachine() && Process::isRunning(processId, startToken);
}

bool PublishedProcess::Publication::isOfAnotherMachine() const
{
	const std::string machine = Platform::machineOfStartToken(startToken);
	return !machine.empty() && machine != Platform::machineId();
}

PublishedProcess::PublishedProcess(const std::string &folder, const std::string &coordinatorName)
    : fCoordinatorName(coordinatorName),
      fPidFilePath(folder + coordinatorName + std::string(PID_EXTENSION))
{
}

bool PublishedProcess::publish(const std::string &guid) const
{
	const std::string processId = std::to_string(Platform::currentProcessId());
	Ini session;
	session.setEntry(SECTION, NAME_KEY, fCoordinatorName);
	session.setEntry(SECTION, PROCESS_KEY, processId);
	session.setEntry(SECTION, TOKEN_KEY, Platform::processStartToken(Platform::currentProcessId()));
	session.setEntry(SECTION, GUID_KEY, guid);
	if (!Dirs::replaceFile(sessionFilePathOf(fPidFilePath), session.toString()) || !Dirs::replaceFile(fPidFilePath, processId))
	{
		LOG_ERROR("cannot publish the process at " + fPidFilePath);
		return false;
	}
	return true;
}

PublishedProcess::Publication PublishedProcess::read(const std::string &pidFilePath)
{
	std::string text;
	Publication publication;
	if (!Dirs::readFile(pidFilePath, text, MAX_PID_FILE_BYTES))
	{
		return publication;
	}
	publication.processId = toProcessId(Utils::trim(text));
	std::string sessionText;
	if (publication.isPublished() && Dirs::readFile(sessionFilePathOf(pidFilePath), sessionText, MAX_SESSION_FILE_BYTES))
	{
		const Ini session(sessionText);
		// The other file may be an earlier run's.
		if (toProcessId(session.getEntry(SECTION, PROCESS_KEY)) == publication.processId)
		{
			publication.startToken = session.getEntry(SECTION, TOKEN_KEY);
			publication.guid = session.getEntry(SECTION, GUID_KEY);
		}
	}
	return publication;
}

std::uint32_t PublishedProcess::findRunning() const
{
	const Publication publication = read();
	if (publication.isAlive())
	{
		return publication.processId;
	}
	removeDead(fPidFilePath);
	return 0;
}

void PublishedProcess::removeDead(const std::string &pidFilePath)
{
	const Publication publication = read(pidFilePath);
	if (!publication.isPublished() || publication.isOfAnotherMachine() || publication.isAlive())
	{
		return;
	}
	const Publication again = read(pidFilePath);
	if (again.processId == publication.processId && again.startToken == publication.startToken)
	{
		Platform::removeFile(pidFilePath);
	}
}

bool PublishedProcess::withdraw() const
{
	const Publication publication = read();
	const std::string token = Platform::processStartToken(Platform::currentProcessId());
	if (publication.processId != Platform::currentProcessId() || (!publication.startToken.empty() && publication.startToken != token))
	{
		return true;
	}
	const bool isRemoved = Platform::removeFile(fPidFilePath);
	Platform::removeFile(sessionFilePathOf(fPidFilePath));
	return isRemoved;
}
}
