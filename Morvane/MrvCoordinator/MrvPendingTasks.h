#pragma once

#include "MrvCoordinator/MrvRemoteRequestTask.h"
#include "MrvObject/MrvHash.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace Mrv
{
class GUIDClass;

// The requests of this coordinator that wait for answers, by their numbers, which are given from 1 upwards; its own session id, one for
// each run; and the sessions that services have opened for it.
class PendingTasks
{
public:
	// Gives the task its numbers and keeps it in mind. Not owned.
	void enter(const std::shared_ptr<RemoteRequestTask> &task);
	// The task that a number belongs to; null when it doesn't wait any more.
	std::shared_ptr<RemoteRequestTask> find(const std::optional<OMInt> &clientNumber) const;
	// Does nothing when it is gone.
	void remove(const RemoteRequestTask &task);
	std::size_t size() const { return fTasks.size(); }

	GUIDClass *getClientSession();
	void learnServiceSession(const std::string &targetURL, GUIDClass *serviceSession);
	void forgetServiceSession(const std::string &targetURL) { fServiceSessions.erase(targetURL); }

	// Forgets everything; numbers go on.
	void clear();

private:
	std::unordered_map<OMInt, std::weak_ptr<RemoteRequestTask>, IntegerHash> fTasks;
	OMInt fLastNumber = 0;
	GUIDClass *fClientSession = nullptr;
	std::unordered_map<std::string, GUIDClass *, StringHash, std::equal_to<>> fServiceSessions;
};
}
