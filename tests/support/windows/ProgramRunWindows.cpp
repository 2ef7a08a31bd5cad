#include "support/ProgramRun.h"

#include "MrvPlatform/windows/MrvCommandLineText.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Mrv::Test
{
namespace
{
constexpr DWORD LONGEST = 90'000; // milliseconds

// A stream of the program, kept in a file for as long as it runs. Each has a name of its own: a program that opens a window under Wine may
// start the desktop, which inherits the handle and lives on for a while.
class StreamFile
{
public:
	StreamFile()
	{
		static unsigned sCount = 0;
		fPath = std::filesystem::temp_directory_path() / ("morvane-run-" + std::to_string(++sCount) + ".txt");
		SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
		fHandle = CreateFileW(fPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
	}
	~StreamFile()
	{
		std::error_code ignored;
		std::filesystem::remove(fPath, ignored);
	}
	StreamFile(const StreamFile &) = delete;
	StreamFile &operator=(const StreamFile &) = delete;

	HANDLE getHandle() const { return fHandle; }
	std::string take()
	{
		CloseHandle(fHandle);
		std::ostringstream text;
		text << std::ifstream(fPath, std::ios::binary).rdbuf();
		return text.str();
	}

private:
	std::filesystem::path fPath;
	HANDLE fHandle;
};
}

ProgramRun runProgram(const std::vector<std::string> &arguments)
{
	ProgramRun run;
	StreamFile output;
	StreamFile errors;
	STARTUPINFOW startup{};
	startup.cb = sizeof startup;
	startup.dwFlags = STARTF_USESTDHANDLES;
	startup.hStdOutput = output.getHandle();
	startup.hStdError = errors.getHandle();
	PROCESS_INFORMATION process{};
	std::wstring line = Platform::Windows::toWide(Platform::Windows::commandLineOf(arguments)).value_or(L"");
	if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
	{
		DWORD status = 0;
		const bool hasEnded = WaitForSingleObject(process.hProcess, LONGEST) == WAIT_OBJECT_0;
		if (!hasEnded)
		{
			TerminateProcess(process.hProcess, 1);
			WaitForSingleObject(process.hProcess, LONGEST);
		}
		GetExitCodeProcess(process.hProcess, &status);
		run.status = hasEnded ? static_cast<int>(status) : -1;
		CloseHandle(process.hThread);
		CloseHandle(process.hProcess);
	}
	run.output = output.take();
	run.errors = errors.take();
	return run;
}
}
