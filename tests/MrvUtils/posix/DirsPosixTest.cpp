#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace Mrv
{
namespace
{
class DirsPosixTest : public testing::Test
{
protected:
	void SetUp() override { ASSERT_TRUE(Dirs::mkDir(fTop, DirRecurse::NO_RECURSE)); }
	void TearDown() override { EXPECT_TRUE(Dirs::rmDir(fTop, DirRecurse::RECURSE)); }

	std::string fTop = Dirs::getTmpPath() + "dirs test/";
};

TEST_F(DirsPosixTest, LinksAreRemovedAndNotFollowed)
{
	ASSERT_TRUE(Dirs::mkDir(fTop + "kept/inner", DirRecurse::RECURSE));
	ASSERT_TRUE(Dirs::mkDir(fTop + "tree", DirRecurse::NO_RECURSE));
	ASSERT_EQ(::symlink((fTop + "kept").c_str(), (fTop + "tree/link").c_str()), 0);
	ASSERT_EQ(::symlink("../kept", (fTop + "tree/relative").c_str()), 0);
	ASSERT_EQ(::symlink("nothing", (fTop + "tree/dangling").c_str()), 0);
	ASSERT_EQ(::symlink((fTop + "kept").c_str(), (fTop + "link").c_str()), 0);
	EXPECT_TRUE(Dirs::dirExists(fTop + "link/"));
	EXPECT_TRUE(Dirs::rmDir(fTop + "tree", DirRecurse::RECURSE));
	EXPECT_TRUE(Dirs::rmDir(fTop + "link/", DirRecurse::RECURSE));
	EXPECT_EQ(Dirs::scanDir(fTop), std::vector<std::string>{"kept"});
	EXPECT_TRUE(Dirs::dirExists(fTop + "kept/inner"));
}

TEST_F(DirsPosixTest, FoldersAreForTheOwnerAlone)
{
	ASSERT_TRUE(Dirs::mkDir(fTop + "a/b", DirRecurse::RECURSE));
	for (const char *const name : {"a", "a/b"})
	{
		struct stat status
		{
		};
		ASSERT_EQ(::stat((fTop + name).c_str(), &status), 0);
		EXPECT_EQ(status.st_mode & 0777U, 0700U);
	}
}

TEST_F(DirsPosixTest, PipesAreNoFiles)
{
	const std::string path = fTop + "fifo";
	ASSERT_EQ(::mkfifo(path.c_str(), S_IRWXU), 0);
	EXPECT_TRUE(Dirs::exists(path));
	EXPECT_FALSE(Dirs::fileExists(path));
	EXPECT_EQ(Platform::fileInfo(path).kind, Platform::FileKind::PIPE);
}

// A separator of the other system is a character like any other when nobody says that it separates.
TEST_F(DirsPosixTest, ABackslashInAName)
{
	ASSERT_TRUE(Dirs::mkDir(fTop + "a\\b", DirRecurse::RECURSE));
	EXPECT_EQ(Dirs::scanDir(fTop), std::vector<std::string>{"a\\b"});
	EXPECT_EQ(Dirs::getParentPath(fTop + "a\\b"), fTop);
}
}
}
