#pragma once

#include "MrvParser/Node/MrvOMStored.h"
#include "MrvService/MrvRemoteExchange.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Mrv
{
// The names of the fields in the payloads of remote scripts and data requests.
namespace RemoteField
{
constexpr std::string_view CALL_BACK_ID = "callBackID";
constexpr std::string_view CLIENT_SEQUENCE_NR = "clientSequenceNr";
constexpr std::string_view CLIENT_SESSION_ID = "clientSessionId";
constexpr std::string_view DATA = "data";
constexpr std::string_view ERROR_TEXT = "error";
constexpr std::string_view RESULT = "result";
constexpr std::string_view SCRIPT = "script";
constexpr std::string_view SERVICE_SEQUENCE_NR = "serviceSequenceNr";
constexpr std::string_view SERVICE_SESSION_ID = "serviceSessionId";
constexpr std::string_view SUCCESS = "success";
}

// A payload that has arrived: a Map with the fields above, or, of a request, the script alone as a String. What it holds comes from
// elsewhere: no code of it is run. Shares the node's containers, which nobody else has.
class RemotePayload
{
public:
	explicit RemotePayload(const std::shared_ptr<OMStored> &node);

	bool isMap() const { return fValue.isMap(); }
	// GUIDs that are none, and numbers that are no Int, count as left out.
	RemoteExchange getExchange() const;
	// The text of a field that is a String.
	std::optional<std::string> getText(std::string_view field) const;
	// The same of the field `script`, or of a payload that is that String.
	std::optional<std::string> getScript() const;
	bool isTrue(std::string_view field) const { return isBool(field, true); }
	bool isFalse(std::string_view field) const { return isBool(field, false); }
	// Takes a value out. What arrived as an Expression is an Error, since that is how an Error travels; a Function stays one.
	std::optional<Value> takeValue(std::string_view field);

private:
	const Value *find(std::string_view field) const;
	bool isBool(std::string_view field, bool expected) const;

	Value fValue;
};

// Puts the text of such a Map together. Fields are to be added in the byte order of their names, as a Map's own text has them.
class RemotePayloadWriter
{
public:
	static constexpr std::string_view ERROR_LITERAL = "error"; // the value

	// Null and missing ones are left out.
	void add(std::string_view field, GUIDClass *guid);
	void add(std::string_view field, const std::optional<OMInt> &number);
	void add(std::string_view field, bool value);
	void addText(std::string_view field, std::string_view text);
	// A value as `appendForTransfer` writes it.
	void addLiteral(std::string_view field, std::string_view literal);
	std::string finish();

private:
	void begin(std::string_view field);

	std::string fText = "{ ";
	bool fIsFirst = true;
};
}
