#pragma once

#include "MrvService/MrvRemoteReply.h"
#include "MrvService/MrvService_abstract.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mrv
{
class IMessage;
class IOMNode;
class OMScope;
class OMStored;
class ParseTask;
class RemotePayload;

// Gives clients elsewhere access to the variables of a scope: it keeps a session for each, runs their scripts, and passes data requests to
// the functions that are registered for them. A session has a scope of its own, a child of the service's: new variables are the session's,
// those of the service's scope are everybody's.
//
// A client opens as many sessions as it likes. One that names none works in the first that it has here, opened for it when there is none
// yet. A session ends when it is closed, or when the coordinator it was opened from is forgotten.
class ServiceOM : public Service_abstract
{
public:
	static const std::string TYPENAME;
	static const std::string SERVICE_NAME; // of the kind
	static const std::string DEFAULT_NAME; // of the instance that is meant where none is named

	// Each makes a service and attaches it to the coordinator, which owns it. Empty, with a log line, without a coordinator or a scope.
	// factory: a default instance with a scope of its own.
	static std::shared_ptr<IObject> factory();
	static std::shared_ptr<ServiceOM> factoryFromNameOMScope(const std::string &name, const std::shared_ptr<OMScope> &scope);
	static void deleter(ServiceOM *service);
	static bool registerDeregisterClass(RegisterDeregister registerDeregister);

	// The program of a text; null, with a log line, when it can't be parsed.
	static std::shared_ptr<OMStored> parseScript(const std::string &script);
	// Runs a program to its end, for code that can't suspend. Null, with a log line, when it has no value.
	virtual std::shared_ptr<IOMNode> evalScriptNode(const std::shared_ptr<IOMNode> &scriptNode, const std::shared_ptr<OMScope> &scope);
	const std::shared_ptr<OMScope> &getScope() const { return fScope; }

	// Serves "openSession", "closeSession", "eval", "evalFile" and "dataRequest"; the rest is accepted and ignored. False, with a log line,
	// when a request could not even be answered.
	bool receiveMessage(const std::shared_ptr<IObject> &messageObj) override;

	std::size_t getSessionCount() const { return fSessions.size(); }
	// Ends the sessions that were opened from a coordinator.
	void dropSessionsOf(GUIDClass *upstreamCoordinatorGUID);
	// Ends everything, and takes apart what holds itself: the scopes are of no use afterwards.
	void releaseScopes();

	const std::string &getTypeName() const override { return TYPENAME; }
	const std::string &getName() const override { return fName; }
	const std::string &getServiceName() const override { return SERVICE_NAME; }

protected:
	// Enters a new service in the registries and attaches it to the coordinator.
	static bool attach(const std::shared_ptr<ServiceOM> &service);
	ServiceOM(std::string name, std::shared_ptr<OMScope> scope);

private:
	struct Session
	{
		std::shared_ptr<OMScope> fScope;
		GUIDClass *client;   // the id that the client gave, else its coordinator's
		GUIDClass *upstream; // the client's coordinator
	};
	struct Request;

	bool handleRequest(const std::shared_ptr<IMessage> &message, const std::shared_ptr<const IObject> &senderAddressObj,
	    GUIDClass *upstreamCoordinatorGUID, const std::shared_ptr<OMStored> &payloadNode);
	bool openSession(Request &request);
	bool closeSession(Request &request);
	bool eval(Request &request);
	bool requestData(Request &request);
	static bool refuse(const Request &request, const std::string &errorText);

	Session *addSession(Request &request);
	Session *findSession(Request &request);
	void removeSession(GUIDClass *serviceSessionGUID);
	std::shared_ptr<OMStored> parse(const Request &request, const std::string &script, std::string &errorText) const;

	const std::string fName;
	std::shared_ptr<OMScope> fScope;
	std::unordered_map<GUIDClass *, Session, PointerHash> fSessions;
	std::unordered_map<GUIDClass *, std::vector<GUIDClass *>, PointerHash> fSessionsByUpstream; // in the order of opening
	bool fIsSessionLimitNoted = false;
};
}
