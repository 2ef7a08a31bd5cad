#include "MrvParser/FileSystem/MrvOMFileSystem.h"

#include "MrvParser/Node/MrvIOMNodeIterator.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvUtils/MrvDirs.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace Mrv::Test
{
// Links that lead in a circle end a walk, pipes and devices are never opened.
TEST(OMFileSystemPosixTest, LinksPipesAndDevices)
{
	const std::string folder = Dirs::getTmpPath() + "links";
	ASSERT_TRUE(Dirs::mkDir(folder + "/real", DirRecurse::RECURSE));
	std::filesystem::create_directory_symlink("..", folder + "/real/up");
	std::filesystem::create_directory_symlink("real", folder + "/same");
	ASSERT_EQ(::mkfifo((folder + "/fifo").c_str(), 0600), 0);

	const auto list = OMFileSystem::factory(folder)->getOMNode("fileList");
	EXPECT_EQ(list->getAttributeList(), (std::vector<std::string>{"fifo", "real", "same"}));
	const auto up = list->getOMNode("real")->getOMNode("fileList")->getOMNode("up");
	EXPECT_TRUE(up->getOMNode("isDir")->getBool());
	EXPECT_EQ(up->getOMNode("fileList")->getSize(), 0U);
	EXPECT_EQ(list->getOMNode("same")->getOMNode("fileList")->getSize(), 0U);
	// Named by somebody, a link is followed.
	EXPECT_EQ(OMFileSystem::factory(folder + "/same")->getOMNode("fileList")->getSize(), 1U);

	const auto fifo = list->getOMNode("fifo");
	EXPECT_TRUE(fifo->getOMNode("isPipe")->getBool());
	EXPECT_FALSE(fifo->getOMNode("isFile")->getBool());
	EXPECT_EQ(fifo->getOMNode("contents")->getString(), "");
	EXPECT_LOG("no regular file to read");
	EXPECT_EQ(OMFileSystem::factory("/dev/zero")->getOMNode("contents")->getString(), "");
	EXPECT_LOG("no regular file to read");
	Dirs::rmDir(folder, DirRecurse::RECURSE);
}
}
