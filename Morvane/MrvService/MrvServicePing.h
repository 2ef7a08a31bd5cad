#pragma once

#include "MrvService/MrvSingletonService.h"

namespace Mrv
{
// Answers every message with a "ping_reply" of the same payload, whatever was asked, except what is such an answer itself: two of these
// services would never cease. Nobody can be answered whose message has no sender.
class ServicePing final : public SingletonService<ServicePing>
{
public:
	static const std::string TYPENAME;
	static const std::string SERVICE_NAME;

	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override;

private:
	friend class SingletonService<ServicePing>;
	ServicePing() = default;
};
}
