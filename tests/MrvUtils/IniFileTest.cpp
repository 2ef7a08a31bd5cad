#include "MrvUtils/MrvIniFile.h"

#include "support/ScriptRun.h"
#include "support/TestLog.h"

#include "MrvUtils/MrvDirs.h"

#include <gtest/gtest.h>

namespace Mrv
{
namespace
{
using Strings = std::vector<std::string>;
using Test::readWholeFile;

class IniFileTest : public testing::Test
{
protected:
	IniFileTest() { EXPECT_TRUE(Dirs::mkDir(fFolder, DirRecurse::RECURSE)); }
	~IniFileTest() override { EXPECT_TRUE(Dirs::rmDir(fFolder, DirRecurse::RECURSE)); }

	const std::string fFolder = Dirs::getTmpPath() + "ini-日本" + Platform::pathSeparator();
	const std::string fPath = fFolder + "settings.ini";
};

TEST_F(IniFileTest, ChangesReachTheFile)
{
	const std::string text = "[main]\na=\"1\"\nlist=\"x\",\"y\"\ngone=\"1\"\n";
	ASSERT_TRUE(Dirs::replaceFile(fPath, text));
	{
		IniFile file(fPath);
		ASSERT_TRUE(file.parseFile());
		EXPECT_FALSE(file.isDirty());
		EXPECT_EQ(file.toString(), text);
		EXPECT_TRUE(file.setEntry("main", "a", "2"));
		EXPECT_TRUE(file.isDirty());
		EXPECT_NE(file.toString(), text);
		EXPECT_TRUE(file.save());
		EXPECT_FALSE(file.isDirty());
		EXPECT_EQ(readWholeFile(fPath), file.toString());
		EXPECT_FALSE(file.setEntry("main", "=", "2"));
		EXPECT_LOG("no such INI entry can be written");
		EXPECT_FALSE(file.isDirty());
		EXPECT_TRUE(file.setEntry("main", "list", 1, "z"));
		EXPECT_TRUE(file.setEntry("main", "gone", Strings{}));
		EXPECT_TRUE(file.isDirty());
	} // saved by the end
	IniFile again(fPath);
	ASSERT_TRUE(again.parseFile());
	EXPECT_EQ(again.toString(), "[main]\na=\"2\"\nlist=\"x\",\"z\"\n");
	EXPECT_EQ(Dirs::scanDir(fFolder), Strings{"settings.ini"}); // nothing is left beside it
}

TEST_F(IniFileTest, AnotherWritersChangeIsSeen)
{
	IniFile file(fPath);
	EXPECT_TRUE(file.parseFile());
	EXPECT_TRUE(file.getSections().empty()); // missing is empty
	EXPECT_TRUE(file.readUpdate());
	IniFile writer(fPath);
	EXPECT_TRUE(writer.setEntry("s", "k", "1"));
	EXPECT_TRUE(writer.save());
	EXPECT_TRUE(file.readUpdate());
	EXPECT_EQ(file.getEntry("s", "k"), "1");
	EXPECT_TRUE(writer.readUpdate()); // its own save is nothing new
	EXPECT_TRUE(file.setEntry("s", "k", "mine"));
	EXPECT_FALSE(file.readUpdate());
	EXPECT_LOG("SANITY_CHECK failed: '! fIsDirty' evaluates to false");
	EXPECT_EQ(file.getEntry("s", "k"), "mine");
	EXPECT_TRUE(file.save());
	EXPECT_TRUE(writer.readUpdate());
	EXPECT_EQ(writer.getEntry("s", "k"), "mine");
	// A file that has gone is empty again; what can't be read changes nothing.
	ASSERT_TRUE(Platform::removeFile(fPath));
	EXPECT_TRUE(file.readUpdate());
	EXPECT_TRUE(file.getSections().empty());
	ASSERT_TRUE(Dirs::mkDir(fPath, DirRecurse::NO_RECURSE));
	EXPECT_FALSE(writer.readUpdate());
	EXPECT_LOG("cannot read INI file: " + fPath);
	EXPECT_LOG("SANITY_CHECK failed: 'parseFile()' evaluates to false");
	EXPECT_EQ(writer.getEntry("s", "k"), "mine");
}

TEST_F(IniFileTest, WhatCannotBeSavedStaysUnsaved)
{
	{
		IniFile onFolder(fFolder);
		EXPECT_TRUE(onFolder.setEntry("s", "k", "1"));
		EXPECT_FALSE(onFolder.save());
		EXPECT_LOG("SANITY_CHECK failed: '! Dirs::exists(fFilePath) || Dirs::fileExists(fFilePath)' evaluates to false");
		EXPECT_TRUE(onFolder.isDirty());
	}
	EXPECT_LOG("SANITY_CHECK failed: '! Dirs::exists(fFilePath) || Dirs::fileExists(fFilePath)' evaluates to false");
	EXPECT_LOG("SANITY_CHECK failed: 'save()' evaluates to false");
	{
		IniFile nowhere(fFolder + "missing" + Platform::pathSeparator() + "x.ini");
		EXPECT_TRUE(nowhere.setEntry("s", "k", "1"));
	}
	EXPECT_LOG("cannot write INI file");
	EXPECT_LOG("SANITY_CHECK failed: 'save()' evaluates to false");
}

TEST_F(IniFileTest, WholeFiles)
{
	EXPECT_FALSE(Dirs::readIni(fPath));
	EXPECT_LOG("iniFilePath does not exist or is empty: " + fPath);
	ASSERT_TRUE(Dirs::replaceFile(fPath, ""));
	EXPECT_FALSE(Dirs::readIni(fPath));
	EXPECT_LOG("iniFilePath does not exist or is empty: " + fPath);
	EXPECT_TRUE(Dirs::writeIni(fPath, Ini("[a]\nb=1")));
	const auto ini = Dirs::readIni(fPath);
	ASSERT_TRUE(ini);
	EXPECT_EQ(ini->getEntry("a", "b"), "1");
	EXPECT_FALSE(Dirs::writeIni(fFolder, *ini));
	EXPECT_LOG("SANITY_CHECK failed: '! Dirs::exists(iniFilePath) || Dirs::fileExists(iniFilePath)' evaluates to false");

	std::string text = "before";
	ASSERT_TRUE(Dirs::replaceFile(fPath, std::string("12\0\n5", 5)));
	for (const auto &[maxSize, isRead] : {std::pair{std::size_t{4}, false}, {std::size_t{5}, true}, {std::size_t{6}, true}})
	{
		text = "before";
		EXPECT_EQ(Dirs::readFile(fPath, text, maxSize), isRead);
		EXPECT_EQ(text, isRead ? std::string("12\0\n5", 5) : "before");
	}
	EXPECT_FALSE(Dirs::readFile(fFolder, text, 100));
	EXPECT_FALSE(Dirs::readFile(fPath + "x", text, 100));
	EXPECT_FALSE(Dirs::replaceFile(fFolder, "x"));
	EXPECT_EQ(Dirs::scanDir(fFolder), Strings{"settings.ini"});
}
}
}
