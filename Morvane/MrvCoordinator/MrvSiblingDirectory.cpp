#include "MrvCoordinator/MrvSiblingDirectory.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvCoordinator/MrvSiblingCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvPipes/MrvPipe.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvUtils.h"

#include <algorithm>

namespace Mrv
{
namespace
{
// File systems keep times as coarsely as by two seconds: a folder that changed so recently may have changed again.
constexpr std::int64_t FOLDER_TIME_GRAIN = 2'000'000'000;
}

bool SiblingDirectory::isDue(std::int64_t &nextTime, std::int64_t microseconds)
{
	if (Platform::steadyNanoseconds() < nextTime)
	{
		return false;
	}
	nextTime = Pipe::timeAfter(microseconds);
	return true;
}

// --- Names

bool SiblingDirectory::isValidSiblingName(const std::string &siblingName)
{
	VERIFY_AS(!siblingName.empty(), "! siblingName.empty()", return false);
	return Utils::isCoordinatorName(siblingName);
}

bool SiblingDirectory::registerSibling(const std::string &siblingName)
{
	if (siblingName == InternalCoordinator::getCoordinatorName())
	{
		return true;
	}
	return isValidSiblingName(siblingName) &&
	       SiblingCoordinator::factoryFromParentName(InternalCoordinator::instance(), siblingName) != nullptr;
}

bool SiblingDirectory::isTransientName(const std::string &coordinatorName)
{
	static const std::string PREFIX = Utils::normaliseCoordinatorName("p");
	return coordinatorName.size() > PREFIX.size() && coordinatorName.starts_with(PREFIX) &&
	       std::all_of(coordinatorName.begin() + static_cast<std::ptrdiff_t>(PREFIX.size()), coordinatorName.end(),
	           [](char character) { return character >= '0' && character <= '9'; });
}

// --- What the router asks

std::shared_ptr<ISibling> SiblingDirectory::findSibling(const std::string &coordinatorName)
{
	if (std::shared_ptr<SiblingCoordinator> sibling = SiblingCoordinator::find(coordinatorName))
	{
		return sibling;
	}
	fNextActiveScan = 0;
	fNextNamedPipeScan = 0;
	fNextConfigScan = 0;
	scanForActiveSiblings();
	scanForNamedPipeSiblings();
	scanForConfigSiblings();
	std::shared_ptr<SiblingCoordinator> sibling = SiblingCoordinator::find(coordinatorName);
	// One that has just started publishes itself before it serves its pipe.
	if (!sibling && PublishedProcess(InternalCoordinator::getSessionDataFolderPath(), coordinatorName).read().isAlive() &&
	    registerSibling(coordinatorName))
	{
		sibling = SiblingCoordinator::find(coordinatorName);
	}
	return sibling;
}

bool SiblingDirectory::isKnownName(const std::string &coordinatorName) const
{
	return SiblingCoordinator::find(coordinatorName) != nullptr ||
	       InternalCoordinator::getCoordinatorMap().find(coordinatorName) != nullptr;
}

bool SiblingDirectory::isAliveUnder(const std::string &coordinatorName, GUIDClass *coordinatorGUID) const
{
	if (!coordinatorGUID || !Utils::isCoordinatorName(coordinatorName))
	{
		return false;
	}
	const PublishedProcess published(InternalCoordinator::getSessionDataFolderPath(), coordinatorName);
	const PublishedProcess::Publication publication = published.read();
	return publication.guid == coordinatorGUID->toSectionedString() && publication.isAlive();
}

// --- The searches

bool SiblingDirectory::scanForActiveSiblings()
{
	if (!isDue(fNextActiveScan, InternalCoordinator::getSettings().scanActiveSiblingsIntervalMicroseconds))
	{
		return true;
	}
	for (const std::shared_ptr<SiblingCoordinator> &sibling : SiblingCoordinator::all())
	{
		if (sibling->isForgettable())
		{
			const std::string name = sibling->getCoordinatorName();
			sibling->deregisterObject();
			if (InternalCoordinator::isMainCoordinator() && isTransientName(name))
			{
				removeRemains(name);
			}
		}
	}
	SiblingCoordinator::forgetExpired();
	return true;
}

void SiblingDirectory::removeRemains(const std::string &coordinatorName)
{
	const std::string &folder = InternalCoordinator::getSessionDataFolderPath();
	const PublishedProcess::Publication publication = PublishedProcess(folder, coordinatorName).read();
	if (publication.isAlive() || publication.isOfAnotherMachine())
	{
		return;
	}
	for (const std::string &path : {InternalCoordinator::getPipeFolderPath() + coordinatorName, folder + coordinatorName + ".pid",
	         folder + coordinatorName + ".session"})
	{
		Platform::removeFile(path);
	}
}

void SiblingDirectory::refreshNamedPipes()
{
	const std::string &folder = InternalCoordinator::getPipeFolderPath();
	const std::int64_t folderTime = Platform::fileInfo(folder).modifiedNanoseconds;
	const std::int64_t age = Platform::wallSeconds() * 1'000'000'000 - folderTime;
	if (folderTime == fFolderTime && age > FOLDER_TIME_GRAIN)
	{
		return;
	}
	fFolderTime = folderTime;
	fNamedPipes = folder.empty() ? std::vector<std::string>() : Dirs::scanDir(folder);
	if (InternalCoordinator::isMainCoordinator())
	{
		for (const std::string &name : fNamedPipes)
		{
			if (isTransientName(name) && name != InternalCoordinator::getCoordinatorName() && !SiblingCoordinator::find(name))
			{
				removeRemains(name);
			}
		}
	}
}

bool SiblingDirectory::scanForNamedPipeSiblings()
{
	if (!isDue(fNextNamedPipeScan, InternalCoordinator::getSettings().scanNamedPipeSiblingsIntervalMicroseconds))
	{
		return true;
	}
	refreshNamedPipes();
	for (const std::string &name : fNamedPipes)
	{
		const std::string path = InternalCoordinator::getPipeFolderPath() + name;
		// A file that went since the folder was read brings nobody back.
		if (SiblingCoordinator::find(name) || !Dirs::fileExists(path) || registerSibling(name))
		{
			continue;
		}
		LOG_WARNING("failed to register sibling " + name);
		if (InternalCoordinator::isMainCoordinator())
		{
			Platform::removeFile(path);
		}
	}
	return true;
}

bool SiblingDirectory::scanForConfigSiblings()
{
	if (!isDue(fNextConfigScan, InternalCoordinator::getSettings().scanConfigSiblingsIntervalMicroseconds))
	{
		return true;
	}
	if (!InternalCoordinator::isMainCoordinator())
	{
		registerSibling(InternalCoordinator::MAIN_NAME);
	}
	for (const ConfigurationStack::MapEntry &entry : InternalCoordinator::getCoordinatorMap())
	{
		if (!registerSibling(entry.name))
		{
			LOG_WARNING("failed to register sibling " + entry.name);
		}
	}
	return true;
}

// --- The end

bool SiblingDirectory::hasMessagesToSend() const
{
	const std::vector<std::shared_ptr<SiblingCoordinator>> siblings = SiblingCoordinator::all();
	return std::any_of(siblings.begin(), siblings.end(), [](const auto &sibling) { return sibling->getQueueSize() > 0; });
}

bool SiblingDirectory::isHoldingSiblingResponsesForTermination() const
{
	const std::vector<std::shared_ptr<SiblingCoordinator>> siblings = SiblingCoordinator::all();
	return std::any_of(siblings.begin(), siblings.end(), [](const auto &sibling) { return sibling->isHoldingResponses(); });
}
}
