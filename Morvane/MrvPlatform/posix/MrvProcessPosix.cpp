// Processes as /proc shows them.
#include "MrvPlatform/MrvProcess.h"

#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvLasting.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <spawn.h>
#include <string_view>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv::Platform
{
namespace
{
// The beginning of a small file, without what stands at its end to close the line.
std::string readBeginning(const std::string &path)
{
	std::FILE *const file = std::fopen(path.c_str(), "re");
	if (!file)
	{
		return {};
	}
	std::array<char, 1024> buffer{};
	std::string text(buffer.data(), std::fread(buffer.data(), 1, buffer.size(), file));
	std::fclose(file);
	while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
	{
		text.pop_back();
	}
	return text;
}

// One field of a process's line in /proc, counted from 1 as the manual does, from 3 upward. They stand behind the name in brackets, which
// may hold brackets and blanks of its own. Empty when there is no such process.
std::string statField(ProcessId processId, int wanted)
{
	const std::string text = readBeginning("/proc/" + std::to_string(processId) + "/stat");
	std::size_t start = text.rfind(')');
	for (int field = 2; field < wanted && start != std::string::npos; ++field)
	{
		start = text.find(' ', start + 1);
	}
	if (start == std::string::npos)
	{
		return {};
	}
	return text.substr(start + 1, text.find(' ', start + 1) - start - 1);
}

std::string lower(std::string text)
{
	std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
	return text;
}

// Those that `launchProcess` started and whose end nobody has taken note of.
std::vector<pid_t> &launchedProcesses()
{
	static auto &sProcesses = makeLasting<std::vector<pid_t>>();
	return sProcesses;
}

void reapEndedProcesses()
{
	// One by one: a host may wait for children of its own.
	std::erase_if(launchedProcesses(), [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; });
}

// The name of the file that a process runs.
std::string programName(const std::string &processId)
{
	std::array<char, PATH_MAX> path{};
	const ssize_t size = ::readlink(("/proc/" + processId + "/exe").c_str(), path.data(), path.size());
	if (size <= 0)
	{
		return readBeginning("/proc/" + processId + "/comm"); // not ours to look into: at least its first letters
	}
	const std::string_view text(path.data(), static_cast<std::size_t>(size));
	return std::string(text.substr(text.rfind('/') + 1));
}

// What `posix_spawn` is told about the process to be.
class SpawnPlan
{
public:
	SpawnPlan()
	{
		fIsComplete = ::posix_spawn_file_actions_init(&fActions) == 0 && ::posix_spawnattr_init(&fAttributes) == 0;
		for (const auto &[stream, mode] :
		    {std::pair(STDIN_FILENO, O_RDONLY), std::pair(STDOUT_FILENO, O_WRONLY), std::pair(STDERR_FILENO, O_WRONLY)})
		{
			fIsComplete = fIsComplete && ::posix_spawn_file_actions_addopen(&fActions, stream, "/dev/null", mode, 0) == 0;
		}
		// A host's descriptors needn't be close-on-exec.
		fIsComplete = fIsComplete && ::posix_spawn_file_actions_addclosefrom_np(&fActions, STDERR_FILENO + 1) == 0;
		// Ignored and blocked signals would be handed down.
		sigset_t all;
		sigset_t none;
		::sigfillset(&all);
		::sigemptyset(&none);
		fIsComplete = fIsComplete && ::posix_spawnattr_setsigdefault(&fAttributes, &all) == 0 &&
		              ::posix_spawnattr_setsigmask(&fAttributes, &none) == 0 &&
		              ::posix_spawnattr_setflags(&fAttributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK) == 0;
	}
	SpawnPlan(const SpawnPlan &) = delete;
	SpawnPlan &operator=(const SpawnPlan &) = delete;
	~SpawnPlan()
	{
		::posix_spawn_file_actions_destroy(&fActions);
		::posix_spawnattr_destroy(&fAttributes);
	}

	bool spawn(std::vector<char *> &arguments, pid_t &process) const
	{
		return fIsComplete && ::posix_spawn(&process, arguments.front(), &fActions, &fAttributes, arguments.data(), environ) == 0;
	}

private:
	posix_spawn_file_actions_t fActions{};
	posix_spawnattr_t fAttributes{};
	bool fIsComplete = false;
};
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
	reapEndedProcesses();
	if (::kill(static_cast<pid_t>(processId), 0) != 0 && errno != EPERM)
	{
		return false;
	}
	const std::string state = statField(processId, 3);
	return state != "Z" && state != "X";
}

// Like what it is made from, asked for until the very end of a coordinator.
const std::string &machineId()
{
	static const std::string &sId = makeLasting<std::string>() = []
	{
		for (const char *const path : {"/etc/machine-id", "/var/lib/dbus/machine-id"})
		{
			std::string id = readBeginning(path);
			if (!id.empty() && id.find_first_of("/ \n") == std::string::npos)
			{
				return id;
			}
		}
		utsname names{};
		return ::uname(&names) == 0 ? std::string(static_cast<const char *>(names.nodename)) : std::string("unknown");
	}();
	return sId;
}

std::string processStartToken(ProcessId processId)
{
	constexpr int START_TICKS_FIELD = 22;
	static const std::string &sBootId = makeLasting<std::string>() = readBeginning("/proc/sys/kernel/random/boot_id");
	const std::string ticks = statField(processId, START_TICKS_FIELD);
	return sBootId.empty() || ticks.empty() ? std::string() : machineId() + '/' + sBootId + '/' + ticks;
}

ProcessId findProcess(const std::string &name)
{
	const std::string wanted = lower(name);
	std::vector<std::string> names;
	listDirectory("/proc", names);
	for (const std::string &processId : names)
	{
		if (processId.find_first_not_of("0123456789") == std::string::npos && lower(programName(processId)) == wanted)
		{
			const auto found = static_cast<ProcessId>(std::strtoul(processId.c_str(), nullptr, 10));
			if (isProcessRunning(found))
			{
				return found;
			}
		}
	}
	return 0;
}

ProcessId launchProcess(const std::vector<std::string> &arguments)
{
	reapEndedProcesses();
	std::vector<std::string> texts = arguments;
	std::vector<char *> pointers;
	for (std::string &text : texts)
	{
		if (text.find('\0') != std::string::npos)
		{
			return 0;
		}
		pointers.push_back(text.data());
	}
	pointers.push_back(nullptr);
	pid_t process = 0;
	if (texts.empty() || texts.front().empty() || !SpawnPlan().spawn(pointers, process))
	{
		return 0;
	}
	launchedProcesses().push_back(process);
	return static_cast<ProcessId>(process);
}
}
