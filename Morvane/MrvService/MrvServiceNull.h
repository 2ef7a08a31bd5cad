#pragma once

#include "MrvService/MrvSingletonService.h"

namespace Mrv
{
// Does nothing with what it gets but fire "messageReceived": a target that is always there.
class ServiceNull final : public SingletonService<ServiceNull>
{
public:
	static const std::string TYPENAME;
	static const std::string SERVICE_NAME;

private:
	friend class SingletonService<ServiceNull>;
	ServiceNull() = default;
};
}
