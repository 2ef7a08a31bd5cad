#include "MrvMorvaneData.h"

#include "MrvESDLLServiceOM.h"
#include "MrvHostFunction.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvLogger/MrvLogger.h"
#include "MrvUtils/MrvLimits.h"

#include <cstdlib>

namespace Mrv
{
MorvaneData &MorvaneData::get()
{
	static MorvaneData data;
	return data;
}

// At unload statics go in the reverse order of their making. A coordinator that was left running needs those that its start has made, so
// its end is entered behind them. A start that fails half-way makes fewer of them than one that succeeds.
void MorvaneData::endBeforeStatics(bool isInited)
{
	static bool isEntered[2] = {};
	if (!isEntered[isInited ? 1 : 0])
	{
		isEntered[isInited ? 1 : 0] = std::atexit(
		                                  []
		                                  {
			                                  get().stop();
			                                  get().fService = nullptr;
			                                  setCurrentLogger(nullptr);
		                                  }) == 0;
	}
}

void MorvaneData::takeLogLine(const std::string &line)
{
	MorvaneData &data = get();
	if (data.fIsQueueingLog && data.fInternalCoordinator)
	{
		// A host that doesn't look at the log keeps the newest lines.
		if (data.fLogMessageQueue.size() >= Limits::HOST_LOG_LINES)
		{
			data.fLogMessageQueue.pop_front();
		}
		data.fLogMessageQueue.push_back(line);
	}
	else
	{
		data.fLastLineOfStart = line;
	}
}

void MorvaneData::takeHostMessage(const std::string &hostName, const std::string &text)
{
	if (!fInternalCoordinator)
	{
		return;
	}
	if (fHostMessageQueue.size() >= Limits::HOST_QUEUE_ENTRIES)
	{
		if (!fIsHostQueueFull)
		{
			LOG_ERROR("the queue of messages for other hosts is full; the host takes none");
		}
		fIsHostQueueFull = true;
		return;
	}
	fIsHostQueueFull = false;
	fHostMessageQueue.emplace_back(hostName, text);
}

void MorvaneData::start(const std::string &name)
{
	try
	{
		startCoordinator(name);
	}
	catch (...)
	{
		end(); // what there is of it, so that another start finds nothing
		throw;
	}
}

void MorvaneData::startCoordinator(const std::string &name)
{
	fIsQueueingLog = false;
	fLastLineOfStart.clear();
	fIsInTimeslice = false;
	if (!getCurrentLogger())
	{
		const auto logger = std::make_shared<Logger>();
		logger->addCallback(&MorvaneData::takeLogLine);
		setCurrentLogger(logger);
	}
	InternalCoordinator::setName(name);
	InternalCoordinator::setIsEmbedded(false);
	// Neither a start-up script nor anybody later may end the process of the host.
	InternalCoordinator::setCanTerminate(false);
	const bool isInited = InternalCoordinator::init(0, nullptr);
	endBeforeStatics(isInited);
	InternalCoordinator::setCanTerminate(false);
	fIsQueueingLog = true;
	ASSIGN_AS(fInternalCoordinator, InternalCoordinator::instance(),
	    "MorvaneData::fInternalCoordinator = std::dynamic_pointer_cast<Mrv::InternalCoordinator>(Mrv::InternalCoordinator::factory());",
	    return );
	if (!isInited)
	{
		LOG_ERROR("the coordinator '" + name + "' could not start: " + fLastLineOfStart);
		return;
	}
	fInternalCoordinator->setGatewaySendMethod(
	    [this](const std::string &hostName, const std::string &text) { takeHostMessage(hostName, text); });
	HostFunction::install(*InternalCoordinator::getDefaultScope());
	const std::shared_ptr<IObject> serviceObjectPtr = ESDLLServiceOM::factory();
	SANITY_CHECK(serviceObjectPtr, return );
	ASSIGN_TYPED_AS(ESDLLServiceOM, service, serviceObjectPtr, "Mrv::ESDLLServiceOM service = serviceObjectPtr;", return );
	fService = service;
	LOG_NOTE("Morvane ExtendScript DLL inited");
}

void MorvaneData::runSlice()
{
	// It ends early when there is work for the host.
	const std::size_t scripts = fService ? fService->getScriptQueueSize() : 0;
	const std::size_t messages = fHostMessageQueue.size();
	fInternalCoordinator->runEventLoop(InternalCoordinator::getSettings().eventLoopMicroseconds, [this, scripts, messages]
	    { return (fService && fService->getScriptQueueSize() > scripts) || fHostMessageQueue.size() > messages; });
}

void MorvaneData::stop()
{
	if (fInternalCoordinator)
	{
		end();
	}
}

void MorvaneData::end()
{
	fInternalCoordinator = nullptr;
	ESDLLServiceOM::release();
	InternalCoordinator::release();
}
}
