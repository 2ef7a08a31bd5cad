#include "MrvPipes/MrvIPipeCoordinator.h"

namespace Mrv
{
namespace
{
IPipeCoordinator *sCurrent = nullptr;
}

IPipeCoordinator &IPipeCoordinator::current()
{
	static IPipeCoordinator sDefaults;
	return sCurrent ? *sCurrent : sDefaults;
}

void IPipeCoordinator::setCurrent(IPipeCoordinator *coordinator)
{
	sCurrent = coordinator;
}
}
