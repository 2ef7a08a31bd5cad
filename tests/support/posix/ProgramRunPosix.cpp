#include "support/ProgramRun.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Mrv::Test
{
namespace
{
constexpr auto LONGEST = std::chrono::seconds(90);

// Takes what there is; false at the end.
bool take(int descriptor, std::string &text)
{
	char bytes[4096];
	const ssize_t count = read(descriptor, bytes, sizeof bytes);
	if (count > 0)
	{
		text.append(bytes, static_cast<size_t>(count));
	}
	return count > 0;
}

void takeAll(pid_t process, int output, int errors, ProgramRun &run)
{
	const auto end = std::chrono::steady_clock::now() + LONGEST;
	pollfd streams[] = {{output, POLLIN, 0}, {errors, POLLIN, 0}};
	std::string *texts[] = {&run.output, &run.errors};
	while (streams[0].fd >= 0 || streams[1].fd >= 0)
	{
		const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
		if (left <= 0 || poll(streams, 2, static_cast<int>(left)) == 0)
		{
			kill(process, SIGKILL);
			return;
		}
		for (int i = 0; i < 2; ++i)
		{
			if (streams[i].revents != 0 && !take(streams[i].fd, *texts[i]))
			{
				streams[i].fd = -1;
			}
		}
	}
}
}

ProgramRun runProgram(const std::vector<std::string> &arguments)
{
	ProgramRun run;
	std::vector<std::string> words = arguments;
	std::vector<char *> argv;
	argv.reserve(words.size() + 1);
	for (std::string &word : words)
	{
		argv.push_back(word.data());
	}
	argv.push_back(nullptr);
	int output[2];
	int errors[2];
	if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0)
	{
		return run;
	}
	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
	posix_spawn_file_actions_adddup2(&actions, output[1], 1);
	posix_spawn_file_actions_adddup2(&actions, errors[1], 2);
	pid_t process = 0;
	const bool isStarted = posix_spawn(&process, argv[0], &actions, nullptr, argv.data(), environ) == 0;
	posix_spawn_file_actions_destroy(&actions);
	close(output[1]);
	close(errors[1]);
	if (isStarted)
	{
		takeAll(process, output[0], errors[0], run);
		int status = 0;
		waitpid(process, &status, 0);
		run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
	}
	close(output[0]);
	close(errors[0]);
	return run;
}
}
