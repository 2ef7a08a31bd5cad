// Values travel as literals, which the other side parses. A literal can say nearly everything that a value can be: an Error is the bare
// word `error`, which reads as an Expression, and so do the infinities; Dates and GUIDs arrive as Strings.
#include "MrvService/MrvRemotePayload.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvTask/MrvNestingGuard.h"
#include "MrvUtils/MrvUtils.h"

#include <limits>
#include <utility>

namespace Mrv
{
namespace
{
// What the sender meant by a word that is no literal.
Value meaningOf(const Value &expression)
{
	const std::string text = toString(expression);
	const double infinity = std::numeric_limits<double>::infinity();
	if (text == "inf" || text == "-inf")
	{
		return Value::floating(text[0] == '-' ? -infinity : infinity);
	}
	if (text != RemotePayloadWriter::ERROR_LITERAL)
	{
		LOG_ERROR("code that came as a value is not run: " + text.substr(0, 100));
	}
	return Value::error();
}

// The containers are fresh from the parser and may be changed; those without code say so.
void takeCodeOut(Value &place)
{
	const NestingGuard guard;
	if (guard.isExceeded())
	{
		NestingGuard::report("value from elsewhere");
		place = Value::error();
	}
	else if (place.type() == OMType::Expression)
	{
		place = meaningOf(place);
	}
	else if (place.isArray() && !place.array()->fIsData)
	{
		for (Value &item : place.array()->fItems)
		{
			takeCodeOut(item.inPlace());
		}
	}
	else if (place.isMap() && !place.map()->fIsData)
	{
		for (MapContainer::Entry &entry : place.map()->entries())
		{
			takeCodeOut(entry.value.inPlace());
		}
	}
}

GUIDClass *guidOf(const Value *value)
{
	const std::string text = value && value->isString() ? std::string(value->text()) : std::string();
	return GUIDClass::isValid(text) ? GUIDClass::factory(text) : nullptr;
}

std::optional<OMInt> intOf(const Value *value)
{
	return value && value->isInt() ? std::optional<OMInt>(value->intPayload()) : std::nullopt;
}
}

// --- Reading

RemotePayload::RemotePayload(const std::shared_ptr<OMStored> &node) : fValue(node->getValue()) {}

const Value *RemotePayload::find(std::string_view field) const
{
	const Value *place = fValue.isMap() ? fValue.map()->get(field) : nullptr;
	return place ? &place->inPlace() : nullptr;
}

RemoteExchange RemotePayload::getExchange() const
{
	RemoteExchange exchange;
	const Value *serviceSession = find(RemoteField::SERVICE_SESSION_ID);
	exchange.clientSession = guidOf(find(RemoteField::CLIENT_SESSION_ID));
	exchange.serviceSession = guidOf(serviceSession);
	exchange.isServiceSessionGiven = serviceSession != nullptr;
	exchange.clientNumber = intOf(find(RemoteField::CLIENT_SEQUENCE_NR));
	exchange.serviceNumber = intOf(find(RemoteField::SERVICE_SEQUENCE_NR));
	if (exchange.serviceNumber == OMInt{0})
	{
		exchange.serviceNumber.reset();
	}
	return exchange;
}

std::optional<std::string> RemotePayload::getText(std::string_view field) const
{
	const Value *value = find(field);
	return value && value->isString() ? std::optional<std::string>(value->text()) : std::nullopt;
}

std::optional<std::string> RemotePayload::getScript() const
{
	return fValue.isString() ? std::optional<std::string>(fValue.text()) : getText(RemoteField::SCRIPT);
}

bool RemotePayload::isBool(std::string_view field, bool expected) const
{
	const Value *value = find(field);
	return value && value->isBool() && value->boolPayload() == expected;
}

std::optional<Value> RemotePayload::takeValue(std::string_view field)
{
	Value *place = fValue.isMap() ? fValue.map()->get(field) : nullptr;
	if (!place)
	{
		return std::nullopt;
	}
	Value value = std::exchange(place->inPlace(), Value());
	takeCodeOut(value);
	return value;
}

// --- Writing

void RemotePayloadWriter::begin(std::string_view field)
{
	fText += fIsFirst ? "\"" : ", \"";
	fText += field;
	fText += "\": ";
	fIsFirst = false;
}

void RemotePayloadWriter::add(std::string_view field, GUIDClass *guid)
{
	if (guid)
	{
		addText(field, guid->toSectionedString());
	}
}

void RemotePayloadWriter::add(std::string_view field, const std::optional<OMInt> &number)
{
	if (number)
	{
		begin(field);
		fText += std::to_string(*number);
	}
}

void RemotePayloadWriter::add(std::string_view field, bool value)
{
	begin(field);
	fText += value ? "true" : "false";
}

void RemotePayloadWriter::addText(std::string_view field, std::string_view text)
{
	begin(field);
	fText += Utils::enquote(text);
}

void RemotePayloadWriter::addLiteral(std::string_view field, std::string_view literal)
{
	begin(field);
	fText += literal;
}

std::string RemotePayloadWriter::finish()
{
	fText += " }";
	return std::move(fText);
}
}
