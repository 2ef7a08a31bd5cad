#include "MrvParser/Builtin/MrvBuiltinArguments.h"
#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvParser/Node/MrvOperations.h"
#include "MrvTask/MrvTask.h"

#include <exception>
#include <vector>

namespace Mrv::Builtins
{
namespace
{
constexpr size_t NOT_FOUND = std::string_view::npos;

Value makePosition(size_t position)
{
	return Value::integer(position == NOT_FOUND ? -1 : static_cast<int64_t>(position));
}

// The position of a long needle, found in time proportional to the lengths: the plain search takes their product when both repeat
// themselves. `shifts[n]`: how many bytes of the needle's beginning its first n + 1 bytes end with.
size_t findLong(std::string_view text, std::string_view needle, size_t from)
{
	std::vector<uint32_t> shifts(needle.size());
	uint32_t matched = 0;
	for (size_t index = 1; index < needle.size(); ++index)
	{
		while (matched > 0 && needle[index] != needle[matched])
		{
			matched = shifts[matched - 1];
		}
		matched += needle[index] == needle[matched] ? 1U : 0U;
		shifts[index] = matched;
	}
	matched = 0;
	for (size_t index = from; index < text.size(); ++index)
	{
		while (matched > 0 && text[index] != needle[matched])
		{
			matched = shifts[matched - 1];
		}
		matched += text[index] == needle[matched] ? 1U : 0U;
		if (matched == needle.size())
		{
			return index + 1 - needle.size();
		}
	}
	return NOT_FOUND;
}

size_t findText(std::string_view text, std::string_view needle, size_t from)
{
	constexpr size_t LONG_NEEDLE = 32;
	constexpr size_t MANY_STEPS = size_t{1} << 24;
	if (from > text.size() || needle.size() > text.size() - from)
	{
		return NOT_FOUND;
	}
	const bool isLong = needle.size() >= LONG_NEEDLE && needle.size() > MANY_STEPS / (text.size() - from);
	return isLong ? findLong(text, needle, from) : text.find(needle, from);
}

Value findElement(const BuiltinCall &call, const ArrayContainer &array, const Value &needle, size_t from)
{
	NodeWalk walk("indexOf");
	for (size_t index = from; index < array.size(); ++index)
	{
		const Comparison comparison = compareEqual(array.fItems[index].inPlace(), needle, walk);
		if (comparison == Comparison::FAILED)
		{
			return Evaluation::fail(call.place, "indexOf failed");
		}
		if (comparison == Comparison::YES)
		{
			return makePosition(index);
		}
	}
	return makePosition(NOT_FOUND);
}

// The attribute "length", of a scope also one that it inherits; Undefined if there is none.
Value lengthAttribute(const Value &value)
{
	static const Name LENGTH("length");
	uint32_t guess = 0;
	bool isOpaque = false;
	if (const Value *place = Evaluation::findAttribute(value, LENGTH, guess, isOpaque))
	{
		Value found = place->inPlace();
		found.settleForStore();
		return found;
	}
	return isOpaque && value.isNode() ? Value::fromNode(value.node()->getOMNode("length")) : Value();
}
}

Value ftn_length(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	Value room;
	const Value &value = plainArgument(call, 0, room);
	if (value.isArray())
	{
		return Value::integer(static_cast<int64_t>(value.array()->size()));
	}
	if (value.isString())
	{
		return Value::integer(static_cast<int64_t>(value.text().size()));
	}
	return lengthAttribute(call.getArgument(0));
}

Value ftn_size(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	Value room;
	const Value &value = plainArgument(call, 0, room);
	size_t size = 0;
	if (value.isArray())
	{
		size = value.array()->size();
	}
	else if (value.isMap())
	{
		size = value.map()->size();
	}
	else if (value.isNode())
	{
		size = value.node()->getSize();
	}
	return Value::integer(static_cast<int64_t>(size));
}

Value ftn_indexOf(const BuiltinCall &call)
{
	if (!hasArguments(call, 2))
	{
		return Value();
	}
	const int64_t position = isGiven(call, 2) ? positionArgument(call, 2) : 0;
	const size_t from = position < 0 ? 0 : static_cast<size_t>(position);
	Value room;
	const Value &haystack = plainArgument(call, 0, room);
	if (haystack.isArray())
	{
		call.task.readClockSoon();
		return findElement(call, *haystack.array(), call.getArgument(1), from);
	}
	const TextArgument text(call, 0);
	const TextArgument needle(call, 1);
	if (!text.isOk() || !needle.isOk())
	{
		return failText(call);
	}
	call.task.readClockSoon();
	return makePosition(findText(text.view(), needle.view(), from));
}

Value ftn_push(const BuiltinCall &call)
{
	if (!hasArguments(call, 2))
	{
		return Value();
	}
	Value room;
	const Value &array = plainArgument(call, 0, room);
	Value value = call.getArgument(1);
	value.settleForStore();
	bool isPushed = false;
	if (array.isArray())
	{
		ArrayContainer &container = *array.array();
		if (container.fDataStructureOwner)
		{
			isPushed = OMStored::storeIn(array, container.size(), std::move(value));
		}
		else
		{
			try
			{
				container.fItems.push_back(std::move(value));
				isPushed = true;
			}
			catch (const std::exception &) // memory is short
			{
				isPushed = false;
			}
		}
	}
	else if (array.isNode())
	{
		isPushed = array.node()->push(value.toNode());
	}
	return isPushed ? call.getArgument(0) : Evaluation::fail(call.place, "push failed");
}

Value ftn_pop(const BuiltinCall &call)
{
	if (!hasArguments(call, 1))
	{
		return Value();
	}
	Value room;
	const Value &array = plainArgument(call, 0, room);
	if (array.isNode())
	{
		return Value::fromNode(array.node()->pop());
	}
	if (!array.isArray() || array.array()->fItems.empty())
	{
		return Value();
	}
	ArrayContainer &container = *array.array();
	if (container.fDataStructureOwner)
	{
		return Value::fromNode(container.fDataStructureOwner->pop());
	}
	Value last = container.fItems.back().inPlace();
	container.fItems.pop_back();
	return last;
}
}
