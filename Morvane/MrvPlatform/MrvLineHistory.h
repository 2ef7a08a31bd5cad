#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Mrv::Platform
{
// The lines that were typed, oldest first; with a file, across sessions. Bounded: the oldest go.
class LineHistory
{
public:
	static constexpr size_t MAX_LINES = 1000;
	static constexpr size_t MAX_LINE_SIZE = 10000; // bytes; a longer line isn't remembered

	// Keeps the lines in this file from now on and takes over those that are there. Empty: in memory alone.
	void useFile(const std::string &path);
	// Remembers a line, unless it is blank or the same as the last one. The file is written anew beside and moved into place, with what
	// other sessions have added meanwhile. A file that can't be written is no reason to complain: the session goes on without.
	void add(const std::string &line);

	size_t size() const { return fLines.size(); }
	const std::string &operator[](size_t index) const { return fLines[index]; }

private:
	static void append(std::vector<std::string> &lines, const std::string &line);
	std::vector<std::string> readFile() const;
	void writeFile(const std::vector<std::string> &lines) const;

	std::string fPath;
	std::vector<std::string> fLines;
};
}
