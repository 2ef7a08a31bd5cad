// The functions that a host calls. Each checks its arguments, does one thing, and lets no exception out. What a function gives back tells
// the host's script engine whether to raise an error; results travel in `retval`.
#include "MrvHostInterface.h"

#include "MrvESDLLServiceOM.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMorvaneData.h"

#include <cstdlib>
#include <cstring>
#include <exception>

namespace
{
using namespace Mrv;

// The body may change `result` before it throws; what it holds then is given back.
template <class Body>
int32_t guarded(Body body) noexcept
{
	int32_t result = MRV_HOST_OK;
	try
	{
		try
		{
			body(result);
		}
		catch (const std::exception &exception)
		{
			LOG_ERROR(std::string("throws ") + exception.what());
		}
	}
	catch (...)
	{
		// Not even the line could be made.
	}
	return result;
}

bool hasArgumentCount(int32_t argc, int32_t least, int32_t most, int32_t &result)
{
	if (argc >= least && argc <= most)
	{
		return true;
	}
	LOG_ERROR("invalid arg count");
	result = MRV_HOST_BAD_ARGUMENT_COUNT;
	return false;
}

// An argument that is a text; a log line for anything else, which is no error for the host.
bool takeString(const TaggedData *argv, int32_t index, std::string &text)
{
	if (!argv || argv[index].type != MRV_HOST_STRING || !argv[index].data.string)
	{
		LOG_ERROR("invalid arg type");
		return false;
	}
	text = argv[index].data.string;
	return true;
}

void giveString(TaggedData *retval, const std::string &text)
{
	auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
	if (!retval || !copy)
	{
		std::free(copy);
		return;
	}
	// The host's strings end at a NUL; what is behind one is lost there, not here.
	std::memcpy(copy, text.c_str(), text.size() + 1);
	retval->data.string = copy;
	retval->type = MRV_HOST_STRING;
}

void giveCount(TaggedData *retval, std::size_t count)
{
	if (retval)
	{
		retval->data.uintval = static_cast<uint32_t>(count);
		retval->type = MRV_HOST_UNSIGNED;
	}
}

// An export without arguments that works on a running coordinator.
template <class Body>
int32_t withCoordinator(int32_t argc, Body body) noexcept
{
	return guarded(
	    [&](int32_t &result)
	    {
		    if (hasArgumentCount(argc, 0, 0, result) && MorvaneData::get().isStarted())
		    {
			    body(MorvaneData::get());
		    }
	    });
}

bool hasEngine(int32_t &result)
{
	if (MorvaneData::get().fService)
	{
		return true;
	}
	LOG_ERROR("no engine");
	result = MRV_HOST_NO_ENGINE;
	return false;
}

// The same for those that work on the queue of scripts.
template <class Body>
int32_t withService(int32_t argc, Body body) noexcept
{
	return guarded(
	    [&](int32_t &result)
	    {
		    if (hasArgumentCount(argc, 0, 0, result) && hasEngine(result) && MorvaneData::get().isStarted())
		    {
			    body(*MorvaneData::get().fService);
		    }
	    });
}

template <class Queue>
void dropFront(Queue &queue)
{
	if (!queue.empty())
	{
		queue.pop_front();
	}
}
}

// --- The interface of external objects

// The names of the methods, with what they take.
extern "C" char *ESInitialize(const TaggedData *, int32_t)
{
	static char functions[] = "mrvAdvanceHostMessageQueue,mrvAdvanceLogMessageQueue,mrvAdvanceScriptQueue,mrvGetHostMessageTargetHost,"
	                          "mrvGetHostMessage,mrvGetHostMessageQueueSize,mrvGetLogMessage,mrvGetLogMessageQueueSize,mrvGetScript,"
	                          "mrvGetScriptQueueSize,mrvRegisterLocalHostName_s,mrvReportScriptCompleted_ss,mrvRelayHostMessage_ss,"
	                          "mrvInit_s,mrvShutdown,mrvTimeslice";
	return functions;
}

