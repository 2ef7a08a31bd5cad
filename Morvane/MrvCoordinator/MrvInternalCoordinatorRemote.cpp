// Remote scripts and data requests.
//
// The asking side: a task sends its request under a number of its own and sleeps. The answer comes as a message to the coordinator, which
// hears of it by its own event, finds the task by the number, and wakes it. The answering side of data requests: a call of the registered
// function for each request. Scripts from elsewhere are the business of the object-model service.
#include "MrvAddress/MrvInternalAddress.h"
#include "MrvAddress/MrvLocalUnresolvedAddress.h"
#include "MrvAddress/MrvRemoteResolvedAddress.h"
#include "MrvAddress/MrvRemoteUnresolvedAddress.h"
#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvCoordinator/MrvRunRemoteScriptTask.h"
#include "MrvCoordinator/MrvSendDataToRemoteTask.h"
#include "MrvEvent/MrvIEvent.h"
#include "MrvLogger/MrvChecks.h"
#include "MrvMessage/MrvMessage.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvPlatform/MrvCast.h"
#include "MrvService/MrvCallNodeAsFunctionForDataReplyTask.h"
#include "MrvService/MrvHandleDataRequestTask.h"
#include "MrvService/MrvRemotePayload.h"
#include "MrvService/MrvRemoteReply.h"
#include "MrvService/MrvServiceOM.h"
#include "MrvTask/MrvYieldingFrame.h"

