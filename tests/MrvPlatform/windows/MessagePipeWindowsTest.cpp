// Who may use a pipe, and the modes that it is made with.
#include "MrvPlatform/MrvClock.h"
#include "MrvPlatform/MrvMessagePipe.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvPlatform/MrvSleep.h"
#include "MrvPlatform/windows/MrvCommandLineText.h"
#include "MrvPlatform/windows/MrvPipeSecurity.h"
#include "MrvPlatform/windows/MrvWide.h"

#include <gtest/gtest.h>

#include <aclapi.h>
#include <sddl.h>
#include <vector>

namespace Mrv
{
namespace
{
using Platform::PipeOutcome;
namespace Windows = Platform::Windows;

TEST(PipeSecurityWindowsTest, Modes)
{
	EXPECT_EQ(Windows::kInstanceOpenMode, 0x40000001UL);
	EXPECT_EQ(Windows::kInstancePipeMode, 14UL);
	EXPECT_EQ(Windows::kInstanceCount, 255UL);
	EXPECT_EQ(Windows::kInstanceInBufferSize, 4096UL);
	// Overlapped; the server may identify us, not act for us.
	EXPECT_EQ(Windows::kWriterFlags, 0x40000000UL | 0x00100000UL | 0x00010000UL);
}

TEST(PipeSecurityWindowsTest, TheUserAndNobodyElse)
{
	const std::wstring &user = Windows::currentUserSid();
	EXPECT_TRUE(user.starts_with(L"S-1-"));
	EXPECT_EQ(Windows::userSidOf(Platform::currentProcessId()), user);
	EXPECT_EQ(Windows::userSidOf(0xFFFFFFF0), L"");
	EXPECT_EQ(Windows::descriptorFor(L"S-1-5-21-1-2-3-1001"), L"D:P(A;;GA;;;S-1-5-21-1-2-3-1001)");
	EXPECT_TRUE(Windows::isSameUser(user, user));
	EXPECT_FALSE(Windows::isSameUser(user, user + L"1"));
	EXPECT_FALSE(Windows::isSameUser(L"", L""));

	// What the system keeps of it: protected, and one entry, for this user.
	std::unique_ptr<Platform::IPipeInstance> instance;
	ASSERT_EQ(Platform::messagePipes().createInstance("\\\\.\\pipe\\morvane-test-security", instance), PipeOutcome::SUCCESS);
	PSECURITY_DESCRIPTOR descriptor = nullptr;
	PACL accessList = nullptr;
	ASSERT_EQ(::GetSecurityInfo(reinterpret_cast<HANDLE>(instance->nativeHandle()), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
	              nullptr, &accessList, nullptr, &descriptor),
	    static_cast<DWORD>(ERROR_SUCCESS));
	SECURITY_DESCRIPTOR_CONTROL control = 0;
	DWORD revision = 0;
	EXPECT_TRUE(::GetSecurityDescriptorControl(descriptor, &control, &revision));
	EXPECT_NE(control & SE_DACL_PROTECTED, 0);
	ASSERT_TRUE(accessList);
	ASSERT_EQ(accessList->AceCount, 1);
	void *entry = nullptr;
	ASSERT_TRUE(::GetAce(accessList, 0, &entry));
	wchar_t *sid = nullptr;
	ASSERT_TRUE(::ConvertSidToStringSidW(&static_cast<ACCESS_ALLOWED_ACE *>(entry)->SidStart, &sid));
	EXPECT_EQ(static_cast<const ACE_HEADER *>(entry)->AceType, ACCESS_ALLOWED_ACE_TYPE);
	EXPECT_EQ(std::wstring(sid), user);
	::LocalFree(sid);
	::LocalFree(descriptor);
}

TEST(MessagePipeWindowsTest, TheAddressEndsInTheNameOfTheProxyFile)
{
	std::string refusal;
	EXPECT_EQ(Platform::messagePipes().rawPath("C:\\Users\\x\\NamedPipes\\net.morvane.coordinator.a", refusal),
	    "\\\\.\\pipe\\net.morvane.coordinator.a");
	EXPECT_EQ(Platform::messagePipes().rawPath("C:\\", refusal), "");
	EXPECT_NE(refusal, "");
}

TEST(CommandLineWindowsTest, QuotesAndBackslashes)
{
	const std::pair<std::vector<std::string>, std::string> cases[] = {
	    {{"a", "b c"}, R"("a" "b c")"},
	    {{"", "\""}, R"("" "\"")"},
	    {{R"(C:\dir\)", R"(a\b)"}, R"("C:\dir\\" "a\b")"},
	    {{R"(a\"b)", R"(\\x\\)"}, R"("a\\\"b" "\\x\\\\")"},
	};
	for (const auto &[arguments, line] : cases)
	{
		EXPECT_EQ(Windows::commandLineOf(arguments), line);
	}
}

// As many as never fit one wait: those that are always waited on and the newest of the others still end the sleep.
TEST(SleepWindowsTest, MoreHandlesThanOneWaitTakes)
{
	std::vector<HANDLE> events;
	std::vector<Platform::WakeSourceId> sources;
	for (int i = 0; i < 100; ++i)
	{
		events.push_back(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
		const auto rank = i == 0 ? Platform::WakeRank::ALWAYS : Platform::WakeRank::WHILE_THERE_IS_ROOM;
		sources.push_back(
		    Platform::registerWakeSource(reinterpret_cast<Platform::NativeHandle>(events.back()), Platform::WakeOn::READABLE, rank));
	}
	constexpr std::int64_t SECOND = 1'000'000'000;
	const auto sleepFor = [](std::int64_t duration)
	{
		const std::int64_t start = Platform::steadyNanoseconds();
		Platform::sleepUntil(start + duration);
		return Platform::steadyNanoseconds() - start;
	};
	for (const std::size_t i : {std::size_t{0}, std::size_t{99}, std::size_t{60}})
	{
		::SetEvent(events[i]);
		EXPECT_LT(sleepFor(20 * SECOND), 10 * SECOND) << i;
		::ResetEvent(events[i]);
	}
	::SetEvent(events[1]); // finds no room
	EXPECT_GE(sleepFor(SECOND / 50), SECOND / 100);
	for (std::size_t i = 0; i < events.size(); ++i)
	{
		Platform::unregisterWakeSource(sources[i]);
		::CloseHandle(events[i]);
	}
}
}
}
