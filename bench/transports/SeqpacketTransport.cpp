// The socket alone: the least that any of the others can cost. Long messages go in packets of 64 KiB.
#include "Transports.h"

#include <algorithm>
#include <array>
#include <sys/socket.h>
#include <unistd.h>

namespace Mrv::Bench
{
namespace
{
class SeqpacketTransport final : public ITransport
{
public:
	SeqpacketTransport()
	{
		std::array<int, 2> ends{};
		::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data());
		fSocket = ends[0];
		const int other = ends[1];
		fPeer = startPeer(
		    [other]
		    {
			    static std::array<char, PACKET> buffer{};
			    for (;;)
			    {
				    const ssize_t size = ::recv(other, buffer.data(), buffer.size(), 0);
				    if (size <= 0)
				    {
					    return;
				    }
				    if (size == 1)
				    {
					    ::send(other, buffer.data(), 1, 0);
				    }
			    }
		    });
		::close(other);
	}
	SeqpacketTransport(const SeqpacketTransport &) = delete;
	SeqpacketTransport &operator=(const SeqpacketTransport &) = delete;
	~SeqpacketTransport() override
	{
		endPeer(fPeer);
		::close(fSocket);
	}

	const char *getName() const override { return "SOCK_SEQPACKET"; }
	void ping() override
	{
		char byte = 'p';
		::send(fSocket, &byte, 1, 0);
		::recv(fSocket, &byte, 1, 0);
	}
	void send(const std::string &payload) override
	{
		for (std::size_t start = 0; start < payload.size(); start += PACKET)
		{
			::send(fSocket, payload.data() + start, std::min(PACKET, payload.size() - start), 0);
		}
	}
	int getPeer() const override { return fPeer; }

private:
	static constexpr std::size_t PACKET = 64 << 10;

	int fSocket = -1;
	int fPeer = 0;
};
}

std::unique_ptr<ITransport> makeSeqpacket()
{
	return std::make_unique<SeqpacketTransport>();
}
}
