#pragma once

#include "MrvObject/MrvHash.h"

#include <deque>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Mrv
{
class GUIDClass;

// What the coordinator has learnt from the senders of messages: which coordinator an object lives in, and what that one is called and on
// which host it is. Hosts are given in their form as keys. It stays within limits: beyond them, what was not heard of for longest goes.
class RoutingTable
{
public:
	// An object of a coordinator has sent a message. An empty name or host changes nothing that is known. A coordinator under the name of
	// another one on the same host is its successor, and all that was known of that one goes.
	void registerSender(GUIDClass *senderGUID, GUIDClass *upstreamGUID, const std::string &hostName, const std::string &coordinatorName);
	// Enters where a coordinator is unless that is known.
	void setHostIfUnknown(GUIDClass *upstreamGUID, const std::string &hostName);
	void clear();
	// Is told of each coordinator that is forgotten, but not when everything is.
	void setForgottenHandler(std::function<void(GUIDClass *upstreamGUID)> handler) { fForgottenHandler = std::move(handler); }

	// The coordinator that an object lives in, null if unknown.
	GUIDClass *getUpstreamOfSender(GUIDClass *senderGUID) const;
	// Of a coordinator; empty if unknown.
	const std::string &getCoordinatorName(GUIDClass *upstreamGUID) const;
	const std::string &getHostName(GUIDClass *upstreamGUID) const;
	// By host and name: the coordinator, and the object in it that has sent last. Null if unknown.
	GUIDClass *getUpstreamGUID(std::string_view hostName, std::string_view coordinatorName) const;
	GUIDClass *getSenderGUID(std::string_view hostName, std::string_view coordinatorName) const;

private:
	struct Coordinator
	{
		std::string hostName;
		std::string name;
		std::deque<GUIDClass *> senders; // the oldest first
		std::list<GUIDClass *>::iterator age;
	};
	struct Named
	{
		GUIDClass *upstream = nullptr;
		GUIDClass *sender = nullptr;
	};

	static std::string keyOf(std::string_view hostName, std::string_view coordinatorName);
	const Coordinator *find(GUIDClass *upstreamGUID) const;
	const Named *findNamed(std::string_view hostName, std::string_view coordinatorName) const;
	Coordinator &enter(GUIDClass *upstreamGUID);
	void enterSender(Coordinator &coordinator, GUIDClass *senderGUID, GUIDClass *upstreamGUID);
	void forget(GUIDClass *upstreamGUID);
	void forgetKey(GUIDClass *upstreamGUID, const Coordinator &coordinator);

	std::unordered_map<GUIDClass *, Coordinator, PointerHash> fCoordinators;
	std::list<GUIDClass *> fByAge; // the one heard of last in front
	std::unordered_map<GUIDClass *, GUIDClass *, PointerHash> fUpstreamBySender;
	std::unordered_map<std::string, Named, StringHash, std::equal_to<>> fNamed;
	std::function<void(GUIDClass *upstreamGUID)> fForgottenHandler;
};
}
