#include "MrvPlatform/MrvLineHistory.h"

#include "MrvPlatform/MrvFileSystem.h"

#include <array>
#include <cstdio>
#include <sstream>

namespace Mrv::Platform
{
namespace
{
// More than the lines that are kept can take up.
constexpr size_t MAX_FILE_SIZE = LineHistory::MAX_LINES * (LineHistory::MAX_LINE_SIZE + 1);
}

void LineHistory::append(std::vector<std::string> &lines, const std::string &line)
{
	const bool isBlank = line.find_first_not_of(" \t") == std::string::npos;
	if (isBlank || line.size() > MAX_LINE_SIZE || (!lines.empty() && lines.back() == line))
	{
		return;
	}
	if (lines.size() >= MAX_LINES)
	{
		lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lines.size() - MAX_LINES + 1));
	}
	lines.push_back(line);
}

void LineHistory::useFile(const std::string &path)
{
	fPath = path;
	fLines = readFile();
}

std::vector<std::string> LineHistory::readFile() const
{
	std::vector<std::string> lines;
	std::FILE *file = fPath.empty() ? nullptr : openFile(fPath, OpenMode::READ);
	if (!file)
	{
		return lines;
	}
	std::string text;
	std::array<char, 65536> block;
	for (size_t count = 0; text.size() < MAX_FILE_SIZE && (count = std::fread(block.data(), 1, block.size(), file)) > 0;)
	{
		text.append(block.data(), count);
	}
	std::fclose(file);
	std::istringstream stream(text);
	for (std::string line; std::getline(stream, line);)
	{
		append(lines, line);
	}
	return lines;
}

void LineHistory::writeFile(const std::vector<std::string> &lines) const
{
	const std::string temporary = fPath + ".new";
	std::FILE *file = openFile(temporary, OpenMode::WRITE);
	if (!file)
	{
		return;
	}
	std::string text;
	for (const std::string &line : lines)
	{
		text += line + "\n";
	}
	const bool isWritten = std::fwrite(text.data(), 1, text.size(), file) == text.size();
	if (std::fclose(file) != 0 || !isWritten || !renameReplacing(temporary, fPath))
	{
		removeFile(temporary);
	}
}

void LineHistory::add(const std::string &line)
{
	append(fLines, line);
	if (!fPath.empty() && !fLines.empty() && fLines.back() == line)
	{
		std::vector<std::string> lines = readFile();
		append(lines, line);
		writeFile(lines);
	}
}
}
