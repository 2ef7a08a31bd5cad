// A peer in another language, written from the documents, talks to a coordinator.
#include "processes/SiblingProcessFixture.h"

#include <array>
#include <cstdio>

namespace Mrv::Test
{
namespace
{
class PythonPeerTest : public SiblingProcessTest
{
protected:
	// What a command of the shell writes, and its status.
	static std::pair<std::string, int> run(const std::string &command)
	{
		std::FILE *const stream = ::popen(command.c_str(), "r");
		EXPECT_TRUE(stream);
		std::string text;
		std::array<char, 4096> buffer{};
		while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), stream))
		{
			text.append(buffer.data(), size);
		}
		return {text, ::pclose(stream)};
	}
};

TEST_F(PythonPeerTest, ItsPingsComeBack)
{
	ASSERT_NE(Platform::launchProcess({morvane(), "-n", "main", "-s"}), 0U);
	ASSERT_TRUE(waitUntil([&] { return hasPipe("main"); }));
	const std::string large(100'000, 'x');
	const std::string peer = MORVANE_DOCS "/../tests/processes/peer.py";
	const auto [text, status] = run("/usr/bin/python3 '" + peer + "' python main '' 'one - \"two\"\nthree' " + large + " 2>&1");
	EXPECT_EQ(text, "\"\"\n\"one - \\\"two\\\"\\nthree\"\n\"" + large + "\"\n");
	EXPECT_EQ(status, 0);
	EXPECT_FALSE(hasPipe("python"));
}
}
}
