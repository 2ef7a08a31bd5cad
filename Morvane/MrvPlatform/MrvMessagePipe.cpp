#include "MrvPlatform/MrvMessagePipe.h"

namespace Mrv::Platform
{
namespace
{
IMessagePipes *sReplacement = nullptr;
}

IMessagePipes &messagePipes()
{
	return sReplacement ? *sReplacement : Detail::systemMessagePipes();
}

void setMessagePipes(IMessagePipes *replacement)
{
	sReplacement = replacement;
}
}
