#include "MrvService/MrvIMessagingCoordinator.h"

namespace Mrv
{
namespace
{
using Provider = IMessagingCoordinator *(*) ();
constinit Provider sProvider = nullptr;
}

IMessagingCoordinator *IMessagingCoordinator::current()
{
	return sProvider ? sProvider() : nullptr;
}

void IMessagingCoordinator::setProvider(IMessagingCoordinator *(*provider)())
{
	sProvider = provider;
}
}
