#include "MrvUtils/MrvIniFile.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvDirs.h"

namespace Mrv
{
IniFile::~IniFile()
{
	if (fIsDirty)
	{
		SANITY_CHECK(save(), return );
	}
}

IniFile::Stamp IniFile::readStamp() const
{
	const Platform::FileInfo info = Platform::fileInfo(fFilePath);
	return {info.kind != Platform::FileKind::NONE, info.modifiedNanoseconds, info.size};
}

bool IniFile::parseFile()
{
	// Before the file is read: what changes meanwhile is then seen the next time.
	const Stamp stamp = readStamp();
	std::string text;
	if (stamp.exists && !Dirs::readFile(fFilePath, text, MAX_TEXT_SIZE))
	{
		LOG_ERROR("cannot read INI file: " + fFilePath);
		return false;
	}
	SANITY_CHECK_AS(parse(text), "parse(iniStr)", return false);
	fStamp = stamp;
	fIsDirty = false;
	return true;
}

bool IniFile::readUpdate()
{
	SANITY_CHECK_AS(!fIsDirty, "! fIsDirty", return false);
	if (readStamp() != fStamp)
	{
		SANITY_CHECK(parseFile(), return false);
	}
	return true;
}

bool IniFile::save()
{
	SANITY_CHECK_AS(
	    !Dirs::exists(fFilePath) || Dirs::fileExists(fFilePath), "! Dirs::exists(fFilePath) || Dirs::fileExists(fFilePath)", return false);
	if (!Dirs::replaceFile(fFilePath, toString()))
	{
		LOG_ERROR("cannot write INI file: " + fFilePath);
		return false;
	}
	fStamp = readStamp();
	fIsDirty = false;
	return true;
}

bool IniFile::setEntry(const std::string &section, const std::string &key, const Values &values)
{
	const bool isSet = Ini::setEntry(section, key, values);
	fIsDirty = fIsDirty || isSet;
	return isSet;
}
}
