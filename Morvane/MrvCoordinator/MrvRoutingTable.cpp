#include "MrvCoordinator/MrvRoutingTable.h"

#include "MrvUtils/MrvLimits.h"

namespace Mrv
{
namespace
{
const std::string NONE;
}

std::string RoutingTable::keyOf(std::string_view hostName, std::string_view coordinatorName)
{
	std::string key(hostName);
	key += '|';
	key += coordinatorName;
	return key;
}

const RoutingTable::Coordinator *RoutingTable::find(GUIDClass *upstreamGUID) const
{
	const auto coordinator = fCoordinators.find(upstreamGUID);
	return coordinator == fCoordinators.end() ? nullptr : &coordinator->second;
}

const RoutingTable::Named *RoutingTable::findNamed(std::string_view hostName, std::string_view coordinatorName) const
{
	const auto named = fNamed.find(keyOf(hostName, coordinatorName));
	return named == fNamed.end() ? nullptr : &named->second;
}

GUIDClass *RoutingTable::getUpstreamOfSender(GUIDClass *senderGUID) const
{
	const auto upstream = fUpstreamBySender.find(senderGUID);
	return upstream == fUpstreamBySender.end() ? nullptr : upstream->second;
}

const std::string &RoutingTable::getCoordinatorName(GUIDClass *upstreamGUID) const
{
	const Coordinator *coordinator = find(upstreamGUID);
	return coordinator ? coordinator->name : NONE;
}

const std::string &RoutingTable::getHostName(GUIDClass *upstreamGUID) const
{
	const Coordinator *coordinator = find(upstreamGUID);
	return coordinator ? coordinator->hostName : NONE;
}

GUIDClass *RoutingTable::getUpstreamGUID(std::string_view hostName, std::string_view coordinatorName) const
{
	const Named *named = findNamed(hostName, coordinatorName);
	return named ? named->upstream : nullptr;
}

GUIDClass *RoutingTable::getSenderGUID(std::string_view hostName, std::string_view coordinatorName) const
{
	const Named *named = findNamed(hostName, coordinatorName);
	return named ? named->sender : nullptr;
}

// The entry of a coordinator, which is now the youngest one.
RoutingTable::Coordinator &RoutingTable::enter(GUIDClass *upstreamGUID)
{
	const auto [coordinator, isNew] = fCoordinators.try_emplace(upstreamGUID);
	if (!isNew)
	{
		fByAge.splice(fByAge.begin(), fByAge, coordinator->second.age);
		return coordinator->second;
	}
	Coordinator &entry = coordinator->second;
	fByAge.push_front(upstreamGUID);
	entry.age = fByAge.begin();
	if (fCoordinators.size() > Limits::ROUTED_COORDINATORS)
	{
		forget(fByAge.back());
	}
	return entry;
}

void RoutingTable::enterSender(Coordinator &coordinator, GUIDClass *senderGUID, GUIDClass *upstreamGUID)
{
	GUIDClass *&upstream = fUpstreamBySender[senderGUID];
	if (upstream == upstreamGUID)
	{
		return;
	}
	upstream = upstreamGUID;
	coordinator.senders.push_back(senderGUID);
	if (coordinator.senders.size() > Limits::ROUTED_SENDERS)
	{
		GUIDClass *oldest = coordinator.senders.front();
		coordinator.senders.pop_front();
		if (oldest != senderGUID && getUpstreamOfSender(oldest) == upstreamGUID)
		{
			fUpstreamBySender.erase(oldest);
		}
	}
}

void RoutingTable::registerSender(
    GUIDClass *senderGUID, GUIDClass *upstreamGUID, const std::string &hostName, const std::string &coordinatorName)
{
	if (!coordinatorName.empty())
	{
		GUIDClass *predecessor = getUpstreamGUID(hostName, coordinatorName);
		if (predecessor && predecessor != upstreamGUID)
		{
			forget(predecessor);
		}
	}
	Coordinator &coordinator = enter(upstreamGUID);
	enterSender(coordinator, senderGUID, upstreamGUID);
	if (!hostName.empty() && hostName != coordinator.hostName)
	{
		forgetKey(upstreamGUID, coordinator);
		coordinator.hostName = hostName;
	}
	if (!coordinatorName.empty())
	{
		if (coordinatorName != coordinator.name)
		{
			forgetKey(upstreamGUID, coordinator);
			coordinator.name = coordinatorName;
		}
		fNamed[keyOf(coordinator.hostName, coordinator.name)] = {upstreamGUID, senderGUID};
	}
}

void RoutingTable::setHostIfUnknown(GUIDClass *upstreamGUID, const std::string &hostName)
{
	if (Coordinator &coordinator = enter(upstreamGUID); coordinator.hostName.empty())
	{
		forgetKey(upstreamGUID, coordinator);
		coordinator.hostName = hostName;
	}
}

void RoutingTable::forgetKey(GUIDClass *upstreamGUID, const Coordinator &coordinator)
{
	const auto named = fNamed.find(keyOf(coordinator.hostName, coordinator.name));
	if (named != fNamed.end() && named->second.upstream == upstreamGUID)
	{
		fNamed.erase(named);
	}
}

void RoutingTable::forget(GUIDClass *upstreamGUID)
{
	const auto entry = fCoordinators.find(upstreamGUID);
	if (entry == fCoordinators.end())
	{
		return;
	}
	for (GUIDClass *sender : entry->second.senders)
	{
		if (getUpstreamOfSender(sender) == upstreamGUID)
		{
			fUpstreamBySender.erase(sender);
		}
	}
	forgetKey(upstreamGUID, entry->second);
	fByAge.erase(entry->second.age);
	fCoordinators.erase(entry);
	if (fForgottenHandler)
	{
		fForgottenHandler(upstreamGUID);
	}
}

void RoutingTable::clear()
{
	fCoordinators.clear();
	fByAge.clear();
	fUpstreamBySender.clear();
	fNamed.clear();
}
}
