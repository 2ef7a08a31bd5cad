#include "Transports.h"

#include "MrvService/MrvServiceNull.h"
#include "TwoCoordinators.h"

namespace Mrv::Bench
{
namespace
{
class MorvaneTransport final : public ITransport
{
public:
	const char *getName() const override { return "morvane"; }
	void ping() override { fTwo.ping(); }
	void send(const std::string &payload) override { fTwo.send(ServiceNull::SERVICE_NAME, OpCode::LOG_NOTE, payload); }
	int getPeer() const override { return fTwo.getPeer(); }

private:
	const TwoCoordinators fTwo;
};
}

std::unique_ptr<ITransport> makeMorvane()
{
	return std::make_unique<MorvaneTransport>();
}
}
