#include "MrvESDLLServiceOM.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Task/MrvCallNodeAsFunctionTask.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvUtils/MrvLimits.h"

#include <algorithm>

namespace Mrv
{
const std::string ESDLLServiceOM::TYPENAME = "ESDLLServiceOM";
std::shared_ptr<ESDLLServiceOM> ESDLLServiceOM::sInstance;

std::shared_ptr<ESDLLServiceOM> ESDLLServiceOM::getService()
{
	if (!sInstance)
	{
		const std::shared_ptr<ESDLLServiceOM> service(
		    new ESDLLServiceOM(OMScope::factory(InternalCoordinator::getDefaultScope())), &ESDLLServiceOM::deleter);
		sInstance = attach(service) ? service : nullptr;
	}
	return sInstance;
}

void ESDLLServiceOM::release()
{
	sInstance = nullptr;
}

void ESDLLServiceOM::deleter(ESDLLServiceOM *service)
{
	Object::deleter(service);
	delete service;
}

bool ESDLLServiceOM::registerDeregisterClass(RegisterDeregister registerDeregister)
{
	return registerDeregister == RegisterDeregister::REGISTER ? registerFactory(TYPENAME, &ESDLLServiceOM::factory)
	                                                          : deregisterFactory(TYPENAME);
}

bool ESDLLServiceOM::evalExtendScript(const std::shared_ptr<Task> &task, const std::string &script, const std::shared_ptr<OMScope> &scope,
    const std::shared_ptr<OMStored> &callback, std::shared_ptr<HostScriptOutcome> &outcome)
{
	SANITY_CHECK(task, return false);
	if (fScriptQueue.size() >= Limits::HOST_QUEUE_ENTRIES)
	{
		if (!fIsFull)
		{
			LOG_ERROR("the queue of scripts for the host is full; the host takes none");
		}
		fIsFull = true;
		return false;
	}
	fIsFull = false;
	outcome = std::make_shared<HostScriptOutcome>();
	const std::shared_ptr<Task> replyTask = task->getAncestorTask(AncestorKind::CALL_NODE_AS_FUNCTION_FOR_DATA_REPLY);
	if (replyTask)
	{
		replyTask->setPersistent(true);
	}
	fScriptQueue.push_back({callback, scope, script, replyTask, outcome});
	return true;
}

// A reply waits for the last script that its function has asked for.
void ESDLLServiceOM::releaseReplyTask(const PendingScript &done)
{
	const auto waitsForAnother = [&](const PendingScript &other)
	{ return other.fReplyTask == done.fReplyTask && !other.fOutcome->isReported && other.fOutcome != done.fOutcome; };
	if (done.fReplyTask && std::none_of(fScriptQueue.begin(), fScriptQueue.end(), waitsForAnother))
	{
		done.fReplyTask->setPersistent(false);
	}
}

void ESDLLServiceOM::advanceScriptQueue()
{
	if (fScriptQueue.empty())
	{
		return;
	}
	const PendingScript done = std::move(fScriptQueue.front());
	fScriptQueue.pop_front();
	if (!done.fOutcome->isReported)
	{
		done.fOutcome->isDropped = true;
		releaseReplyTask(done);
	}
}

void ESDLLServiceOM::reportScriptCompleted(const std::string &error, const std::string &result)
{
	VERIFY_AS(!fScriptQueue.empty(), "! fScriptQueue.empty()", return );
	// A copy: while the texts are parsed, tasks run and may add to the queue.
	const PendingScript done = fScriptQueue.front();
	if (done.fOutcome->isReported)
	{
		return;
	}
	const std::shared_ptr<OMStored> errorNode = OMStored::undefinedFactory();
	const bool isErrorParsed = error.empty() || ParseTask::call(errorNode, error);
	const std::shared_ptr<OMStored> resultNode = OMStored::undefinedFactory();
	const bool isResultParsed = result.empty() || ParseTask::call(resultNode, result);
	done.fOutcome->isReported = true;
	done.fOutcome->error = isErrorParsed ? errorNode : nullptr;
	done.fOutcome->result = isResultParsed ? resultNode : nullptr;
	SANITY_CHECK_AS(isErrorParsed, "ParseTask::call(errorNode, error)", releaseReplyTask(done); return );
	SANITY_CHECK_AS(isResultParsed, "ParseTask::call(resultNode, result)", releaseReplyTask(done); return );
	if (done.fCallback && done.fCallback->getType() == OMType::Function && done.fScope)
	{
		const auto arguments = std::make_shared<std::vector<std::shared_ptr<IOMNode>>>();
		arguments->push_back(resultNode);
		arguments->push_back(errorNode);
		const auto task = CallNodeAsFunctionTask::factory(done.fCallback, done.fScope, arguments);
		if (done.fReplyTask)
		{
			done.fReplyTask->registerChildTask(task);
		}
		Task::startTask(task);
	}
	releaseReplyTask(done);
}
}
