#include "MrvPlatform/MrvConsole.h"

#include "MrvPlatform/MrvSystemConsole.h"

namespace Mrv::Platform
{
namespace
{
IConsole *sReplacement = nullptr;
}

IConsole &console()
{
	return sReplacement ? *sReplacement : Detail::systemConsole();
}

void setConsole(IConsole *replacement)
{
	sReplacement = replacement;
}
}
