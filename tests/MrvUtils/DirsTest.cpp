#include "MrvPlatform/MrvEnvironment.h"
#include "MrvUtils/MrvDirs.h"
#include "support/TestLog.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Platform::pathSeparator;

// Text with the system's separator in the place of `/`.
std::string native(std::string path)
{
	for (char &character : path)
	{
		character = character == '/' ? pathSeparator() : character;
	}
	return path;
}

void writeFile(const std::string &path)
{
	std::FILE *const file = Platform::openFile(path, Platform::OpenMode::WRITE);
	ASSERT_NE(file, nullptr) << path;
	std::fclose(file);
}

TEST(PathsTest, Parents)
{
	const std::tuple<std::string, char, std::string> cases[] = {
	    {"/a/b", '/', "/a/"},
	    {"/a/b/", '/', "/a/"},
	    {"/a//b//", '/', "/a/"},
	    {"/abc", '/', "/"},
	    {"/", '/', "/"},
	    {"//", '/', "/"},
	    {"a/b", '/', "a/"},
	    {"abc", '/', ""},
	    {"", '/', ""},
	    {"C:\\a\\b", '\\', "C:\\a\\"},
	    {"C:\\abc", '\\', "C:\\"},
	    {"C:\\abc\\", '\\', "C:\\"},
	    {"C:\\", '\\', "C:\\"},
	    {"a/b\\c", '\\', "a/b\\"},
	    {"a\\b/c", '/', "a\\b/"},
	};
	for (const auto &[path, separator, parent] : cases)
	{
		EXPECT_EQ(Dirs::getParentPath(path, separator), parent) << path;
	}
	EXPECT_EQ(Dirs::getParentPath("a:b", ':'), "");
	EXPECT_LOG("SANITY_CHECK failed: 'separator == '\\\\' || separator == '/'' evaluates to false");
}

TEST(PathsTest, Segments)
{
	const struct
	{
		const char *path;
		size_t count;
		const char *segments[4];
	} cases[] = {
	    {"/a/bc", 3, {"", "a", "bc"}},
	    {"a/bc/", 2, {"a", "bc"}},
	    {"a//bc//", 3, {"a", "", "bc"}},
	    {"//a", 3, {"", "", "a"}},
	    {"/", 0, {}},
	    {"", 0, {}},
	};
	for (const auto &[path, count, segments] : cases)
	{
		SCOPED_TRACE(path);
		for (size_t index = 0; index < count; ++index)
		{
			EXPECT_EQ(Dirs::getPathSegmentFromLeft(path, index, '/'), segments[index]);
			EXPECT_EQ(Dirs::getPathSegmentFromRight(path, count - 1 - index, '/'), segments[index]);
		}
		EXPECT_EQ(Dirs::getPathSegmentFromLeft(path, count, '/'), "");
		EXPECT_EQ(Dirs::getPathSegmentFromRight(path, count, '/'), "");
	}
	EXPECT_EQ(Dirs::getPathSegmentFromLeft("C:\\x", 0, '\\'), "C:");
	EXPECT_EQ(Dirs::getFileNameExtension("a.b/c.tar.gz"), "gz");
	EXPECT_EQ(Dirs::getFileNameExtension("a.b/c"), "");
	EXPECT_EQ(Dirs::getFileNameExtension("a.b\\c."), "");
	EXPECT_EQ(Dirs::getFileNameExtension(""), "");
	EXPECT_LOG("SANITY_CHECK failed: '! path.empty()' evaluates to false");
}

class DirsTest : public testing::Test
{
protected:
	DirsTest() : fTop(Dirs::getTmpPath() + native("dirs test/")) {}
	void SetUp() override { ASSERT_TRUE(Dirs::mkDir(fTop, DirRecurse::NO_RECURSE)); }
	void TearDown() override { EXPECT_TRUE(Dirs::rmDir(fTop, DirRecurse::RECURSE)); }

	std::string fTop;
};

