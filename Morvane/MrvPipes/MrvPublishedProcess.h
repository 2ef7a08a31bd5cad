#pragma once

#include <cstdint>
#include <string>

namespace Mrv
{
// The process that serves under a coordinator's name, as it has published itself in two files of the session data folder:
//
//   <name>.session   an INI file with the name, the process's id, its start token and its GUID
//   <name>.pid       the id alone, in decimal; written last, so whoever sees it sees the other
//
// Both are written beside and moved into place. A pid file without a session file, or without a token in it, is believed as it stands.
class PublishedProcess
{
public:
	// What others see of a name. All empty when nothing is published.
	struct Publication
	{
		std::uint32_t processId = 0;
		std::string startToken;
		std::string guid;

		bool isPublished() const { return processId != 0; }
		// Whether that very process lives.
		bool isAlive() const;
		// Whether it was published by another machine that shares the folder.
		bool isOfAnotherMachine() const;
	};

	// `folder` ends in a separator.
	PublishedProcess(const std::string &folder, const std::string &coordinatorName);

	const std::string &getPidFilePath() const { return fPidFilePath; }

	// Publishes the present process. False, after a log line, when the files can't be written.
	bool publish(const std::string &guid) const;

	Publication read() const { return read(fPidFilePath); }

	// The process's id if it lives. What a dead one has left is removed; not what another machine has.
	std::uint32_t findRunning() const;

	// Takes back what this process has published; files of others stay. True when nothing of ours is left.
	bool withdraw() const;

	// The same operations for the path of a pid file.
	static Publication read(const std::string &pidFilePath);
	static void removeDead(const std::string &pidFilePath);

private:
	std::string fCoordinatorName;
	std::string fPidFilePath;
};
}
