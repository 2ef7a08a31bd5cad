#include "MrvPlatform/MrvEnvironment.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvModulePath.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Mrv
{
namespace
{
using Platform::FileKind;

class FileSystemTest : public testing::Test
{
protected:
	void SetUp() override
	{
		fFolder = *Platform::wellKnownFolder(Platform::WellKnownFolder::TEMPORARY) + Platform::pathSeparator() + "Ordner-ü-日本";
		ASSERT_TRUE(Platform::makeDirectory(fFolder));
	}
	void TearDown() override
	{
		std::vector<std::string> names;
		Platform::listDirectory(fFolder, names);
		for (const std::string &name : names)
		{
			Platform::removeFile(in(name));
		}
		EXPECT_TRUE(Platform::removeDirectory(fFolder));
	}

	std::string in(const std::string &name) const { return fFolder + Platform::pathSeparator() + name; }

	static bool writeFile(const std::string &path, const std::string &bytes, Platform::OpenMode mode = Platform::OpenMode::WRITE)
	{
		std::FILE *const file = Platform::openFile(path, mode);
		const bool isWritten = file && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
		return file && std::fclose(file) == 0 && isWritten;
	}

	static std::string readFile(const std::string &path)
	{
		std::FILE *const file = Platform::openFile(path, Platform::OpenMode::READ);
		if (!file)
		{
			return "no file";
		}
		std::string bytes(100, '\0');
		bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
		std::fclose(file);
		return bytes;
	}

	std::string fFolder;
};

TEST_F(FileSystemTest, FilesAreBinaryAndKnownByUtf8Names)
{
	const std::string path = in("größe.txt");
	EXPECT_EQ(Platform::fileInfo(path).kind, FileKind::NONE);
	ASSERT_TRUE(writeFile(path, "a\r\nb\n\x1A c"));
	EXPECT_TRUE(writeFile(path, "d", Platform::OpenMode::APPEND));
	EXPECT_EQ(readFile(path), "a\r\nb\n\x1A"
	                          " cd");
	const Platform::FileInfo info = Platform::fileInfo(path);
	EXPECT_EQ(info.kind, FileKind::FILE);
	EXPECT_EQ(info.size, 9);
	EXPECT_GT(info.modifiedNanoseconds, 1'600'000'000'000'000'000);
	std::vector<std::string> names{"old"};
	ASSERT_TRUE(Platform::listDirectory(fFolder, names));
	EXPECT_EQ(names, std::vector<std::string>{"größe.txt"});
}

TEST_F(FileSystemTest, RenamingReplaces)
{
	ASSERT_TRUE(writeFile(in("new"), "new") && writeFile(in("old"), "old"));
	EXPECT_TRUE(Platform::renameReplacing(in("new"), in("old")));
	EXPECT_EQ(readFile(in("old")), "new");
	EXPECT_EQ(Platform::fileInfo(in("new")).kind, FileKind::NONE);
	EXPECT_FALSE(Platform::renameReplacing(in("new"), in("old")));
}

TEST_F(FileSystemTest, FoldersAreNoFiles)
{
	const std::string trailing = fFolder + Platform::pathSeparator();
	EXPECT_EQ(Platform::fileInfo(trailing).kind, FileKind::DIRECTORY);
	EXPECT_EQ(Platform::openFile(fFolder, Platform::OpenMode::READ), nullptr);
	EXPECT_FALSE(Platform::makeDirectory(fFolder));
	EXPECT_FALSE(Platform::isLink(fFolder));
	EXPECT_FALSE(Platform::removeFile(fFolder));
	ASSERT_TRUE(writeFile(in("file"), ""));
	EXPECT_FALSE(Platform::removeDirectory(fFolder));
	EXPECT_FALSE(Platform::removeDirectory(in("file")));
	std::vector<std::string> names{"old"};
	EXPECT_FALSE(Platform::listDirectory(in("nothing"), names));
	EXPECT_TRUE(names.empty());
}

TEST_F(FileSystemTest, ImpossiblePathsNameNothing)
{
	for (const std::string &path : {std::string(), in(std::string("a\0b", 3)), std::string(fFolder).append(1, '\0')})
	{
		EXPECT_EQ(Platform::fileInfo(path).kind, FileKind::NONE);
		EXPECT_EQ(Platform::openFile(path, Platform::OpenMode::WRITE), nullptr);
		EXPECT_FALSE(Platform::makeDirectory(path));
		EXPECT_FALSE(Platform::removeFile(path));
		EXPECT_FALSE(Platform::isLink(path));
		std::vector<std::string> names;
		EXPECT_FALSE(Platform::listDirectory(path, names));
	}
}

// The usual limit of one system is 260 characters for a whole path.
TEST_F(FileSystemTest, LongPaths)
{
	std::string path = fFolder;
	std::vector<std::string> made;
	for (int i = 0; i < 4; ++i)
	{
		path += Platform::pathSeparator() + std::string(90, 'x');
		ASSERT_TRUE(Platform::makeDirectory(path)) << path.size();
		made.push_back(path);
	}
	const std::string file = path + Platform::pathSeparator() + "file";
	EXPECT_TRUE(writeFile(file, "deep"));
	EXPECT_EQ(readFile(file), "deep");
	EXPECT_TRUE(Platform::removeFile(file));
	for (; !made.empty(); made.pop_back())
	{
		EXPECT_TRUE(Platform::removeDirectory(made.back()));
	}
}

TEST(EnvironmentTest, ValuesAreUtf8AndMayBeEmpty)
{
	const std::string name = "MORVANE_TEST_VALUE";
	EXPECT_EQ(Platform::environmentVariable(name), std::nullopt);
	for (const std::string &value : {std::string("日本 ü"), std::string(), std::string(5000, 'v')})
	{
		EXPECT_TRUE(Platform::setEnvironmentVariable(name, value));
		EXPECT_EQ(Platform::environmentVariable(name), value);
	}
	EXPECT_TRUE(Platform::unsetEnvironmentVariable(name));
	EXPECT_TRUE(Platform::unsetEnvironmentVariable(name));
	EXPECT_EQ(Platform::environmentVariable(name), std::nullopt);
	EXPECT_FALSE(Platform::setEnvironmentVariable("A=B", "x"));
	EXPECT_FALSE(Platform::setEnvironmentVariable("", "x"));
	EXPECT_EQ(Platform::environmentVariable(std::string("PA\0TH", 5)), std::nullopt);
}

TEST(ModulePathTest, IsThisProgram)
{
	const std::optional<std::string> path = Platform::modulePath();
	ASSERT_TRUE(path);
	EXPECT_NE(path->find("morvane-tests"), std::string::npos);
	EXPECT_EQ(Platform::fileInfo(*path).kind, FileKind::FILE);
}
}
}
