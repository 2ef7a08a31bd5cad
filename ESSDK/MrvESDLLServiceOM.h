#pragma once

#include "MrvService/MrvServiceOM.h"
#include "MrvTask/MrvTask.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>

namespace Mrv
{
// What became of a script that the host was asked to run. Shared by the queue and whoever waits.
struct HostScriptOutcome
{
	bool isReported = false;
	bool isDropped = false; // the host went on without a report
	// What the host reported, as values; null for a text that can't be parsed.
	std::shared_ptr<OMStored> error;
	std::shared_ptr<OMStored> result;
};

// One script that waits for the host.
struct PendingScript
{
	std::shared_ptr<OMStored> fCallback; // a function, called with result and error; null: none
	std::shared_ptr<OMScope> fScope;     // that it is called in
	std::string fScript;
	std::shared_ptr<Task> fReplyTask; // the answer to a data request that waits for the report; null: none
	std::shared_ptr<HostScriptOutcome> fOutcome;
};

// The service by which scripts anywhere reach the host: "net.morvane.service.objectmodel/0" of a coordinator in a host. Its queue holds
// host scripts, the oldest first. The host takes the first one's text, runs it, reports, and advances.
class ESDLLServiceOM final : public ServiceOM
{
public:
	static const std::string TYPENAME;

	// The one instance, made and attached to the coordinator on first use. Empty, with a log line, without a coordinator.
	static std::shared_ptr<IObject> factory() { return getService(); }
	static std::shared_ptr<ESDLLServiceOM> getService();
	static bool registerDeregisterClass(RegisterDeregister registerDeregister);
	// Forgets the instance and its queue, at the end of the coordinator.
	static void release();

	// Drops the first script; one that wasn't reported gets no outcome.
	void advanceScriptQueue();
	// Queues a script. Who wants to know more looks at the outcome, which is given, or has a call-back. False, with a log line, when the
	// queue is full. A data request that the task answers is kept from answering before the host has reported.
	bool evalExtendScript(const std::shared_ptr<Task> &task, const std::string &script, const std::shared_ptr<OMScope> &scope,
	    const std::shared_ptr<OMStored> &callback, std::shared_ptr<HostScriptOutcome> &outcome);
	const std::string &getScript() const { return fScriptQueue.front().fScript; }
	std::size_t getScriptQueueSize() const { return fScriptQueue.size(); }
	// Tells what became of the first script, once: both texts are parsed as values, and the call-back is started. Doesn't remove it.
	void reportScriptCompleted(const std::string &error, const std::string &result);

	const std::string &getTypeName() const override { return TYPENAME; }
	const std::string &getName() const override { return SERVICE_NAME; }

private:
	explicit ESDLLServiceOM(const std::shared_ptr<OMScope> &scope) : ServiceOM(SERVICE_NAME, scope) {}
	static void deleter(ESDLLServiceOM *service);
	void releaseReplyTask(const PendingScript &done);

	std::deque<PendingScript> fScriptQueue;
	bool fIsFull = false;

	static std::shared_ptr<ESDLLServiceOM> sInstance;
};
}
