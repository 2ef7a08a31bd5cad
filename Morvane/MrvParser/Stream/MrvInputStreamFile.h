#pragma once

#include "MrvParser/Stream/MrvInputStream.h"

#include <cstdio>
#include <memory>

namespace Mrv
{
// A file, read in blocks. A UTF-8 byte-order mark at its beginning is passed over; it counts in positions.
class InputStreamFile final : public InputStream
{
public:
	// A file that can't be opened logs a line and reads as empty.
	explicit InputStreamFile(const std::string &path);

	bool isOpen() const { return fFile != nullptr; }
	const std::string &getPath() const { return fPath; }

	// Anywhere in the file up to position 0x7fffffff; free within what is buffered.
	bool setPos(uint64_t position) override;

protected:
	Fetched fetch() override;

private:
	static constexpr size_t BLOCK_SIZE = 65536;
	static constexpr uint64_t MAX_SEEK_POSITION = 0x7fffffff;

	struct Close
	{
		void operator()(std::FILE *file) const { std::fclose(file); }
	};

	std::string fPath;
	std::unique_ptr<std::FILE, Close> fFile;
	std::unique_ptr<char[]> fBlock;
};
}