extern "C" void ESTerminate() {}

// The digits of the version as hexadecimal ones, without the dots.
extern "C" int32_t ESGetVersion()
{
	static const int32_t version = []
	{
		int32_t number = 0;
		for (const char *digit = MORVANE_VERSION; *digit; ++digit)
		{
			if (*digit >= '0' && *digit <= '9')
			{
				number = number * 16 + (*digit - '0');
			}
		}
		return number;
	}();
	return version;
}

extern "C" void *ESMallocMem(size_t size)
{
	return std::malloc(size);
}

extern "C" void ESFreeMem(void *memory)
{
	std::free(memory);
}

extern "C" int32_t ESClientInterface(int32_t reason, SoServerInterface_s *serverInterface, SoHServer serverHandle)
{
	return guarded(
	    [&](int32_t &result)
	    {
		    MorvaneData &data = MorvaneData::get();
		    const auto refuse = [&](const std::string &text)
		    {
			    LOG_ERROR(text);
			    result = MRV_HOST_REFUSED;
		    };
		    switch (reason)
		    {
			    case kSoCClient_init:
				    LOG_TRACE("kSoCClient_init");
				    if (data.fIsClientInited)
				    {
					    return refuse("already inited");
				    }
				    if (!serverInterface)
				    {
					    return refuse("pServerInterface is null");
				    }
				    if (!serverHandle)
				    {
					    return refuse("hServer is null");
				    }
				    data.fServerInterface = serverInterface;
				    data.fServerHandle = serverHandle;
				    data.fIsClientInited = true;
				    return;
			    case kSoCClient_term:
				    LOG_TRACE("kSoCClient_term");
				    if (!data.fIsClientInited)
				    {
					    return refuse("not inited");
				    }
				    data.fServerInterface = nullptr;
				    data.fServerHandle = nullptr;
				    data.fIsClientInited = false;
				    return;
		    }
		    refuse("invalid kReason " + std::to_string(static_cast<int>(reason)));
	    });
}

// --- Life

extern "C" int32_t mrvInit(TaggedData *argv, int32_t argc, TaggedData *)
{
	return guarded(
	    [&](int32_t &result)
	    {
		    if (MorvaneData::get().isStarted())
		    {
			    return;
		    }
		    if (const std::shared_ptr<ILogger> logger = getCurrentLogger())
		    {
			    logger->setLogLevel(0);
		    }
		    std::string name;
		    if (hasArgumentCount(argc, 1, 1, result) && takeString(argv, 0, name))
		    {
			    MorvaneData::get().start(name);
		    }
	    });
}

extern "C" int32_t mrvShutdown(TaggedData *, int32_t argc, TaggedData *)
{
	return guarded(
	    [&](int32_t &result)
	    {
		    if (hasArgumentCount(argc, 0, 0, result))
		    {
			    MorvaneData::get().stop();
		    }
	    });
}

extern "C" int32_t mrvTimeslice(TaggedData *, int32_t, TaggedData *)
{
	return guarded(
	    [](int32_t &)
	    {
		    MorvaneData &data = MorvaneData::get();
		    if (!data.isStarted() || data.fIsInTimeslice)
		    {
			    return;
		    }
		    data.fIsInTimeslice = true;
		    data.runSlice();
		    data.fIsInTimeslice = false;
	    });
}

// --- Scripts for the host

extern "C" int32_t mrvGetScriptQueueSize(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withService(argc, [&](ESDLLServiceOM &service) { giveCount(retval, service.getScriptQueueSize()); });
}

extern "C" int32_t mrvGetScript(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withService(argc,
	    [&](ESDLLServiceOM &service)
	    {
		    if (service.getScriptQueueSize() > 0)
		    {
			    giveString(retval, service.getScript());
		    }
	    });
}

