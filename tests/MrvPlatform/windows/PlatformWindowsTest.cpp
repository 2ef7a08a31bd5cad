#include "MrvPlatform/MrvArguments.h"
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvConsole.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvModulePath.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvSignals.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvPlatform/MrvSystemConsole.h"
#include "MrvPlatform/windows/MrvWide.h"
#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>
#include <thread>

namespace Mrv
{
namespace
{
using Platform::InputState;
using Platform::StandardStream;
using Platform::WriteOutcome;

constexpr std::int64_t kSecond = 1'000'000'000;

// Puts a handle in a standard stream's place as long as it lives.
class StandardHandle
{
public:
	StandardHandle(DWORD which, HANDLE handle) : fWhich(which), fSaved(::GetStdHandle(which)) { ::SetStdHandle(which, handle); }
	StandardHandle(const StandardHandle &) = delete;
	StandardHandle &operator=(const StandardHandle &) = delete;
	~StandardHandle() { ::SetStdHandle(fWhich, fSaved); }

private:
	DWORD fWhich;
	HANDLE fSaved;
};

TEST(SignalsWindowsTest, AnEventIsNotedAndEndsTheSleep)
{
	const std::pair<DWORD, int> expected[] = {{CTRL_C_EVENT, SIGINT}, {CTRL_BREAK_EVENT, SIGTERM}};
	for (const auto &[event, number] : expected)
	{
		Platform::resetOrderlyEnd();
		EXPECT_TRUE(Platform::handleEndRequest(event));
		EXPECT_EQ(Platform::pendingSignal(), number);
		const std::int64_t start = Platform::steadyNanoseconds();
		Platform::sleepUntil(start + 20 * kSecond);
		EXPECT_LT(Platform::steadyNanoseconds() - start, 10 * kSecond);
	}
	Platform::resetOrderlyEnd();
	EXPECT_FALSE(Platform::handleEndRequest(77));
	EXPECT_EQ(Platform::pendingSignal(), 0);
}

TEST(SignalsWindowsTest, InterruptsAreTakenWhileSomebodyDoes)
{
	Platform::resetOrderlyEnd();
	Platform::setInterruptsAreTaken(true);
	for (int round = 0; round < 5; ++round)
	{
		EXPECT_TRUE(Platform::handleEndRequest(CTRL_C_EVENT));
		EXPECT_EQ(Platform::pendingSignal(), 0);
		EXPECT_TRUE(Platform::takeInterrupt());
		EXPECT_FALSE(Platform::takeInterrupt());
	}
	// Nobody takes them: the third asks for the end.
	for (const int expected : {0, 0, SIGINT})
	{
		EXPECT_TRUE(Platform::handleEndRequest(CTRL_C_EVENT));
		EXPECT_EQ(Platform::pendingSignal(), expected);
	}
	Platform::resetOrderlyEnd();
	Platform::sleepUntil(Platform::steadyNanoseconds()); // nothing is to wake the next test's sleep
}

TEST(SignalsWindowsTest, ClosingWaitsForMainButNotForEver)
{
	for (const DWORD event : {DWORD{CTRL_CLOSE_EVENT}, DWORD{CTRL_LOGOFF_EVENT}, DWORD{CTRL_SHUTDOWN_EVENT}})
	{
		Platform::resetOrderlyEnd();
		std::thread handler([event] { EXPECT_TRUE(Platform::handleEndRequest(event)); });
		while (Platform::pendingSignal() == 0)
		{
			std::this_thread::yield();
		}
		EXPECT_EQ(Platform::pendingSignal(), event == CTRL_CLOSE_EVENT ? 1 : SIGTERM);
		Platform::orderlyEndReached();
		handler.join();
	}
	Platform::resetOrderlyEnd();
	const std::int64_t start = Platform::steadyNanoseconds();
	EXPECT_TRUE(Platform::handleEndRequest(CTRL_CLOSE_EVENT));
	const std::int64_t waited = Platform::steadyNanoseconds() - start;
	EXPECT_GE(waited, 3 * kSecond);
	EXPECT_LE(waited, 5 * kSecond);
	Platform::resetOrderlyEnd();
	Platform::wake();
	Platform::sleepUntil(Platform::steadyNanoseconds() + kSecond);
}

// Not run by itself: the test below starts it in a process of its own.
TEST(SignalsWindowsTest, DISABLED_TwoEvents)
{
	Platform::handleEndRequest(CTRL_C_EVENT);
	Platform::handleEndRequest(CTRL_C_EVENT);
	FAIL();
}

TEST(SignalsWindowsTest, TheSecondEventEndsTheProcess)
{
	const std::optional<std::string> program = Platform::modulePath();
	ASSERT_TRUE(program);
	std::wstring commandLine = L"\"" + *Platform::Windows::toWide(*program) +
	                           L"\" --gtest_also_run_disabled_tests --gtest_filter=SignalsWindowsTest.DISABLED_TwoEvents";
	STARTUPINFOW startup{};
	startup.cb = sizeof(startup);
	PROCESS_INFORMATION process{};
	ASSERT_TRUE(::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
	EXPECT_TRUE(Platform::isProcessRunning(process.dwProcessId));
	EXPECT_EQ(::WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
	DWORD exitCode = 0;
	EXPECT_TRUE(::GetExitCodeProcess(process.hProcess, &exitCode));
	EXPECT_EQ(exitCode, DWORD{128 + SIGINT});
	EXPECT_FALSE(Platform::isProcessRunning(process.dwProcessId));
	::CloseHandle(process.hThread);
	::CloseHandle(process.hProcess);
}

TEST(ConsoleWindowsTest, APipeIsReadWithoutWaiting)
{
	HANDLE readEnd = nullptr;
	HANDLE writeEnd = nullptr;
	ASSERT_TRUE(::CreatePipe(&readEnd, &writeEnd, nullptr, 0));
	const StandardHandle input(STD_INPUT_HANDLE, readEnd);
	Platform::IConsole &console = Platform::Detail::systemConsole();
	EXPECT_EQ(console.pollInput(), InputState::NOTHING_YET);
	console.setInputWakesSleep(true);
	DWORD written = 0;
	ASSERT_TRUE(::WriteFile(writeEnd, "a\r\nb", 4, &written, nullptr));
	const std::int64_t start = Platform::steadyNanoseconds();
	Platform::sleepUntil(start + 20 * kSecond);
	EXPECT_LT(Platform::steadyNanoseconds() - start, 10 * kSecond);
	console.setInputWakesSleep(false);
	std::string bytes;
	EXPECT_EQ(console.readInput(bytes, 100), InputState::READY);
	EXPECT_EQ(bytes, "a\r\nb");
	EXPECT_EQ(console.pollInput(), InputState::NOTHING_YET);
	::CloseHandle(readEnd);
	::CloseHandle(writeEnd);
}

TEST(ConsoleWindowsTest, ErrorOutputToAClosedPipe)
{
	HANDLE readEnd = nullptr;
	HANDLE writeEnd = nullptr;
	ASSERT_TRUE(::CreatePipe(&readEnd, &writeEnd, nullptr, 0));
	const StandardHandle output(STD_ERROR_HANDLE, writeEnd);
	Platform::IConsole &console = Platform::Detail::systemConsole();
	EXPECT_EQ(console.write(StandardStream::ERROR_OUTPUT, "read\n"), WriteOutcome::WRITTEN);
	::CloseHandle(readEnd);
	EXPECT_EQ(console.write(StandardStream::ERROR_OUTPUT, "not read\n"), WriteOutcome::CLOSED_PIPE);
	::CloseHandle(writeEnd);
	EXPECT_EQ(console.write(StandardStream::ERROR_OUTPUT, "nowhere\n"), WriteOutcome::FAILED);
}

TEST(SleepWindowsTest, AHandleEndsTheSleep)
{
	const HANDLE event = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
	const Platform::WakeSourceId source = Platform::registerWakeSource(reinterpret_cast<Platform::NativeHandle>(event));
	const std::int64_t start = Platform::steadyNanoseconds();
	Platform::sleepUntil(start + 20 * kSecond);
	EXPECT_LT(Platform::steadyNanoseconds() - start, 10 * kSecond);
	Platform::unregisterWakeSource(source);
	::CloseHandle(event);
}

TEST(FileSystemWindowsTest, NamedPipesAreSeenWithoutConnecting)
{
	const HANDLE pipe = ::CreateNamedPipeW(
	    L"\\\\.\\pipe\\morvane-test-pipe", PIPE_ACCESS_INBOUND, PIPE_TYPE_MESSAGE, PIPE_UNLIMITED_INSTANCES, 64, 64, 0, nullptr);
	ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
	EXPECT_EQ(Platform::fileInfo("\\\\.\\pipe\\morvane-test-pipe").kind, Platform::FileKind::PIPE);
	EXPECT_EQ(Platform::fileInfo("\\\\.\\pipe\\morvane-test-nothing").kind, Platform::FileKind::NONE);
	DWORD available = 0;
	EXPECT_FALSE(::PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr));
	EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BAD_PIPE));
	::CloseHandle(pipe);
}

TEST(WideTest, ConvertsAndRefuses)
{
	EXPECT_EQ(Platform::Windows::toUtf8(L"J\u00FCrgen \u65E5\u672C \U0001F600"), "Jürgen 日本 😀");
	EXPECT_EQ(Platform::Windows::toWide("Jürgen 日本 😀"), L"J\u00FCrgen \u65E5\u672C \U0001F600");
	EXPECT_EQ(Platform::Windows::toWide("\xC3"), std::nullopt);
	EXPECT_EQ(Platform::Windows::toWide(""), L"");
	EXPECT_EQ(Platform::Windows::toWidePath("a/b"), L"a\\b");
	EXPECT_TRUE(Platform::Windows::toWidePath(std::string(300, 'x'))->starts_with(L"\\\\?\\"));
	const std::vector<std::string> arguments = Platform::processArguments(0, nullptr);
	ASSERT_FALSE(arguments.empty());
	EXPECT_NE(arguments.front().find("morvane-tests"), std::string::npos);
}

TEST(DirsWindowsTest, EitherSeparatorIsARoot)
{
	EXPECT_EQ(Dirs::fullPath("/missing/x"), "/missing/x");
	EXPECT_EQ(Dirs::fullPath("C:/missing"), "C:/missing");
	EXPECT_EQ(Dirs::fullPath("missing"), Dirs::getCurrentDir() + "missing");
}

TEST(FileSystemWindowsTest, AFileThatIsHeldOpenIsWaitedFor)
{
	const std::string folder = Dirs::getTmpPath();
	const std::string from = folder + "rename-from";
	const std::string to = folder + "rename-to";
	const auto write = [](const std::string &path) { EXPECT_TRUE(Dirs::replaceFile(path, "text")); };
	// Held for a part of the time that the operation waits, or beyond it.
	const auto whileHeld = [&to](bool isReleased, const std::function<bool()> &operation)
	{
		const HANDLE held =
		    ::CreateFileW(Platform::Windows::toWide(to)->c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
		ASSERT_NE(held, INVALID_HANDLE_VALUE);
		std::thread releaser(
		    [&]
		    {
			    if (isReleased)
			    {
				    ::Sleep(30);
				    ::CloseHandle(held);
			    }
		    });
		EXPECT_EQ(operation(), isReleased);
		releaser.join();
		if (!isReleased)
		{
			::CloseHandle(held);
		}
	};
	for (const bool isReleased : {true, false})
	{
		SCOPED_TRACE(isReleased);
		write(from);
		write(to);
		whileHeld(isReleased, [&] { return Platform::renameReplacing(from, to); });
		EXPECT_EQ(Dirs::fileExists(from), !isReleased);
		whileHeld(isReleased, [&] { return Platform::removeFile(to); });
		EXPECT_EQ(Dirs::fileExists(to), !isReleased);
	}
	// Neither a folder nor a missing file is waited for.
	const std::int64_t start = Platform::steadyNanoseconds();
	EXPECT_FALSE(Platform::renameReplacing(from, folder));
	EXPECT_FALSE(Platform::renameReplacing(from + "-missing", to));
	EXPECT_FALSE(Platform::removeFile(folder));
	EXPECT_FALSE(Platform::removeFile(from + "-missing"));
	EXPECT_LT(Platform::steadyNanoseconds() - start, 10 * kSecond);
	Platform::removeFile(from);
	Platform::removeFile(to);
}
}
}
