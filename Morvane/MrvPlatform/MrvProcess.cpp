#include "MrvPlatform/MrvProcess.h"

namespace Mrv::Platform
{
std::string machineOfStartToken(const std::string &token)
{
	const std::size_t end = token.find('/');
	return end == std::string::npos ? std::string() : token.substr(0, end);
}
}
