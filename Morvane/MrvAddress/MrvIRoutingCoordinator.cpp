#include "MrvAddress/MrvIRoutingCoordinator.h"

namespace Mrv
{
namespace
{
using Provider = IRoutingCoordinator *(*) ();
constinit Provider sProvider = nullptr;
}

IRoutingCoordinator *IRoutingCoordinator::current()
{
	return sProvider ? sProvider() : nullptr;
}

void IRoutingCoordinator::setProvider(IRoutingCoordinator *(*provider)())
{
	sProvider = provider;
}
}
