#pragma once

#include <string>

namespace Mrv::Bench
{
// A Python process that runs lines, and the socket to it. Both end with this object.
class PythonPeer
{
public:
	PythonPeer();
	~PythonPeer();
	PythonPeer(const PythonPeer &) = delete;
	PythonPeer &operator=(const PythonPeer &) = delete;

	// Has a line run that sets `result`, and gives that as text. Empty when the process has died.
	std::string ask(const std::string &line);

private:
	int fSocket = -1;
	int fProcess = 0;
};
}