namespace Mrv
{
namespace
{
const std::string MESSAGE_RECEIVED = "messageReceived";
const std::string MESSAGE_NOT_RELAYED = "messageNotRelayed";
const std::string SCRIPT_RESULTS = "scriptResults"; // the id of the coordinator's handler

std::string reasonOf(const RemotePayload &payload)
{
	const std::string reason = payload.getText(RemoteField::ERROR_TEXT).value_or(std::string());
	return reason.empty() ? "refused there" : reason;
}
}

// --- Events

void InternalCoordinator::listenToAnswers()
{
	const auto self = sharedCastTo<IEventListener>(shared_from_this());
	attachDetachEventHandler(AttachDetach::ATTACH, MESSAGE_RECEIVED, SCRIPT_RESULTS, self);
	attachDetachEventHandler(AttachDetach::ATTACH, MESSAGE_NOT_RELAYED, SCRIPT_RESULTS, self);
	fRoutingTable.setForgottenHandler([this](GUIDClass *upstreamGUID) { forgetCoordinator(upstreamGUID); });
}

bool InternalCoordinator::handleEvent(const std::string &eventHandlerName, const std::shared_ptr<IObject> &eventObj)
{
	EventListener::handleEvent(eventHandlerName, eventObj);
	const auto event = sharedCastTo<IEvent>(eventObj);
	const auto message = event ? sharedCastTo<IMessage>(event->getPayloadObj()) : nullptr;
	if (!message)
	{
		return true;
	}
	if (eventHandlerName == MESSAGE_NOT_RELAYED)
	{
		return handleNotRelayed(message);
	}
	if (eventHandlerName != MESSAGE_RECEIVED && eventHandlerName != SCRIPT_RESULTS)
	{
		return true;
	}
	if (message->getOpCode() == OpCode::EVAL_RESULT)
	{
		return handleEventScriptResults(message);
	}
	return message->getOpCode() != OpCode::DATA_REPLY || handleEventDataResults(message);
}

void InternalCoordinator::forgetCoordinator(GUIDClass *upstreamGUID)
{
	for (const std::shared_ptr<IService> &child : getChildList())
	{
		if (const auto service = sharedCastTo<ServiceOM>(child))
		{
			service->dropSessionsOf(upstreamGUID);
		}
	}
}

void InternalCoordinator::releaseServiceScopes()
{
	for (const std::shared_ptr<IService> &child : getChildList())
	{
		if (const auto service = sharedCastTo<ServiceOM>(child))
		{
			service->releaseScopes();
		}
	}
}

// --- Asking

bool InternalCoordinator::deregisterPendingTasks()
{
	fPendingTasks.clear();
	return true;
}

bool InternalCoordinator::sendRequest(const std::shared_ptr<RemoteRequestTask> &task)
{
	fPendingTasks.enter(task);
	const std::shared_ptr<IObject> message = Message::factoryFromSenderDestinationAddressOpCodePayloadStr(
	    getAddressObj(), task->getTargetAddressObj(), task->getOpCode(), task->makePayload());
	SANITY_CHECK(queueMessage(message), return false);
	return true;
}

void InternalCoordinator::request_yielding(const std::shared_ptr<RemoteRequestTask> &task, bool &success)
{
	struct LocalVariableState : OMFunctionState
	{
	};
	enum At : int32_t
	{
		START = 0,
		SENT = 1,
		DONE = -1
	};

	YieldingFrame<LocalVariableState> frame(*task, success);
	while (frame.running())
	{
		switch (frame.at<At>())
		{
			case START:
				if (!sendRequest(task))
				{
					frame.finish();
					break;
				}
				frame.goTo(SENT);
				[[fallthrough]];
			case SENT:
				switch (task->getStage())
				{
					case RemoteRequestTask::Stage::WAITING:
						task->sleepYield();
						break;
					case RemoteRequestTask::Stage::SESSION_LOST:
						frame.goTo(START);
						break;
					case RemoteRequestTask::Stage::ANSWERED:
					case RemoteRequestTask::Stage::FAILED:
						success = task->getStage() == RemoteRequestTask::Stage::ANSWERED;
						frame.finish();
						break;
				}
				break;
			case DONE:
				break;
		}
	}
}

void InternalCoordinator::runRemoteScript_yielding(const std::shared_ptr<Task> &task, bool &success)
{
	ASSIGN_TYPED(RunRemoteScriptTask, runRemoteScriptTask, task, success = false; return );
	ASSIGN_CONST_TYPED_AS(
	    IAddress, targetAddress, runRemoteScriptTask->getTargetAddressObj(), "IAddress targetAddress = targetAddressObj;", success = false;
	    return );
	request_yielding(runRemoteScriptTask, success);
}

void InternalCoordinator::sendDataToRemote_yielding(const std::shared_ptr<Task> &task, bool &success)
{
	ASSIGN_TYPED(SendDataToRemoteTask, sendDataToRemoteTask, task, success = false; return );
	ASSIGN_CONST_TYPED(IAddress, targetAddress, sendDataToRemoteTask->getTargetAddressObj(), success = false; return );
	request_yielding(sendDataToRemoteTask, success);
}

// --- Answers

bool InternalCoordinator::handleEventScriptResults(const std::shared_ptr<IMessage> &message)
{
	const std::shared_ptr<OMStored> messageNode = message->getAsOMNode();
	SANITY_CHECK(messageNode, return false);
	RemotePayload payload(messageNode);
	const RemoteExchange exchange = payload.getExchange();
	const std::shared_ptr<RemoteRequestTask> task = fPendingTasks.find(exchange.clientNumber);
	if (!task)
	{
		return true;
	}
	if (exchange.clientSession != fPendingTasks.getClientSession())
	{
		LOG_ERROR("unmatched clientSessionId");
		return false;
	}
	ASSIGN_TYPED(RunRemoteScriptTask, runRemoteScriptTask, task, return false);
	fPendingTasks.remove(*task);
	const bool isSuccess = payload.isTrue(RemoteField::SUCCESS);
	if (!isSuccess && !exchange.serviceSession && task->getExchange().serviceSession)
	{
		// The service doesn't know the session any more, and nothing has run.
		fPendingTasks.forgetServiceSession(task->getTargetURL());
		task->loseSession();
		return true;
	}
	fPendingTasks.learnServiceSession(task->getTargetURL(), exchange.serviceSession);
	std::optional<Value> value = isSuccess ? payload.takeValue(RemoteField::RESULT) : std::nullopt;
	const bool isError = value && value->isError();
	const std::shared_ptr<IOMNode> resultNode = value ? OMStored::valueFactory(std::move(*value)) : nullptr;
	if (!resultNode)
	{
		task->fail(reasonOf(payload));
	}
	else if (isError)
	{
		task->fErrorNote = reasonOf(payload);
	}
	ASSIGN_TYPED(OMStored, result, resultNode, return false);
	SANITY_CHECK(runRemoteScriptTask->handleEventScriptResults(result), return false);
	return true;
}

bool InternalCoordinator::handleEventDataResults(const std::shared_ptr<IMessage> &message)
{
	const std::shared_ptr<OMStored> messageNode = message->getAsOMNode();
	SANITY_CHECK(messageNode, return false);
	RemotePayload payload(messageNode);
	SANITY_CHECK_AS(payload.isMap(), "messageNodeAccessor.getType() == OMType::Map", return false);
	const RemoteExchange exchange = payload.getExchange();
	const std::shared_ptr<RemoteRequestTask> task = fPendingTasks.find(exchange.clientNumber);
	if (!task)
	{
		return true;
	}
	ASSIGN_TYPED(SendDataToRemoteTask, sendDataToRemoteTask, task, return false);
	if (exchange.clientSession != fPendingTasks.getClientSession())
	{
		LOG_ERROR("unmatched clientSessionId");
		return false;
	}
	fPendingTasks.remove(*task);
	std::optional<Value> value = payload.takeValue(RemoteField::DATA);
	if (!value && payload.isFalse(RemoteField::SUCCESS))
	{
		task->fail(reasonOf(payload));
		return true;
	}
	if (value && value->isError())
	{
		task->fErrorNote = reasonOf(payload);
	}
	return sendDataToRemoteTask->handleEventDataResults(OMStored::valueFactory(value ? std::move(*value) : Value()));
}

// Nobody took the request, so nobody will answer. Whoever asked for another process is told here, by an answer.
bool InternalCoordinator::handleNotRelayed(const std::shared_ptr<IMessage> &message)
{
	const OpCode opCode = message->getOpCode();
	if (opCode != OpCode::EVAL && opCode != OpCode::EVAL_FILE && opCode != OpCode::DATA_REQUEST)
	{
		return true;
	}
	const std::shared_ptr<const IObject> &senderObj = message->getSenderAddressObj();
	const auto *const sender = castTo<const Address_abstract>(senderObj.get());
	const auto *const receiver = castTo<const IAddress>(message->getReceiverAddressObj().get());
	const std::shared_ptr<OMStored> messageNode = message->getAsOMNode();
	if (!messageNode || !sender || !receiver)
	{
		return true; // not one that waits for an answer
	}
	const RemoteExchange exchange = RemotePayload(messageNode).getExchange();
	const std::string reason = "cannot be reached: ";
	if (sender->getUpstreamCoordinatorGUID() != getOwnGUID())
	{
		const OpCode answer = opCode == OpCode::DATA_REQUEST ? OpCode::DATA_REPLY : OpCode::EVAL_RESULT;
		return RemoteReply{getAddressObj(), senderObj, exchange}.send(answer, false, nullptr, reason + receiver->getURL());
	}
	const std::shared_ptr<RemoteRequestTask> task = fPendingTasks.find(exchange.clientNumber);
	if (task && exchange.clientSession == fPendingTasks.getClientSession())
	{
		fPendingTasks.remove(*task);
		task->fail(reason + task->getTargetURL());
	}
	return true;
}

// --- Data requests

bool InternalCoordinator::setDataRequestCallBack(
    const std::shared_ptr<OMScope> &scope, const std::string &callBackID, const Value &function)
{
	SANITY_CHECK_AS(!callBackID.empty(), "! callBackID.empty()", return false);
	SANITY_CHECK_AS(function.isFunction(), "callBackFunction", return false);
	SANITY_CHECK(scope, return false);
	HandleDataRequestTask::start(callBackID, function.toNode(), scope);
	return true;
}

bool InternalCoordinator::removeDataRequestCallBack(const std::string &callBackID)
{
	const std::shared_ptr<HandleDataRequestTask> task = HandleDataRequestTask::find(callBackID);
	if (task)
	{
		task->unregister();
	}
	return task != nullptr;
}

bool InternalCoordinator::hasDataRequestCallBack()
{
	return HandleDataRequestTask::isAnyRegistered();
}

std::shared_ptr<Task> InternalCoordinator::handleDataRequest(const std::shared_ptr<const IObject> &senderAddressObj,
    const std::string &callBackID, const Value &data, const RemoteExchange &exchange)
{
	ASSIGN_CONST_TYPED(IAddress, senderAddress, senderAddressObj, return nullptr);
	const std::shared_ptr<Task> task = Task::getTask(Task::getTaskIdByName(callBackID));
	if (!task || callBackID.empty())
	{
		LOG_ERROR("callBackID not found " + callBackID);
		return nullptr;
	}
	ASSIGN_TYPED(HandleDataRequestTask, handleDataRequestTask, task, return nullptr);
	if (!handleDataRequestTask->getFunctionNode())
	{
		LOG_ERROR("callBackID not associated with a function: " + callBackID);
		return nullptr;
	}
	const std::shared_ptr<OMScope> &handlerScope = handleDataRequestTask->getScope();
	SANITY_CHECK(handlerScope, return nullptr);
	const auto arguments = std::make_shared<std::vector<std::shared_ptr<IOMNode>>>(1, OMStored::valueFactory(data));
	const auto callNodeAsFunctionTask = CallNodeAsFunctionForDataReplyTask::factory(
	    handleDataRequestTask->getFunctionNode(), handlerScope, arguments, RemoteReply{getAddressObj(), senderAddressObj, exchange});
	SANITY_CHECK(callNodeAsFunctionTask, return nullptr);
	handleDataRequestTask->registerChildTask(callNodeAsFunctionTask);
	Task::startTask(callNodeAsFunctionTask);
	return callNodeAsFunctionTask;
}

// --- For the built-in functions

namespace
{
// The default service of the coordinator that an address means; empty for an address that means something in it.
std::shared_ptr<const IObject> toDefaultService(const std::shared_ptr<const IObject> &addressObj)
{
	const std::string indices = ServiceOM::DEFAULT_NAME + "/0";
	const auto &address = dynamic_cast<const IAddress &>(*addressObj);
	if (address.isInternalCoordinatorAddress())
	{
		return InternalAddress::factoryFromIndices(indices);
	}
	const auto *indexed = castTo<const IIndexedAddress>(addressObj.get());
	const auto *guids = castTo<const IGUIDAddress>(addressObj.get());
	const bool isCoordinator =
	    indexed ? indexed->getIndices().empty()
	            : guids && guids->getAddressedGUID() == guids->getUpstreamCoordinatorGUID() && !address.getCoordinatorName().empty();
	if (!isCoordinator)
	{
		return nullptr;
	}
	const bool isRemote = castTo<const RemoteUnresolvedAddress>(addressObj.get()) || castTo<const RemoteResolvedAddress>(addressObj.get());
	return isRemote ? RemoteUnresolvedAddress::factoryFromCoordinatorNameIndicesHostName(
	                      address.getCoordinatorName(), indices, address.getHostName())
	                : LocalUnresolvedAddress::factoryFromCoordinatorNameIndices(address.getCoordinatorName(), indices);
}

RemoteRequestTask::Callback callbackOf(const IRemoteScripts::Options &options)
{
	return options.callback.isFunction() ? RemoteRequestTask::Callback{options.callback.toNode(), options.scope}
	                                     : RemoteRequestTask::Callback{};
}
}

IRemoteScripts::Target InternalCoordinator::findTarget(const std::string &text)
{
	Target target;
	std::string tail;
	target.addressObj = Address_abstract::factoryFromURL(mapURL(text), tail);
	const auto *address = castTo<const IAddress>(target.addressObj.get());
	if (!address)
	{
		return target;
	}
	target.place = address->isInternalCoordinatorAddress() ? Target::Place::HERE : Target::Place::ELSEWHERE;
	target.isOnThisHost = isLocalHost(address->getHostName());
	if (const std::shared_ptr<const IObject> service = toDefaultService(target.addressObj))
	{
		target.addressObj = service;
	}
	target.url = dynamic_cast<const IAddress &>(*target.addressObj).getURL();
	return target;
}

std::shared_ptr<Task> InternalCoordinator::makeRemoteScriptTask(
    const Target &target, OpCode opCode, const std::string &script, const Options &options)
{
	return RunRemoteScriptTask::factory(target.addressObj, script, options.timeoutMicroseconds, opCode, callbackOf(options));
}

std::shared_ptr<Task> InternalCoordinator::makeSendDataTask(
    const Target &target, const std::string &callBackID, const Value &data, const Options &options)
{
	std::string literal;
	if (!appendForTransfer(literal, data))
	{
		return nullptr;
	}
	return SendDataToRemoteTask::factory(
	    target.addressObj, callBackID, std::move(literal), options.timeoutMicroseconds, callbackOf(options));
}
}
