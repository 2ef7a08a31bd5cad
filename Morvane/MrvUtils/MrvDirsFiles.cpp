// Whole files, and INI files among them.
#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvProcess.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvIni.h"

#include <algorithm>
#include <cstdio>

namespace Mrv
{
bool Dirs::readFile(const std::string &filePath, std::string &text, std::size_t maxSize)
{
	// Anything else than a regular file might never end, or make the reader wait.
	const Platform::FileInfo info = Platform::fileInfo(filePath);
	std::FILE *const file = info.kind == Platform::FileKind::FILE ? Platform::openFile(filePath, Platform::OpenMode::READ) : nullptr;
	if (!file)
	{
		return false;
	}
	// One byte more than the file should have: a read that stays short has met the end.
	std::string bytes(std::min(static_cast<std::size_t>(info.size), maxSize) + 1, '\0');
	std::size_t size = std::fread(bytes.data(), 1, bytes.size(), file);
	while (size == bytes.size() && size <= maxSize)
	{
		bytes.resize(std::min(bytes.size() * 2, maxSize + 1)); // it has grown meanwhile
		size += std::fread(bytes.data() + size, 1, bytes.size() - size, file);
	}
	const bool isComplete = size <= maxSize && std::ferror(file) == 0;
	std::fclose(file);
	if (isComplete)
	{
		bytes.resize(size);
		text = std::move(bytes);
	}
	return isComplete;
}

bool Dirs::replaceFile(const std::string &filePath, std::string_view text, const std::string &temporaryFolder)
{
	const std::string beginning = temporaryFolder.empty() ? filePath : temporaryFolder + getPathSegmentFromRight(filePath, 0);
	// Of this process's own, since others may write the same file.
	const std::string temporary = beginning + "." + std::to_string(Platform::currentProcessId()) + ".new";
	std::FILE *const file = Platform::openFile(temporary, Platform::OpenMode::WRITE);
	if (!file)
	{
		return false;
	}
	const bool isWritten = std::fwrite(text.data(), 1, text.size(), file) == text.size();
	const bool isReplaced = std::fclose(file) == 0 && isWritten && Platform::renameReplacing(temporary, filePath);
	if (!isReplaced)
	{
		Platform::removeFile(temporary);
	}
	return isReplaced;
}

std::shared_ptr<Ini> Dirs::readIni(const std::string &iniFilePath)
{
	std::string text;
	if (!readFile(iniFilePath, text, Ini::MAX_TEXT_SIZE) || text.empty())
	{
		LOG_ERROR("iniFilePath does not exist or is empty: " + iniFilePath);
		return nullptr;
	}
	return std::make_shared<Ini>(text);
}

bool Dirs::writeIni(const std::string &iniFilePath, const Ini &ini)
{
	SANITY_CHECK_AS(!Dirs::exists(iniFilePath) || Dirs::fileExists(iniFilePath),
	    "! Dirs::exists(iniFilePath) || Dirs::fileExists(iniFilePath)", return false);
	if (!replaceFile(iniFilePath, ini.toString()))
	{
		LOG_ERROR("cannot write INI file: " + iniFilePath);
		return false;
	}
	return true;
}
}
