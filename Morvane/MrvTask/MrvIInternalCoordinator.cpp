#include "MrvTask/MrvIInternalCoordinator.h"

namespace Mrv
{
namespace
{
IInternalCoordinator *(*sProvider)() = nullptr;
}

IInternalCoordinator *IInternalCoordinator::current()
{
	return sProvider ? sProvider() : nullptr;
}

void IInternalCoordinator::setProvider(IInternalCoordinator *(*provider)())
{
	sProvider = provider;
}

bool IInternalCoordinator::isTerminatingNow()
{
	const IInternalCoordinator *coordinator = current();
	return !coordinator || coordinator->isTerminationRequested();
}
}
