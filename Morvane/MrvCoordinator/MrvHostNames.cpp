#include "MrvCoordinator/MrvHostNames.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvLimits.h"

#include <algorithm>

namespace Mrv
{
const std::string HostNames::LOCAL = "localhost";
const std::string HostNames::LOCAL_ADDRESS = "127.0.0.1";

HostNames::HostNames()
{
	for (const char *name : {"127.0.0.1", "::1", "localhost"})
	{
		registerLocalHostName(name);
	}
}

std::string HostNames::toLower(std::string_view text)
{
	std::string lower(text);
	std::transform(
	    lower.begin(), lower.end(), lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
	return lower;
}

const HostNames::Host *HostNames::find(std::string_view hostName) const
{
	auto host = fHosts.find(hostName);
	if (host == fHosts.end())
	{
		host = fHosts.find(toLower(hostName));
	}
	return host == fHosts.end() ? nullptr : &host->second;
}

bool HostNames::isLocalHost(std::string_view hostName) const
{
	const Host *host = find(hostName);
	return host && host->group->isLocal;
}

const std::string &HostNames::getHostAddress(std::string_view hostName) const
{
	static const std::string NONE;
	const Host *host = find(hostName);
	return host ? host->address : NONE;
}

std::string HostNames::toKey(std::string_view hostName) const
{
	return hostName.empty() || isLocalHost(hostName) ? LOCAL : toLower(hostName);
}

bool HostNames::registerHostName(const std::string &hostName, const std::string &ipAddress)
{
	SANITY_CHECK_AS(!ipAddress.empty(), "! ipAddress.empty()", return false);
	SANITY_CHECK_AS(!hostName.empty(), "! hostName.empty()", return false);
	const std::string name = toLower(hostName);
	const std::string address = toLower(ipAddress);
	if (const Host *known = find(name); known && known->group == (find(address) ? find(address)->group : nullptr))
	{
		return true;
	}
	if (fHosts.size() >= Limits::HOST_NAMES)
	{
		LOG_ERROR("too many host names: " + hostName.substr(0, 100) + " is not registered");
		return false;
	}
	// The second entry may move the first one.
	const std::shared_ptr<Group> group = enter(name, address).group;
	const std::shared_ptr<Group> other = enter(address, name).group;
	if (group != other)
	{
		merge(group, other);
	}
	if (group->isLocal || name == LOCAL || name == LOCAL_ADDRESS || address == LOCAL || address == LOCAL_ADDRESS)
	{
		makeLocal(*group);
	}
	LOG_TRACE("register " + name + " -> " + address);
	return true;
}

HostNames::Host &HostNames::enter(const std::string &name, const std::string &address)
{
	Host &host = fHosts[name];
	if (!host.group)
	{
		host.address = address;
		host.group = std::make_shared<Group>();
		host.group->names.push_back(name);
	}
	return host;
}

void HostNames::merge(const std::shared_ptr<Group> &group, const std::shared_ptr<Group> &other)
{
	if (group->isLocal != other->isLocal)
	{
		makeLocal(*group);
		makeLocal(*other);
	}
	for (const std::string &name : other->names)
	{
		group->names.push_back(name);
		fHosts[name].group = group;
	}
}

void HostNames::makeLocal(Group &group)
{
	if (!group.isLocal)
	{
		group.isLocal = true;
		for (const std::string &name : group.names)
		{
			LOG_TRACE("register as localHostName: " + name);
		}
	}
}
}
