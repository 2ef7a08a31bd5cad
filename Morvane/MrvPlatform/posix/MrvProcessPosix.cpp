#include "MrvPlatform/MrvProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <unistd.h>

namespace Mrv::Platform
{
namespace
{
// The state letter of a process, which stands behind its name in brackets; the name may hold brackets of its own. 0 when unknown.
char processState(ProcessId processId)
{
	const std::string path = "/proc/" + std::to_string(processId) + "/stat";
	std::FILE *const file = std::fopen(path.c_str(), "re");
	if (!file)
	{
		return 0;
	}
	std::array<char, 256> buffer{};
	const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), file);
	std::fclose(file);
	const std::string_view text(buffer.data(), size);
	const std::size_t nameEnd = text.rfind(')');
	return nameEnd != std::string_view::npos && nameEnd + 2 < size ? text[nameEnd + 2] : '\0';
}
}

ProcessId currentProcessId()
{
	return static_cast<ProcessId>(::getpid());
}

bool isProcessRunning(ProcessId processId)
{
	if (processId == 0 || processId > static_cast<ProcessId>(std::numeric_limits<pid_t>::max()))
	{
		return false;
	}
	if (::kill(static_cast<pid_t>(processId), 0) != 0 && errno != EPERM)
	{
		return false;
	}
	const char state = processState(processId);
	return state != 'Z' && state != 'X';
}
}
