#include "MrvParser/Builtin/MrvOpenedFile.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvPlatform/MrvLasting.h"

#include <algorithm>
#include <array>

namespace Mrv
{
namespace
{
int64_t sLastFileId = 0;

FileMode modeOf(char modeChar)
{
	switch (modeChar)
	{
		case 'r':
			return FileMode::READ;
		case 'w':
			return FileMode::WRITE;
		case 'a':
			return FileMode::APPEND;
		default:
			return FileMode::NONE;
	}
}

std::FILE *openFile(const std::string &path, FileMode mode)
{
	const Platform::FileKind kind = Platform::fileInfo(path).kind;
	if (kind == Platform::FileKind::PIPE || (mode == FileMode::READ && kind != Platform::FileKind::FILE))
	{
		return nullptr;
	}
	switch (mode)
	{
		case FileMode::READ:
			return Platform::openFile(path, Platform::OpenMode::READ);
		case FileMode::WRITE:
			return Platform::openFile(path, Platform::OpenMode::WRITE);
		case FileMode::APPEND:
			return Platform::openFile(path, Platform::OpenMode::APPEND);
		case FileMode::NONE:
			break;
	}
	return nullptr;
}
}

OpenedFile::Table &OpenedFile::openedFiles()
{
	static auto &sOpenedFiles = Platform::makeLasting<Table>();
	return sOpenedFiles;
}

std::shared_ptr<OpenedFile> OpenedFile::open(const std::string &path, std::string_view mode)
{
	const char modeChar = mode.empty() ? '\0' : mode.front();
	SANITY_CHECK(modeChar, return nullptr);
	const FileMode fileMode = modeOf(modeChar);
	std::FILE *file = openFile(path, fileMode);
	SANITY_CHECK_AS(file, "err == 0", return nullptr);
	const int64_t fileId = ++sLastFileId;
	auto opened = std::make_shared<OpenedFile>(file, fileId, fileMode);
	openedFiles()[static_cast<uint64_t>(fileId)] = opened;
	return opened;
}

std::shared_ptr<OpenedFile> OpenedFile::getFile(int64_t fileId)
{
	SANITY_CHECK(fileId, return nullptr);
	const auto iter = openedFiles().find(static_cast<uint64_t>(fileId));
	SANITY_CHECK_AS(iter != openedFiles().end(), "iter != fOpenedFiles.end()", return nullptr);
	return iter->second;
}

void OpenedFile::closeAll()
{
	while (!openedFiles().empty())
	{
		const auto file = openedFiles().begin()->second;
		EXPECTED(file->close());
	}
}

OpenedFile::~OpenedFile()
{
	if (fStdFile)
	{
		std::fclose(fStdFile);
	}
}

bool OpenedFile::read(std::string &bytes, size_t limit)
{
	std::array<char, 65536> block;
	while (limit > 0)
	{
		const size_t count = std::fread(block.data(), 1, std::min(limit, block.size()), fStdFile);
		if (count == 0)
		{
			break;
		}
		bytes.append(block.data(), count);
		limit -= count;
	}
	return std::ferror(fStdFile) == 0;
}

bool OpenedFile::write(std::string_view bytes)
{
	return std::fwrite(bytes.data(), 1, bytes.size(), fStdFile) == bytes.size();
}

bool OpenedFile::close()
{
	SANITY_CHECK(fStdFile, return false);
	SANITY_CHECK(fFileId, return false);
	std::FILE *file = fStdFile;
	const auto fileId = static_cast<uint64_t>(fFileId);
	fStdFile = nullptr;
	fFileId = 0;
	const bool isWritten = std::fclose(file) == 0;
	openedFiles().erase(fileId); // last of all: the table may hold the last reference
	return isWritten;
}
}