extern "C" int32_t mrvAdvanceScriptQueue(TaggedData *, int32_t argc, TaggedData *)
{
	return withService(argc, [](ESDLLServiceOM &service) { service.advanceScriptQueue(); });
}

extern "C" int32_t mrvReportScriptCompleted(TaggedData *argv, int32_t argc, TaggedData *)
{
	return guarded(
	    [&](int32_t &result)
	    {
		    if (!hasArgumentCount(argc, 0, 2, result) || !hasEngine(result) || !MorvaneData::get().isStarted())
		    {
			    return;
		    }
		    std::string texts[2]; // error, result
		    for (int32_t index = 0; index < argc; ++index)
		    {
			    if (!takeString(argv, index, texts[index]))
			    {
				    return;
			    }
		    }
		    MorvaneData::get().fService->reportScriptCompleted(texts[0], texts[1]);
	    });
}

// --- Messages for other hosts

extern "C" int32_t mrvGetHostMessageQueueSize(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withCoordinator(argc, [&](MorvaneData &data) { giveCount(retval, data.fHostMessageQueue.size()); });
}

extern "C" int32_t mrvGetHostMessage(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withCoordinator(argc,
	    [&](MorvaneData &data)
	    {
		    if (!data.fHostMessageQueue.empty())
		    {
			    giveString(retval, data.fHostMessageQueue.front().second);
		    }
	    });
}

extern "C" int32_t mrvGetHostMessageTargetHost(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withCoordinator(argc,
	    [&](MorvaneData &data)
	    {
		    if (!data.fHostMessageQueue.empty())
		    {
			    giveString(retval, data.fHostMessageQueue.front().first);
		    }
	    });
}

extern "C" int32_t mrvAdvanceHostMessageQueue(TaggedData *, int32_t argc, TaggedData *)
{
	return withCoordinator(argc, [](MorvaneData &data) { dropFront(data.fHostMessageQueue); });
}

extern "C" int32_t mrvRelayHostMessage(TaggedData *argv, int32_t argc, TaggedData *)
{
	return guarded(
	    [&](int32_t &result)
	    {
		    std::string senderHost;
		    std::string text;
		    if (!hasArgumentCount(argc, 2, 2, result) || !takeString(argv, 0, senderHost) || !takeString(argv, 1, text) ||
		        !MorvaneData::get().isStarted())
		    {
			    return;
		    }
		    // A host that trims its texts must not lose the payload with the last line end.
		    if (text.empty() || text.back() != '\n')
		    {
			    text += '\n';
		    }
		    MorvaneData::get().fInternalCoordinator->receiveGatewayMessageStr(senderHost, text);
	    });
}

extern "C" int32_t mrvRegisterLocalHostName(TaggedData *argv, int32_t argc, TaggedData *)
{
	return guarded(
	    [&](int32_t &result)
	    {
		    std::string hostName;
		    if (hasArgumentCount(argc, 1, 1, result) && takeString(argv, 0, hostName) && MorvaneData::get().isStarted())
		    {
			    InternalCoordinator::registerLocalHostName(hostName);
		    }
	    });
}

// --- Log lines

extern "C" int32_t mrvGetLogMessageQueueSize(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withCoordinator(argc, [&](MorvaneData &data) { giveCount(retval, data.fLogMessageQueue.size()); });
}

extern "C" int32_t mrvGetLogMessage(TaggedData *, int32_t argc, TaggedData *retval)
{
	return withCoordinator(argc,
	    [&](MorvaneData &data)
	    {
		    if (!data.fLogMessageQueue.empty())
		    {
			    giveString(retval, data.fLogMessageQueue.front());
		    }
	    });
}

extern "C" int32_t mrvAdvanceLogMessageQueue(TaggedData *, int32_t argc, TaggedData *)
{
	return withCoordinator(argc, [](MorvaneData &data) { dropFront(data.fLogMessageQueue); });
}
