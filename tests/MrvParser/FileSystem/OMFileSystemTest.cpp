#include "MrvParser/FileSystem/MrvOMFileSystem.h"

#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvIOMNodeIterator.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"
#include "support/MrvTestCoordinator.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv::Test
{
namespace
{
class OMFileSystemTest : public testing::Test
{
protected:
	OMFileSystemTest() : fFolder(Dirs::getTmpPath() + "tree" + Platform::pathSeparator())
	{
		Dirs::mkDir(fFolder + "2024", DirRecurse::RECURSE);
		write("b.txt", "text");
		write("2024/c.txt", "");
	}
	~OMFileSystemTest() override { Dirs::rmDir(fFolder, DirRecurse::RECURSE); }

	void write(const std::string &name, const std::string &text)
	{
		std::FILE *file = Platform::openFile(fFolder + name, Platform::OpenMode::WRITE);
		ASSERT_TRUE(file);
		std::fwrite(text.data(), 1, text.size(), file);
		std::fclose(file);
	}

	static std::string keysOf(IOMNode &node)
	{
		std::string keys;
		for (const auto iterator = node.getNodeIterator(); !iterator->isEnd(); iterator->next())
		{
			EXPECT_EQ(iterator->getIndex(), -1);
			EXPECT_EQ(iterator->getValue(), node.getOMNode(iterator->getKey()));
			keys += iterator->getKey() + " ";
		}
		return keys;
	}

	std::string fFolder;
};

TEST_F(OMFileSystemTest, OffersWhatThereIs)
{
	const auto folder = OMFileSystem::factory(fFolder);
	EXPECT_EQ(keysOf(*folder), "name path isDir isFile isPipe fileList ");
	EXPECT_EQ(folder->getSize(), 6U);
	const auto list = folder->getOMNode("fileList");
	EXPECT_EQ(keysOf(*list), "2024 b.txt ");
	EXPECT_EQ(list->getOMNode("2024")->getOMNode("path")->getString(), fFolder + "2024");
	EXPECT_EQ(keysOf(*list->getOMNode("b.txt")), "name path isDir isFile isPipe fileSize contents ");
	EXPECT_EQ(keysOf(*OMFileSystem::factory(fFolder + "nothing")), "name path isDir isFile isPipe ");
}

TEST_F(OMFileSystemTest, TellsTypesWithoutReading)
{
	const auto file = OMFileSystem::factory(fFolder + "b.txt");
	EXPECT_EQ(file->getType(), OMType::Map);
	EXPECT_EQ(file->getType("contents"), OMType::String);
	EXPECT_EQ(file->getType("fileList"), OMType::Map);
	EXPECT_EQ(file->getType("isDir"), OMType::Bool);
	EXPECT_EQ(file->getType("none"), OMType::Undefined);
	EXPECT_EQ(file->getType(size_t{0}), OMType::Undefined);
	write("b.txt", "changed after the types were told");
	EXPECT_EQ(file->getOMNode("contents")->getString(), "changed after the types were told");
	EXPECT_EQ(file->getOMNode("contents"), file->getOMNode("contents"));
	EXPECT_FALSE(file->getOMNode(size_t{0}));
	EXPECT_FALSE(OMFileSystem::factory(fFolder)->getOMNode("fileList")->getOMNode("B.TXT"));
}

TEST_F(OMFileSystemTest, RefusesEachChange)
{
	const auto file = OMFileSystem::factory(fFolder + "b.txt");
	std::shared_ptr<IOMNode> value;
	for (const AccessType accessType : {AccessType::SET, AccessType::GET_CREATE})
	{
		bool success = true;
		file->accessOMNodeResolved_yielding(nullptr, success, nullptr, nullptr, accessType, "name", value);
		EXPECT_FALSE(success);
		success = true;
		file->accessOMNodeUnresolved_yielding(nullptr, success, nullptr, nullptr, accessType, 0, value);
		EXPECT_FALSE(success);
	}
	value = OMStored::factory(OMInt{1});
	bool success = true;
	file->set_yielding(nullptr, success, "contents", value);
	EXPECT_FALSE(success);
	EXPECT_FALSE(file->eraseAttribute("contents"));
	EXPECT_FALSE(file->set(value));
	EXPECT_FALSE(file->setUndefined());
	for (int count = 0; count < 7; ++count)
	{
		EXPECT_LOG("the file system can't be changed through its nodes");
	}
	EXPECT_EQ(file->getOMNode("contents")->getString(), "text");
}

TEST_F(OMFileSystemTest, ReadsRegularFilesOnly)
{
	EXPECT_EQ(OMFileSystem::factory(fFolder)->getOMNode("contents")->getString(), "");
	EXPECT_LOG("no regular file to read");
	EXPECT_EQ(OMFileSystem::factory(fFolder + "nothing")->getOMNode("contents")->getString(), "");
	EXPECT_LOG("no regular file to read");
	std::FILE *file = Platform::openFile(fFolder + "large", Platform::OpenMode::WRITE);
	ASSERT_TRUE(file);
	ASSERT_TRUE(Platform::seekFile(file, static_cast<int64_t>(OMFileSystem::MAX_CONTENTS)));
	std::fputc('x', file);
	std::fclose(file);
	const auto large = OMFileSystem::factory(fFolder + "large");
	EXPECT_EQ(large->getOMNode("fileSize")->getInt(), static_cast<int64_t>(OMFileSystem::MAX_CONTENTS) + 1);
	EXPECT_EQ(large->getOMNode("contents")->getString(), "");
	EXPECT_LOG("too large to be read");
}
}
}
