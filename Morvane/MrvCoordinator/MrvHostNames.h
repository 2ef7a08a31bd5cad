#pragma once

#include "MrvObject/MrvHash.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Mrv
{
// What hosts are called: groups of names and addresses that stand for the same host, and which of them is this one. Letters are compared
// without regard to their case.
class HostNames
{
public:
	static const std::string LOCAL; // "localhost"

	// Knows that "localhost", "127.0.0.1" and "::1" are this host.
	HostNames();

	// Enters two names of one host; what either was known as before, the other is as well. If one of them is this host's, all are. False,
	// with a log line, without an address, and when there are too many names.
	bool registerHostName(const std::string &hostName, const std::string &ipAddress);
	bool registerLocalHostName(const std::string &hostName) { return registerHostName(hostName, LOCAL_ADDRESS); }

	bool isLocalHost(std::string_view hostName) const;
	// The address that the name was first entered with; empty when it was not.
	const std::string &getHostAddress(std::string_view hostName) const;
	// The form in which a host is a key: lower case, and one for all names of this host, which is also what no name at all means.
	std::string toKey(std::string_view hostName) const;

	static std::string toLower(std::string_view text);

private:
	static const std::string LOCAL_ADDRESS; // "127.0.0.1"

	struct Group
	{
		std::vector<std::string> names;
		bool isLocal = false;
	};
	struct Host
	{
		std::string address;
		std::shared_ptr<Group> group;
	};

	const Host *find(std::string_view hostName) const;
	Host &enter(const std::string &name, const std::string &address);
	void merge(const std::shared_ptr<Group> &group, const std::shared_ptr<Group> &other);
	static void makeLocal(Group &group);

	std::unordered_map<std::string, Host, StringHash, std::equal_to<>> fHosts;
};
}
