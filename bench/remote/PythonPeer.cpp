#include "PythonPeer.h"

#include "MrvUtils/MrvDirs.h"
#include "transports/Transports.h"

#include <array>
#include <sys/socket.h>
#include <unistd.h>

namespace Mrv::Bench
{
PythonPeer::PythonPeer()
{
	std::array<int, 2> ends{};
	::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data());
	fSocket = ends[0];
	const int other = ends[1];
	fProcess = startPeer(
	    [other, ours = ends[0]]
	    {
		    ::close(ours);
		    const std::string script = Dirs::getAppDirPath() + "morvane-bench-peer.py";
		    ::execlp("python3", "python3", script.c_str(), std::to_string(other).c_str(), nullptr);
	    });
	::close(other);
}

PythonPeer::~PythonPeer()
{
	endPeer(fProcess);
	::close(fSocket);
}

std::string PythonPeer::ask(const std::string &line)
{
	const std::string text = line + '\n';
	::send(fSocket, text.data(), text.size(), MSG_NOSIGNAL);
	std::string answer;
	std::array<char, 256> buffer{};
	while (answer.empty() || answer.back() != '\n')
	{
		const ssize_t size = ::recv(fSocket, buffer.data(), buffer.size(), 0);
		if (size <= 0)
		{
			return {};
		}
		answer.append(buffer.data(), static_cast<std::size_t>(size));
	}
	answer.pop_back();
	return answer;
}
}