TEST_F(DirsTest, TreesAreMadeAndRemoved)
{
	const std::string below = fTop + native("dummyDir_456/dummyDir_123/");
	EXPECT_FALSE(Dirs::mkDir(below, DirRecurse::NO_RECURSE));
	EXPECT_LOG("SANITY_CHECK failed: 'Dirs::dirExists(dirPath)' evaluates to false");
	EXPECT_TRUE(Dirs::mkDir(below, DirRecurse::RECURSE));
	EXPECT_TRUE(Dirs::mkDir(below, DirRecurse::RECURSE));
	writeFile(below + "größe.txt");
	EXPECT_EQ(Dirs::scanDir(below), std::vector<std::string>{"größe.txt"});
	EXPECT_FALSE(Dirs::rmDir(fTop + "dummyDir_456", DirRecurse::NO_RECURSE));
	EXPECT_FALSE(Dirs::rmDir(below + "größe.txt", DirRecurse::RECURSE));
	EXPECT_TRUE(Dirs::rmDir(fTop + "dummyDir_456", DirRecurse::RECURSE));
	EXPECT_TRUE(Dirs::scanDir(fTop).empty());
	EXPECT_TRUE(Dirs::scanDir(fTop + "nothing").empty());
	EXPECT_LOG("invalid directory");

	writeFile(fTop + "file");
	EXPECT_FALSE(Dirs::mkDir(fTop + native("file/x"), DirRecurse::RECURSE));
	EXPECT_LOG("SANITY_CHECK failed: 'Dirs::dirExists(dirPath)' evaluates to false");
	EXPECT_FALSE(Dirs::rmDir("", DirRecurse::RECURSE));
	EXPECT_LOG("SANITY_CHECK failed: '! dirPath.empty()' evaluates to false");
	EXPECT_FALSE(Dirs::rmDir("/", DirRecurse::RECURSE));
	EXPECT_LOG("a root folder is not removed");
}

// The deeper ones couldn't be removed by a recursion on a small stack.
TEST_F(DirsTest, EitherSeparatorAndDeepTrees)
{
	std::string path = fTop + "deep";
	for (int i = 0; i < 60; ++i)
	{
		path += i % 2 == 0 ? "\\d" : "\\e";
	}
	EXPECT_TRUE(Dirs::mkDir(path, DirRecurse::RECURSE, '\\'));
	EXPECT_EQ(Dirs::scanDir(fTop), std::vector<std::string>{"deep"});
	EXPECT_EQ(Dirs::scanDir(fTop + native("deep/d")), std::vector<std::string>{"e"});
	EXPECT_TRUE(Dirs::rmDir(fTop + "deep\\", DirRecurse::RECURSE, '\\'));
	EXPECT_FALSE(Dirs::mkDir(path, DirRecurse::RECURSE, ':'));
	EXPECT_LOG("SANITY_CHECK failed: 'separator == ");
}

TEST_F(DirsTest, TheLastCharacterOfAPath)
{
	writeFile(fTop + "file");
	const std::string bare = fTop.substr(0, fTop.size() - 1);
	EXPECT_TRUE(Dirs::dirExists(fTop) && Dirs::dirExists(bare) && Dirs::exists(bare));
	EXPECT_TRUE(Dirs::dirExists(fTop, TrailingPathCharHandling::Check));
	EXPECT_TRUE(Dirs::fileExists(fTop + "file", TrailingPathCharHandling::Check));
	EXPECT_FALSE(Dirs::fileExists(fTop + native("file/")));
	EXPECT_FALSE(Dirs::fileExists(fTop));
	EXPECT_FALSE(Dirs::dirExists(fTop + "file"));
	EXPECT_FALSE(Dirs::dirExists(""));

	EXPECT_TRUE(Dirs::dirExists(bare, TrailingPathCharHandling::Check));
	EXPECT_LOG(
	    "EXPECTED failed: 'trailingPathCharHandling == TrailingPathCharHandling::Ignore || *(dirPath.rbegin()) == '\\\\'' evaluates to "
	    "false");
	EXPECT_FALSE(Dirs::fileExists(fTop + native("file/"), TrailingPathCharHandling::Check));
	EXPECT_LOG(
	    "EXPECTED failed: 'trailingPathCharHandling == TrailingPathCharHandling::Ignore || *(filePath.rbegin()) != '\\\\'' evaluates to "
	    "false");
}

TEST_F(DirsTest, RelativePaths)
{
	const std::string saved = Dirs::getCurrentDir();
	ASSERT_TRUE(Platform::setCurrentDirectory(fTop));
	ASSERT_TRUE(Dirs::mkDir("folder", DirRecurse::NO_RECURSE));
	const std::string here = Dirs::getCurrentDir();
	EXPECT_EQ(Dirs::fullPath("folder"), here + native("folder/"));
	EXPECT_EQ(Dirs::fullPath("nothing"), here + "nothing");
	EXPECT_EQ(Dirs::fullPath(fTop), fTop);
	ASSERT_TRUE(Platform::setCurrentDirectory(saved));

	EXPECT_EQ(Dirs::resolvePartialFilePath("x/../y", fTop), fTop + "x/../y");
	EXPECT_EQ(Dirs::resolvePartialFilePath(fTop + "y", fTop), fTop + "y");
	EXPECT_EQ(Dirs::resolvePartialFilePath("y", fTop + "nothing"), "");
	EXPECT_LOG("SANITY_CHECK failed: 'Dirs::dirExists(baseFolderPath)' evaluates to false");

	const std::pair<std::string, std::string> cases[] = {
	    {"a/./b/../c", "a/c"}, {"a/b/..", "a/"}, {"a/", "a/"}, {".", ""}, {"", ""}, {"../dirs test/a", "a"}, {"a//b", "a/b"}};
	for (const auto &[path, resolved] : cases)
	{
		EXPECT_EQ(Dirs::resolveRelativePath(native(path), fTop), fTop + native(resolved)) << path;
	}
	EXPECT_EQ(Dirs::resolveRelativePath("/../../x/./y", native("/"), '/'), "/x/y");
	EXPECT_EQ(Dirs::resolveRelativePath("x", fTop + "nothing"), "");
	EXPECT_LOG("SANITY_CHECK failed: 'Dirs::dirExists(rootPath)' evaluates to false");
}

