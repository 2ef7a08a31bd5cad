#pragma once

#include "MrvObject/MrvIObject.h"
#include "MrvObject/MrvOpCode.h"
#include "MrvParser/Node/MrvValue.h"
#include "MrvTask/MrvTask.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
class OMScope;

// What the built-in functions ask of the coordinator to reach scripts and functions elsewhere. The coordinator implements it and is the
// current one while it exists.
class IRemoteScripts
{
public:
	// Null before the coordinator is made and when it has gone.
	static IRemoteScripts *current();
	// Says how `current` finds the coordinator. A null function means that there is none.
	static void setProvider(IRemoteScripts *(*provider)());

	// Where a text with an address leads.
	struct Target
	{
		enum class Place : uint8_t
		{
			NOWHERE, // it is no address
			HERE,    // the coordinator of this process itself
			ELSEWHERE,
		};
		Place place = Place::NOWHERE;
		bool isOnThisHost = false;
		std::shared_ptr<const IObject> addressObj; // of the service that is meant, never the coordinator; also for HERE
		std::string url;                           // of that address
	};
	// The text is a key of the section [urlMap] or a URL. One without a path means the default service.
	virtual Target findTarget(const std::string &text) = 0;

	// What a request has beside its content. The function is called with the answer in the scope, when it has come.
	struct Options
	{
		static constexpr int64_t DEFAULT_TIMEOUT = -1; // as the settings say
		int64_t timeoutMicroseconds = DEFAULT_TIMEOUT;
		Value callback; // a Function, or anything else for none
		std::shared_ptr<OMScope> scope;
	};
	// Tasks to be run, as a rule as children: they send the request and wait for its answer, which is the task's result when it succeeds.
	// When not, `fErrorNote` says why. opCode: EVAL with a text, EVAL_FILE with a path.
	virtual std::shared_ptr<Task> makeRemoteScriptTask(
	    const Target &target, OpCode opCode, const std::string &script, const Options &options) = 0;
	virtual std::shared_ptr<Task> makeSendDataTask(
	    const Target &target, const std::string &callBackID, const Value &data, const Options &options) = 0;

	// Registers the function that answers data requests under an id, in the place of the one before. False, with a log line, when the id is
	// empty or the function none.
	virtual bool setDataRequestCallBack(const std::shared_ptr<OMScope> &scope, const std::string &callBackID, const Value &function) = 0;
	// Takes it back; false when there is none.
	virtual bool removeDataRequestCallBack(const std::string &callBackID) = 0;

protected:
	~IRemoteScripts() = default;
};
}
