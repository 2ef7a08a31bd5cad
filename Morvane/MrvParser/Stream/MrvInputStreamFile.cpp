#include "MrvParser/Stream/MrvInputStreamFile.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvFileSystem.h"

namespace Mrv
{
InputStreamFile::InputStreamFile(const std::string &path) : fPath(path), fFile(Platform::openFile(path, Platform::OpenMode::READ))
{
	EXPECTED(fFile);
}

InputStream::Fetched InputStreamFile::fetch()
{
	if (!fFile)
	{
		return Fetched::END;
	}
	if (!fBlock)
	{
		fBlock = std::make_unique<char[]>(BLOCK_SIZE);
	}
	const size_t count = std::fread(fBlock.get(), 1, BLOCK_SIZE, fFile.get());
	const std::string_view bytes(fBlock.get(), count);
	if (isAtBeginning())
	{
		appendBeginning(bytes, count < BLOCK_SIZE);
	}
	else
	{
		append(bytes, Passed::DROP);
	}
	return count > 0 ? Fetched::MORE : Fetched::END;
}

bool InputStreamFile::setPos(uint64_t position)
{
	if (InputStream::setPos(position))
	{
		return true;
	}
	SANITY_CHECK(fFile, return false);
	if (position > MAX_SEEK_POSITION)
	{
		return false;
	}
	const bool isSought = Platform::seekFile(fFile.get(), static_cast<int64_t>(position));
	SANITY_CHECK_AS(isSought, "fseek(fFile, (long) pos, 0) == 0", return false);
	restartAt(position);
	return true;
}
}
