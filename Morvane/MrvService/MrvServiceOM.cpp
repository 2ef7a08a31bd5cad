#include "MrvService/MrvServiceOM.h"

#include "MrvAddress/MrvAddress_abstract.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvContainerRelease.h"
#include "MrvParser/Stream/MrvInputStreamFile.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvParser/Task/MrvEvalTask.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvService/MrvEvalThenSendMessageTask.h"
#include "MrvService/MrvIMessagingCoordinator.h"
#include "MrvService/MrvRemotePayload.h"
#include "MrvUtils/MrvDirs.h"
#include "MrvUtils/MrvLimits.h"
#include "MrvUtils/MrvUtils.h"

#include <utility>

namespace Mrv
{
const std::string ServiceOM::TYPENAME = "ServiceOM";
const std::string ServiceOM::SERVICE_NAME = "net.morvane.service.objectmodel";
const std::string ServiceOM::DEFAULT_NAME = "default";

struct ServiceOM::Request
{
	OpCode opCode;
	GUIDClass *upstream; // the coordinator that asks
	RemotePayload payload;
	RemoteReply reply;
};

namespace
{
// Parses to the end at once. A text from elsewhere must not hold up everybody else for ever.
std::shared_ptr<OMStored> parseSource(ScriptEvaluation::Source source, std::string &errorText)
{
	const std::shared_ptr<OMStored> scriptNode = OMStored::undefinedFactory();
	const auto parse = ParseTask::sourceFactory(scriptNode, std::move(source), Task::DEFAULT_TIMEOUT);
	if (parse->runToCompletion() && parse->isSuccess())
	{
		return scriptNode;
	}
	errorText = parse->isTimedOut() ? "the parse was cut off at its deadline" : Utils::trim(parse->getErrorText());
	LOG_ERROR("SANITY_CHECK failed: 'ParseTask::call(scriptNode, script)' evaluates to false");
	return nullptr;
}

ScriptEvaluation::Source sourceOf(const std::string &script)
{
	return {std::make_shared<InputStreamString>(std::string_view(script)), std::make_unique<ParseContext>("eval")};
}
}

// --- Making

ServiceOM::ServiceOM(std::string name, std::shared_ptr<OMScope> scope) : fName(std::move(name)), fScope(std::move(scope)) {}

std::shared_ptr<IObject> ServiceOM::factory()
{
	return factoryFromNameOMScope(DEFAULT_NAME, OMScope::factory());
}

std::shared_ptr<ServiceOM> ServiceOM::factoryFromNameOMScope(const std::string &name, const std::shared_ptr<OMScope> &scope)
{
	SANITY_CHECK(scope, return nullptr);
	const std::shared_ptr<ServiceOM> serviceOM(new ServiceOM(name, scope), &ServiceOM::deleter);
	return attach(serviceOM) ? serviceOM : nullptr;
}

bool ServiceOM::attach(const std::shared_ptr<ServiceOM> &serviceOM)
{
	IMessagingCoordinator *coordinator = IMessagingCoordinator::current();
	SANITY_CHECK_AS(coordinator, "internalCoordinator", return false);
	serviceOM->registerObjectID(serviceOM);
	const std::shared_ptr<IService> internalCoordinator = coordinator->getRootService();
	SANITY_CHECK(serviceOM->attachToParent(internalCoordinator), return false);
	return true;
}

void ServiceOM::deleter(ServiceOM *service)
{
	Object::deleter(service);
	delete service;
}

bool ServiceOM::registerDeregisterClass(RegisterDeregister registerDeregister)
{
	return registerDeregister == RegisterDeregister::REGISTER ? registerFactory(TYPENAME, &ServiceOM::factory)
	                                                          : deregisterFactory(TYPENAME);
}

// --- Scripts

std::shared_ptr<OMStored> ServiceOM::parseScript(const std::string &script)
{
	std::string errorText;
	return parseSource(sourceOf(script), errorText);
}

std::shared_ptr<IOMNode> ServiceOM::evalScriptNode(const std::shared_ptr<IOMNode> &scriptNode, const std::shared_ptr<OMScope> &scope)
{
	const std::shared_ptr<IOMNode> result = EvalTask::call(scriptNode, scope, HandleReturnValue::UNWRAP);
	ASSIGN_TYPED_AS(OMStored, scriptOMNode, result, "OMStored scriptOMNode = scriptNode;", return nullptr);
	return scriptOMNode;
}

// --- Sessions

ServiceOM::Session *ServiceOM::addSession(Request &request)
{
	std::vector<GUIDClass *> &own = fSessionsByUpstream[request.upstream];
	if (own.size() >= Limits::SESSIONS)
	{
		if (!fIsSessionLimitNoted)
		{
			LOG_ERROR("too many sessions of one coordinator: no more are opened");
			fIsSessionLimitNoted = true;
		}
		return nullptr;
	}
	GUIDClass *serviceSessionGUID = GUIDClass::randomFactory();
	SANITY_CHECK(serviceSessionGUID, return nullptr);
	own.push_back(serviceSessionGUID);
	RemoteExchange &exchange = request.reply.exchange;
	exchange.serviceSession = serviceSessionGUID;
	GUIDClass *client = exchange.clientSession ? exchange.clientSession : request.upstream;
	return &fSessions.insert_or_assign(serviceSessionGUID, Session{OMScope::factory(fScope), client, request.upstream}).first->second;
}

// The session that a request names, else the first one of the client; made when it has none. The answer tells which one it is. Null, and
// the answer names none, when there is no such session.
ServiceOM::Session *ServiceOM::findSession(Request &request)
{
	RemoteExchange &exchange = request.reply.exchange;
	if (exchange.isServiceSessionGiven)
	{
		const auto session = fSessions.find(exchange.serviceSession);
		if (session == fSessions.end())
		{
			exchange.serviceSession = nullptr;
			return nullptr;
		}
		return &session->second;
	}
	const GUIDClass *client = exchange.clientSession ? exchange.clientSession : request.upstream;
	const auto own = fSessionsByUpstream.find(request.upstream);
	for (std::size_t index = 0; own != fSessionsByUpstream.end() && index < own->second.size(); ++index)
	{
		Session &session = fSessions.at(own->second[index]);
		if (session.client == client)
		{
			exchange.serviceSession = own->second[index];
			return &session;
		}
	}
	return addSession(request);
}

void ServiceOM::removeSession(GUIDClass *serviceSessionGUID)
{
	const auto session = fSessions.find(serviceSessionGUID);
	const auto own = fSessionsByUpstream.find(session->second.upstream);
	std::erase(own->second, serviceSessionGUID);
	if (own->second.empty())
	{
		fSessionsByUpstream.erase(own);
	}
	fSessions.erase(session);
}

void ServiceOM::dropSessionsOf(GUIDClass *upstreamCoordinatorGUID)
{
	const auto own = fSessionsByUpstream.find(upstreamCoordinatorGUID);
	if (own == fSessionsByUpstream.end())
	{
		return;
	}
	for (GUIDClass *serviceSessionGUID : own->second)
	{
		fSessions.erase(serviceSessionGUID);
	}
	fSessionsByUpstream.erase(own);
}

void ServiceOM::releaseScopes()
{
	for (const auto &[serviceSessionGUID, session] : fSessions)
	{
		emptyReachableContainers(session.fScope->getValue());
	}
	fSessions.clear();
	fSessionsByUpstream.clear();
	emptyReachableContainers(fScope->getValue());
}

// --- Requests

bool ServiceOM::receiveMessage(const std::shared_ptr<IObject> &messageObj)
{
	SANITY_CHECK(Service_abstract::receiveMessage(messageObj), return false);
	ASSIGN_TYPED(IMessage, message, messageObj, return false);
	const OpCode opCode = message->getOpCode();
	const bool isOurs = (opCode >= OpCode::OPEN_SESSION && opCode <= OpCode::EVAL_FILE) || opCode == OpCode::DATA_REQUEST;
	if (!isOurs)
	{
		return true;
	}
	ASSIGN_CONST_TYPED_AS(Address_abstract, senderAddress, message->getSenderAddressObj(),
	    "IAddress senderAddress = message->getSenderAddressObj();", return false);
	GUIDClass *senderGUID = senderAddress->getAddressedGUID();
	GUIDClass *upstreamCoordinatorGUID = senderAddress->getUpstreamCoordinatorGUID();
	SANITY_CHECK(senderGUID, return false);
	SANITY_CHECK(upstreamCoordinatorGUID, return false);
	const std::shared_ptr<OMStored> incomingMessageNode = message->getAsOMNode();
	SANITY_CHECK(incomingMessageNode, return false);
	return handleRequest(message, senderAddress, upstreamCoordinatorGUID, incomingMessageNode);
}

bool ServiceOM::handleRequest(const std::shared_ptr<IMessage> &message, const std::shared_ptr<const IObject> &senderAddressObj,
    GUIDClass *upstreamCoordinatorGUID, const std::shared_ptr<OMStored> &payloadNode)
{
	Request request{message->getOpCode(), upstreamCoordinatorGUID, RemotePayload(payloadNode), {getAddressObj(), senderAddressObj, {}}};
	request.reply.exchange = request.payload.getExchange();
	if (request.opCode == OpCode::OPEN_SESSION)
	{
		return openSession(request);
	}
	if (request.opCode == OpCode::CLOSE_SESSION)
	{
		return closeSession(request);
	}
	return request.opCode == OpCode::DATA_REQUEST ? requestData(request) : eval(request);
}

bool ServiceOM::refuse(const Request &request, const std::string &errorText)
{
	return request.reply.send(OpCode::EVAL_RESULT, false, nullptr, errorText);
}

bool ServiceOM::openSession(Request &request)
{
	request.reply.exchange.serviceSession = nullptr;
	const Session *session = addSession(request);
	return session ? request.reply.send(OpCode::EVAL_RESULT, true, nullptr, {}) : refuse(request, "too many sessions");
}

bool ServiceOM::closeSession(Request &request)
{
	GUIDClass *serviceSessionGUID = request.reply.exchange.serviceSession;
	if (!fSessions.contains(serviceSessionGUID))
	{
		return refuse(request, "no such session");
	}
	removeSession(serviceSessionGUID);
	return request.reply.send(OpCode::EVAL_RESULT, true, nullptr, {});
}

std::shared_ptr<OMStored> ServiceOM::parse(const Request &request, const std::string &script, std::string &errorText) const
{
	if (request.opCode == OpCode::EVAL)
	{
		return parseSource(sourceOf(script), errorText);
	}
	const auto file = Dirs::fileExists(script) ? std::make_shared<InputStreamFile>(script) : nullptr;
	if (!file || !file->isOpen())
	{
		errorText = (file ? "cannot be read: " : "does not exist: ") + script;
		LOG_ERROR(errorText);
		return nullptr;
	}
	return parseSource({file, std::make_unique<ParseContext>(script, ParseContext::FirstLine::MAY_BE_DIRECTIVE)}, errorText);
}

bool ServiceOM::eval(Request &request)
{
	const Session *session = findSession(request);
	if (!session)
	{
		return refuse(request, request.reply.exchange.isServiceSessionGiven ? "no such session" : "too many sessions");
	}
	SANITY_CHECK_AS(session->fScope, "session.fScope", return false);
	const std::optional<std::string> script = request.payload.getScript();
	if (!script || (request.opCode == OpCode::EVAL_FILE && script->empty()))
	{
		LOG_ERROR("a request without a script");
		return refuse(request, "no script");
	}
	// A relative path counts from the current folder: whoever asks knows no other.
	const std::string scriptFilePath =
	    request.opCode == OpCode::EVAL_FILE ? Dirs::fullPath(ScriptEvaluation::toSystemPath(*script)) : std::string();
	std::string errorText;
	const std::shared_ptr<OMStored> scriptNode = parse(request, scriptFilePath.empty() ? *script : scriptFilePath, errorText);
	if (!scriptNode)
	{
		return refuse(request, errorText);
	}
	const auto task = EvalThenSendMessageTask::factory(scriptNode, session->fScope, request.reply, scriptFilePath);
	SANITY_CHECK_AS(task, "evalThenSendMessageTask", return false);
	return Task::startTask(task);
}

bool ServiceOM::requestData(Request &request)
{
	IMessagingCoordinator *internalCoordinator = IMessagingCoordinator::current();
	SANITY_CHECK(internalCoordinator, return false);
	const std::string callBackID = request.payload.getText(RemoteField::CALL_BACK_ID).value_or(std::string());
	const Value data = request.payload.takeValue(RemoteField::DATA).value_or(Value());
	const std::shared_ptr<Task> handleDataRequestTask =
	    internalCoordinator->handleDataRequest(request.reply.destinationObj, callBackID, data, request.reply.exchange);
	SANITY_CHECK(handleDataRequestTask, return false);
	return true;
}
}
