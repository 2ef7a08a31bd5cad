// Conversions and renderings of values. Everything recursive here goes through NodeWalk, which bounds nesting, cycles, length and
// time.
#include "MrvParser/Node/MrvConversions.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvObject/MrvHash.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvDateText.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Node/MrvNumberScanner.h"
#include "MrvUtils/MrvUtils.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace Mrv
{
namespace
{
// Whole numbers that a double can be turned into: [-2^63, 2^63).
constexpr double INT_LIMIT = 9223372036854775808.0;

// The number that a String holds: Int where it is one. NaN and a log line when it holds none.
Value parseString(const Value &value)
{
	Value number;
	const bool isNumber = NumberScanner::parse(value.text(), NumberScanner::AUTO, false, number);
	SANITY_CHECK_AS(isNumber, "tempNode->parseNum(getString(), -3)", return number);
	return number;
}

int64_t bitsOf(double number)
{
	return number >= -INT_LIMIT && number < INT_LIMIT && std::floor(number) == number ? static_cast<int64_t>(number) : -1;
}

void appendInt(std::string &text, int64_t number)
{
	char buffer[24];
	const auto outcome = std::to_chars(buffer, buffer + sizeof buffer, number);
	text.append(buffer, outcome.ptr);
}

void appendFunction(std::string &text, const FunctionObject &function)
{
	text += "function";
	const std::vector<std::string> &names = function.fSignature->getParameterList();
	if (!function.fSignature->getFunctionName().empty())
	{
		text += ' ' + function.fSignature->getFunctionName();
	}
	text += '(';
	for (size_t index = 1; index < names.size(); ++index)
	{
		text += index > 1 ? ", " : "";
		text += names[index];
	}
	text += ')';
}

bool appendPlacedText(std::string &text, const IExpression &expression, TextPlace place, NodeWalk &walk)
{
	switch (place)
	{
		case TextPlace::LIST:
			if (expression.getOperatorValue() < static_cast<uint32_t>(BinOp::COMMA))
			{
				break;
			}
			[[fallthrough]];
		case TextPlace::BRACKETS:
			return expression.appendBracketedText(text, walk);
		case TextPlace::BLOCK:
			return expression.appendBlockText(text, walk);
		case TextPlace::WHOLE:
			break;
	}
	return expression.appendText(text, walk);
}

bool appendExpressionText(std::string &text, const Value &value, TextPlace place, NodeWalk &walk)
{
	if (value.isReturned())
	{
		Value inner = value;
		inner.setReturned(false);
		text += "return ";
		return appendToString(text, inner, walk);
	}
	if (value.isBreak())
	{
		text += "break";
		return true;
	}
	return appendPlacedText(text, *value.expression(), place, walk) && walk.allowText(text.size());
}

// A text that is no literal.
std::string forUse(const std::string &text, const NodeWalk &walk)
{
	return walk.getTextUse() == NodeWalk::TextUse::TRANSFER ? Utils::enquote(text) : text;
}

// What both renderings have in common: everything but Strings and containers.
bool appendSimple(std::string &text, const Value &value, TextPlace place, NodeWalk &walk)
{
	switch (value.type())
	{
		case OMType::Undefined:
			text += "undefined";
			break;
		case OMType::Null:
			text += "null";
			break;
		case OMType::Bool:
			text += value.boolPayload() ? "true" : "false";
			break;
		case OMType::Date:
			text += forUse(dateToText(value.intPayload()), walk);
			break;
		case OMType::Int:
			appendInt(text, value.intPayload());
			break;
		case OMType::Float:
			text += Utils::doubleToString(value.floatPayload());
			break;
		case OMType::NaN:
			text += "NaN";
			break;
		case OMType::Error:
			text += "error";
			break;
		case OMType::GUID:
			text += forUse(value.guidPayload()->toSectionedString(), walk);
			break;
		case OMType::Expression:
			return appendExpressionText(text, value, place, walk);
		case OMType::Function:
		{
			appendFunction(text, *value.function());
			text += '{';
			const size_t begin = text.size();
			if (!appendToString(text, value.function()->fBody, TextPlace::BLOCK, walk))
			{
				return false;
			}
			constexpr std::string_view EMPTY_MAP = "{  }"; // as the first thing in a body it would be an empty block
			if (text.compare(begin, EMPTY_MAP.size(), EMPTY_MAP) == 0)
			{
				text.insert(begin + EMPTY_MAP.size(), 1, ')').insert(begin, 1, '(');
			}
			text += '}';
			break;
		}
		case OMType::String:
		case OMType::Array:
		case OMType::Map:
			break;
	}
	return true;
}

bool appendListElement(std::string &text, const Value &value, NodeWalk &walk)
{
	return appendToString(text, value, TextPlace::LIST, walk);
}

bool appendElements(std::string &text, const ArrayContainer &array, const char *separator,
    bool (*append)(std::string &, const Value &, NodeWalk &), NodeWalk &walk)
{
	NodeWalk::Step step(walk, &array);
	for (size_t index = 0; step.isEntered() && index < array.fItems.size(); ++index)
	{
		if (index > 0)
		{
			text += separator;
		}
		if (!append(text, array.fItems[index].inPlace(), walk))
		{
			return false;
		}
	}
	return step.isEntered();
}

bool appendMap(std::string &text, const MapContainer &map, NodeWalk &walk)
{
	NodeWalk::Step step(walk, &map);
	if (!step.isEntered())
	{
		return false;
	}
	text += "{ ";
	bool isFirst = true;
	for (const Name &name : map.sortedNames())
	{
		text += isFirst ? "" : ", ";
		isFirst = false;
		text += Utils::enquote(name.view());
		text += ": ";
		if (!appendToString(text, map.entries()[map.find(name)].value.inPlace(), TextPlace::LIST, walk))
		{
			return false;
		}
	}
	text += " }";
	return true;
}
}

bool getAsBool(const Value &value)
{
	switch (value.kind())
	{
		case Value::Kind::BOOL:
		case Value::Kind::INT:
			return value.intPayload() != 0;
		case Value::Kind::FLOAT:
			return value.floatPayload() != 0.0;
		case Value::Kind::STRING:
		case Value::Kind::SHORT_STRING:
			return !value.text().empty();
		case Value::Kind::NODE:
			return value.node()->getAsBool();
		case Value::Kind::CELL:
			return getAsBool(value.inPlace());
		case Value::Kind::DATE:
		case Value::Kind::ARRAY:
		case Value::Kind::MAP:
		case Value::Kind::EXPRESSION:
		case Value::Kind::FUNCTION:
		case Value::Kind::GUID:
		case Value::Kind::BREAK:
			return true;
		case Value::Kind::ABSENT:
		case Value::Kind::UNDEFINED:
		case Value::Kind::NULL_VALUE:
		case Value::Kind::ERROR_VALUE:
		case Value::Kind::NAN_VALUE:
		case Value::Kind::LAZY:
			break;
	}
	return false;
}

double getAsNum(const Value &value)
{
	if (value.isNode()) [[unlikely]]
	{
		return value.node()->getAsNum();
	}
	switch (value.type())
	{
		case OMType::Bool:
		case OMType::Date:
		case OMType::Int:
			return static_cast<double>(value.intPayload());
		case OMType::Float:
			return value.floatPayload();
		case OMType::String:
			return getAsNum(parseString(value));
		case OMType::Undefined:
		case OMType::Null:
		case OMType::Array:
		case OMType::Map:
		case OMType::Expression:
		case OMType::Error:
		case OMType::Function:
		case OMType::NaN:
		case OMType::GUID:
			break;
	}
	return std::numeric_limits<double>::quiet_NaN();
}

int64_t getAsBits(const Value &value)
{
	if (value.isNode()) [[unlikely]]
	{
		return value.node()->getAsBits();
	}
	switch (value.type())
	{
		case OMType::Bool:
		case OMType::Date:
		case OMType::Int:
			return value.intPayload();
		case OMType::Float:
			return bitsOf(value.floatPayload());
		case OMType::String:
			return getAsBits(parseString(value));
		case OMType::Undefined:
		case OMType::Null:
		case OMType::Array:
		case OMType::Map:
		case OMType::Expression:
		case OMType::Error:
		case OMType::Function:
		case OMType::NaN:
		case OMType::GUID:
			break;
	}
	return -1;
}

bool appendAsString(std::string &text, const Value &value, NodeWalk &walk)
{
	if (!walk.visit())
	{
		return false;
	}
	if (value.isNode())
	{
		return value.node()->appendAsString(text, walk);
	}
	if (value.isReturned()) [[unlikely]]
	{
		return appendExpressionText(text, value, TextPlace::WHOLE, walk);
	}
	if (value.isString())
	{
		text += value.text();
	}
	else if (value.isArray())
	{
		return appendElements(text, *value.array(), ",", appendAsString, walk);
	}
	else if (value.isMap())
	{
		return appendMap(text, *value.map(), walk);
	}
	else if (!appendSimple(text, value, TextPlace::WHOLE, walk))
	{
		return false;
	}
	return walk.allowText(text.size());
}

bool appendToString(std::string &text, const Value &value, NodeWalk &walk)
{
	return appendToString(text, value, TextPlace::WHOLE, walk);
}

bool appendToString(std::string &text, const Value &value, TextPlace place, NodeWalk &walk)
{
	if (!walk.visit())
	{
		return false;
	}
	if (value.isNode())
	{
		return value.node()->appendToString(text, walk);
	}
	if (value.isReturned()) [[unlikely]]
	{
		return appendExpressionText(text, value, TextPlace::WHOLE, walk);
	}
	if (value.isString())
	{
		text += Utils::enquote(value.text());
	}
	else if (value.isArray())
	{
		text += '[';
		if (!appendElements(text, *value.array(), ", ", appendListElement, walk))
		{
			return false;
		}
		text += ']';
	}
	else if (value.isMap())
	{
		return appendMap(text, *value.map(), walk);
	}
	else if (!appendSimple(text, value, place, walk))
	{
		return false;
	}
	return walk.allowText(text.size());
}

bool IExpression::appendBracketedText(std::string &text, NodeWalk &walk) const
{
	text += '(';
	if (!appendText(text, walk))
	{
		return false;
	}
	text += ')';
	return true;
}

bool getAsString(const Value &value, std::string &text)
{
	NodeWalk walk("getAsString");
	return appendAsString(text, value, walk);
}

bool appendInPlace(std::string &text, const Value &value)
{
	const size_t oldSize = text.size();
	NodeWalk walk("+");
	if (value.isString() && !walk.allowText(oldSize + value.text().size())) // known before anything is copied
	{
		return false;
	}
	if (appendAsString(text, value, walk))
	{
		return true;
	}
	text.resize(oldSize);
	return false;
}

std::string getAsString(const Value &value)
{
	std::string text;
	return getAsString(value, text) ? text : "error";
}

bool toString(const Value &value, std::string &text)
{
	NodeWalk walk("toString");
	return appendToString(text, value, walk);
}

std::string toString(const Value &value)
{
	std::string text;
	return toString(value, text) ? text : "error";
}

bool appendForTransfer(std::string &text, const Value &value)
{
	const size_t oldSize = text.size();
	NodeWalk walk("toString", NodeWalk::TextUse::TRANSFER);
	if (appendToString(text, value, walk))
	{
		return true;
	}
	text.resize(oldSize);
	return false;
}

bool parseIndex(std::string_view text, size_t &index)
{
	uint64_t number = 0;
	if (!Utils::isNumeric(text) || !Utils::toUInt64(text, number))
	{
		return false;
	}
	index = number;
	return true;
}

const char *getTypeText(const Value &value)
{
	switch (value.type())
	{
		case OMType::Undefined:
			return "undefined";
		case OMType::Bool:
			return "boolean";
		case OMType::Null:
		case OMType::Date:
		case OMType::Array:
		case OMType::Map:
			return "object";
		case OMType::Int:
		case OMType::Float:
		case OMType::NaN:
			return "number";
		case OMType::String:
			return "string";
		case OMType::Expression:
			return "expression";
		case OMType::Error:
			return "error";
		case OMType::Function:
			return "function";
		case OMType::GUID:
			return "GUID";
	}
	LOG_ERROR("unexpected type");
	return "error";
}

namespace
{
constexpr uint64_t HASH_UNDEFINED = 9999;
constexpr uint64_t HASH_NULL = 9998;
constexpr uint64_t HASH_TRUE = 12345;
constexpr uint64_t HASH_FALSE = 98765;
constexpr uint64_t HASH_ERROR = 1232532227;
constexpr uint64_t HASH_NAN = 8998;

uint64_t hashArray(const ArrayContainer &array, NodeWalk &walk)
{
	uint64_t hash = kFnvOffsetBasis;
	NodeWalk::Step step(walk, &array, false);
	for (size_t index = 0; step.isEntered() && index < array.fItems.size(); ++index)
	{
		hash = fnvCombine(hash, computeHash(array.fItems[index].inPlace(), walk));
	}
	return hash;
}

uint64_t hashMap(const MapContainer &map, NodeWalk &walk)
{
	uint64_t hash = kFnvOffsetBasis;
	NodeWalk::Step step(walk, &map, false);
	if (step.isEntered())
	{
		for (const Name &name : map.sortedNames())
		{
			hash = fnvCombine(hash, name.hash);
			hash = fnvCombine(hash, computeHash(map.entries()[map.find(name)].value.inPlace(), walk));
		}
	}
	return hash;
}

uint64_t hashFunction(const FunctionObject &function, NodeWalk &walk)
{
	uint64_t hash = kFnvOffsetBasis;
	for (const std::string &name : function.fSignature->getParameterList())
	{
		hash = fnvCombine(hash, fnvHash(name));
	}
	return fnvCombine(hash, computeHash(function.fBody, walk));
}
}

uint64_t computeHash(const Value &value, NodeWalk &walk)
{
	if (!walk.visit())
	{
		return 0;
	}
	if (value.isNode())
	{
		return value.node()->hash(walk);
	}
	switch (value.type())
	{
		case OMType::Undefined:
			return HASH_UNDEFINED;
		case OMType::Null:
			return HASH_NULL;
		case OMType::Bool:
			return value.boolPayload() ? HASH_TRUE : HASH_FALSE;
		case OMType::Date:
		case OMType::Int:
			return fnvHash(static_cast<uint64_t>(value.intPayload()));
		case OMType::Float:
		{
			const Value positive = Value::floating(value.floatPayload() == 0.0 ? 0.0 : value.floatPayload());
			return fnvHash(static_cast<uint64_t>(positive.intPayload()));
		}
		case OMType::String:
			return fnvHash(value.text());
		case OMType::Array:
			return hashArray(*value.array(), walk);
		case OMType::Map:
			return hashMap(*value.map(), walk);
		case OMType::Expression:
			return value.isBreak() || value.isReturned() ? fnvHash(getTypeText(value)) : value.expression()->computeHash(walk);
		case OMType::Error:
			return HASH_ERROR;
		case OMType::Function:
			return hashFunction(*value.function(), walk);
		case OMType::NaN:
			return HASH_NAN;
		case OMType::GUID:
			return fnvHash(value.guidPayload()->toSectionedString());
	}
	return 0;
}

uint64_t computeHash(const Value &value)
{
	NodeWalk walk("hash");
	return computeHash(value, walk);
}

namespace
{
Value cloneIn(const Value &value, size_t level, NodeWalk &walk);

Value cloneArray(const ArrayContainer &source, size_t level, NodeWalk &walk)
{
	Value copy = Value::emptyArray();
	NodeWalk::Step step(walk, &source);
	if (step.isEntered() && walk.takeRoom(sizeof(ArrayContainer) + source.size() * sizeof(Value)))
	{
		copy.array()->fIsData = source.fIsData;
		copy.array()->fItems.reserve(source.fItems.size());
		for (size_t index = 0; index < source.fItems.size() && !walk.isStopped(); ++index)
		{
			copy.array()->fItems.push_back(cloneIn(source.fItems[index], level, walk));
		}
	}
	return copy;
}

Value cloneMap(const MapContainer &source, size_t level, NodeWalk &walk)
{
	Value copy = Value::emptyMap();
	NodeWalk::Step step(walk, &source);
	if (step.isEntered() && walk.takeRoom(sizeof(MapContainer) + source.size() * sizeof(MapContainer::Entry)))
	{
		copy.map()->fIsData = source.fIsData;
		if (source.fPermissions)
		{
			copy.map()->fPermissions = std::make_unique<std::unordered_map<std::string, uint8_t>>(*source.fPermissions);
		}
		for (size_t position = 0; position < source.entries().size() && !walk.isStopped(); ++position)
		{
			const MapContainer::Entry &entry = source.entries()[position];
			if (!entry.isErased())
			{
				copy.map()->set(entry.name, cloneIn(entry.value, level, walk));
			}
		}
	}
	return copy;
}

Value cloneIn(const Value &place, size_t level, NodeWalk &walk)
{
	const Value &value = place.inPlace();
	if (!walk.visit() || level == 0)
	{
		return value;
	}
	const size_t next = level == ALL_LEVELS ? ALL_LEVELS : level - 1;
	if (value.isArray())
	{
		return cloneArray(*value.array(), next, walk);
	}
	return value.isMap() ? cloneMap(*value.map(), next, walk) : value;
}
}

Value cloneValue(const Value &value, size_t level)
{
	NodeWalk walk("clone");
	Value copy = cloneIn(value, level, walk);
	return walk.isStopped() ? Value::error() : copy;
}
}