TEST(WellKnownFoldersTest, ComeFromTheEnvironment)
{
	Dirs::forgetWellKnownPaths();
	for (const std::string *const path : {&Dirs::getHomePath(), &Dirs::getDesktopPath(), &Dirs::getDocumentsPath(),
	         &Dirs::getUserDataPath(), &Dirs::getSystemDataPath(), &Dirs::getTmpPath(), &Dirs::getLogDirPath(), &Dirs::getAppDirPath()})
	{
		EXPECT_TRUE(Dirs::dirExists(*path, TrailingPathCharHandling::Check)) << *path;
	}
	EXPECT_NE(Dirs::getHomePath().find("Jürgen"), std::string::npos);
	EXPECT_EQ(Dirs::getDesktopPath(), Dirs::getHomePath() + native("Desktop/"));
	EXPECT_EQ(Dirs::getLogDirPath(), Dirs::getUserDataPath() + native("net.morvane/Logs/"));
	EXPECT_EQ(Dirs::getAppPath(), Dirs::getAppDirPath() + Dirs::getAppName());
	EXPECT_TRUE(Dirs::getAppName().starts_with("morvane-tests"));
	EXPECT_EQ(&Dirs::getHomePath(), &Dirs::getHomePath());
}

// Sets a variable as long as it lives.
class Variable
{
public:
	Variable(std::string name, const std::string &value) : fName(std::move(name)), fSaved(*Platform::environmentVariable(fName))
	{
		Platform::setEnvironmentVariable(fName, value);
	}
	Variable(const Variable &) = delete;
	Variable &operator=(const Variable &) = delete;
	~Variable() { Platform::setEnvironmentVariable(fName, fSaved); }

private:
	std::string fName;
	std::string fSaved;
};

TEST(WellKnownFoldersTest, AFailureIsLoggedAndNotRemembered)
{
	const std::string userData = Dirs::getUserDataPath();
	Dirs::forgetWellKnownPaths();
	const bool isWindows = pathSeparator() == '\\';
	{
		const Variable home(isWindows ? "USERPROFILE" : "HOME", userData + "nobody");
		EXPECT_EQ(Dirs::getHomePath(), "");
		EXPECT_LOG("SANITY_CHECK failed: 'dirExists(fHomePath)' evaluates to false");
		EXPECT_EQ(Dirs::getDesktopPath(), "");
		EXPECT_LOG("SANITY_CHECK failed: 'dirExists(fDesktopPath)' evaluates to false");
		EXPECT_LOG("SANITY_CHECK failed: 'dirExists(fHomePath)' evaluates to false");
	}
	EXPECT_NE(Dirs::getHomePath(), "");
	{
		// A user's first program makes the folder.
		const std::string fresh = userData + native("fresh/data/");
		const Variable data(isWindows ? "APPDATA" : "XDG_DATA_HOME", fresh);
		EXPECT_EQ(Dirs::getUserDataPath(), fresh);
		EXPECT_TRUE(Dirs::dirExists(fresh));
		EXPECT_TRUE(Dirs::rmDir(userData + "fresh", DirRecurse::RECURSE));
	}
	Dirs::forgetWellKnownPaths();
	EXPECT_EQ(Dirs::getUserDataPath(), userData);
}

TEST(WellKnownFoldersTest, ADevelopmentTreeHasItsFoldersAtItsRoot)
{
	EXPECT_EQ(Dirs::getConfigDirPath("D:\\dev\\VisualStudio\\Morvane\\x64\\Debug\\", '\\'), "D:\\dev\\Morvane\\");
	EXPECT_EQ(Dirs::getDocumentationDirPath("/dev/VisualStudio/Morvane/x64/Release/", '/'), "/dev/MorvaneDocs/");
	EXPECT_EQ(Dirs::getConfigDirPath("/dev/CurrentRelease/", '/'), "/dev/Morvane/");
	EXPECT_EQ(Dirs::getConfigDirPath("/opt/NotCurrentRelease/", '/'), "/opt/NotCurrentRelease/");
}
}
}
