#include "MrvParser/Builtin/MrvIRemoteScripts.h"

namespace Mrv
{
namespace
{
using Provider = IRemoteScripts *(*) ();
constinit Provider sProvider = nullptr;
}

IRemoteScripts *IRemoteScripts::current()
{
	return sProvider ? sProvider() : nullptr;
}

void IRemoteScripts::setProvider(IRemoteScripts *(*provider)())
{
	sProvider = provider;
}
}
