#pragma once

#include <functional>
#include <memory>
#include <string>

namespace Mrv::Bench
{
// A way from this process to another one, which it starts and ends.
class ITransport
{
public:
	virtual ~ITransport() = default;

	virtual const char *getName() const = 0;
	// There and back; the other one has taken all that was sent before.
	virtual void ping() = 0;
	// One way.
	virtual void send(const std::string &payload) = 0;
	// The other process.
	virtual int getPeer() const = 0;
};

std::unique_ptr<ITransport> makeMorvane();
// A ping carries these texts there and back.
std::unique_ptr<ITransport> makeZeroMQ(const std::string &question, const std::string &answer);
std::unique_ptr<ITransport> makeDBus();
std::unique_ptr<ITransport> makeSeqpacket();

// Runs `serve`, which doesn't return, in another process and gives its id; and ends it.
int startPeer(const std::function<void()> &serve);
void endPeer(int processId);
}
