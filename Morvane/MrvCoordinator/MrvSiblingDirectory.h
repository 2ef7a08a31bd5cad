#pragma once

#include "MrvCoordinator/MrvISiblingDirectory.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
// Finds the other coordinators on this machine: by the pipe folder, where each has a proxy file, and by the configuration.
class SiblingDirectory final : public ISiblingDirectory
{
public:
	// Looks everywhere at once for a name that nobody has heard of.
	std::shared_ptr<ISibling> findSibling(const std::string &coordinatorName) override;
	bool isKnownName(const std::string &coordinatorName) const override;
	bool isAliveUnder(const std::string &coordinatorName, GUIDClass *coordinatorGUID) const override;

	// Drops those that have left nothing behind.
	bool scanForActiveSiblings() override;
	// The main coordinator also removes files whose names are none, and what is left of dead coordinators that had no name of their own.
	bool scanForNamedPipeSiblings() override;
	bool scanForConfigSiblings() override;
	bool hasMessagesToSend() const override;
	bool isHoldingSiblingResponsesForTermination() const override;

	// Whether a name may be a coordinator's, which is a file's name too.
	static bool isValidSiblingName(const std::string &siblingName);
	// True when there is a sibling of that name afterwards, and for the own name.
	static bool registerSibling(const std::string &siblingName);
	// Whether it is a name that a coordinator without one gets, which is its process's.
	static bool isTransientName(const std::string &coordinatorName);

private:
	// Whether the time has come; if so the next time is so many microseconds from now.
	static bool isDue(std::int64_t &nextTime, std::int64_t microseconds);
	static void removeRemains(const std::string &coordinatorName);
	void refreshNamedPipes();

	std::int64_t fNextActiveScan = 0;
	std::int64_t fNextNamedPipeScan = 0;
	std::int64_t fNextConfigScan = 0;
	std::int64_t fFolderTime = -1; // the pipe folder's time of change, as last seen
	std::vector<std::string> fNamedPipes;
};
}
