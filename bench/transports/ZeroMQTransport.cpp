// REQ and REP for questions. What goes one way goes by PUSH and PULL, and a pair of these tells that all of it has been taken.
#include "Transports.h"

#include <array>
#include <string>
#include <unistd.h>
#include <utility>
#include <zmq.h>

namespace Mrv::Bench
{
namespace
{
class ZeroMQTransport final : public ITransport
{
public:
	ZeroMQTransport(std::string question, std::string answer)
	    : fPath("ipc:///tmp/morvane-bench-" + std::to_string(::getpid())),
	      fQuestion(std::move(question)),
	      fAnswer(std::move(answer))
	{
		fPeer = startPeer([this] { serve(); });
		fContext = zmq_ctx_new();
		fAsk = open(fContext, ZMQ_REQ, Place::ASK, zmq_connect);
		fPush = open(fContext, ZMQ_PUSH, Place::PUSH, zmq_connect);
		fTaken = open(fContext, ZMQ_PULL, Place::TAKEN, zmq_connect);
		ping();
	}
	ZeroMQTransport(const ZeroMQTransport &) = delete;
	ZeroMQTransport &operator=(const ZeroMQTransport &) = delete;
	~ZeroMQTransport() override
	{
		endPeer(fPeer);
		for (void *const socket : {fAsk, fPush, fTaken})
		{
			zmq_close(socket);
		}
		zmq_ctx_destroy(fContext);
		for (const Place place : {Place::ASK, Place::PUSH, Place::TAKEN})
		{
			::unlink(pathOf(place).c_str() + std::string("ipc://").size());
		}
	}

	const char *getName() const override { return "ZeroMQ ipc"; }
	void ping() override
	{
		std::array<char, 256> answer{};
		if (fHasPushed)
		{
			zmq_send(fPush, "", 0, 0);
			zmq_recv(fTaken, answer.data(), answer.size(), 0);
			fHasPushed = false;
			return;
		}
		zmq_send(fAsk, fQuestion.data(), fQuestion.size(), 0);
		zmq_recv(fAsk, answer.data(), answer.size(), 0);
	}
	void send(const std::string &payload) override
	{
		zmq_send(fPush, payload.data(), payload.size(), 0);
		fHasPushed = true;
	}
	int getPeer() const override { return fPeer; }

private:
	enum class Place : char
	{
		ASK = 'a',
		PUSH = 'p',
		TAKEN = 't',
	};

	std::string pathOf(Place place) const { return fPath + '-' + static_cast<char>(place); }
	void *open(void *context, int kind, Place place, int (*bindOrConnect)(void *, const char *)) const
	{
		void *const socket = zmq_socket(context, kind);
		const int noLinger = 0;
		zmq_setsockopt(socket, ZMQ_LINGER, &noLinger, sizeof noLinger);
		bindOrConnect(socket, pathOf(place).c_str());
		return socket;
	}
	[[noreturn]] void serve() const
	{
		void *const context = zmq_ctx_new();
		void *const answer = open(context, ZMQ_REP, Place::ASK, zmq_bind);
		void *const pull = open(context, ZMQ_PULL, Place::PUSH, zmq_bind);
		void *const taken = open(context, ZMQ_PUSH, Place::TAKEN, zmq_bind);
		zmq_msg_t message;
		zmq_msg_init(&message);
		for (;;)
		{
			std::array<zmq_pollitem_t, 2> items{{{pull, 0, ZMQ_POLLIN, 0}, {answer, 0, ZMQ_POLLIN, 0}}};
			zmq_poll(items.data(), items.size(), -1);
			while (zmq_msg_recv(&message, pull, ZMQ_DONTWAIT) >= 0)
			{
				if (zmq_msg_size(&message) == 0)
				{
					zmq_send(taken, "t", 1, 0);
				}
			}
			if (items[1].revents & ZMQ_POLLIN)
			{
				zmq_msg_recv(&message, answer, 0);
				zmq_send(answer, fAnswer.data(), fAnswer.size(), 0);
			}
		}
	}

	std::string fPath;
	std::string fQuestion;
	std::string fAnswer;
	void *fContext = nullptr;
	void *fAsk = nullptr;
	void *fPush = nullptr;
	void *fTaken = nullptr;
	bool fHasPushed = false;
	int fPeer = 0;
};
}

std::unique_ptr<ITransport> makeZeroMQ(const std::string &question, const std::string &answer)
{
	return std::make_unique<ZeroMQTransport>(question, answer);
}
}
