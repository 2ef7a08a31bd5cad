#include "MrvPlatform/windows/MrvCommandLineText.h"

#include <cstddef>

namespace Mrv::Platform::Windows
{
std::string commandLineOf(const std::vector<std::string> &arguments)
{
	std::string line;
	for (const std::string &argument : arguments)
	{
		line += line.empty() ? "\"" : " \"";
		std::size_t backslashes = 0;
		for (const char character : argument)
		{
			if (character == '"')
			{
				line.append(backslashes + 1, '\\');
			}
			backslashes = character == '\\' ? backslashes + 1 : 0;
			line += character;
		}
		line.append(backslashes, '\\');
		line += '"';
	}
	return line;
}
}
