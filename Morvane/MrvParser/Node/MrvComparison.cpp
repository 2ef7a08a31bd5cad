// Equality, identity and order of values. Equality of containers goes by content and never takes a shortcut over identity: an Array
// that holds NaN is not equal to itself.
#include "MrvParser/Node/MrvOperations.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvGUIDClass.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeWalk.h"

namespace Mrv
{
namespace
{
Comparison yesNo(bool isYes)
{
	return isYes ? Comparison::YES : Comparison::NO;
}

bool isErrorOrNaN(OMType type)
{
	return type == OMType::Error || type == OMType::NaN;
}

bool isNothing(OMType type)
{
	return type == OMType::Undefined || type == OMType::Null;
}

// What a node that is no stored value is compared as: the plain value of it, if it can give one.
Value plain(const Value &value)
{
	return value.isNode() ? value.node()->getPlainValue() : value;
}

bool isPlainNode(const Value &value)
{
	return value.isNode() && !value.node()->getPlainValue().isNode();
}

Comparison equal(const Value &left, const Value &right, NodeWalk &walk);

Comparison equalArrays(const ArrayContainer &left, const ArrayContainer &right, NodeWalk &walk)
{
	if (left.size() != right.size())
	{
		return Comparison::NO;
	}
	NodeWalk::Step step(walk, &left);
	for (size_t index = 0; step.isEntered() && index < left.size(); ++index)
	{
		const Comparison comparison = equal(left.fItems[index].inPlace(), right.fItems[index].inPlace(), walk);
		if (comparison != Comparison::YES)
		{
			return comparison;
		}
	}
	return step.isEntered() ? Comparison::YES : Comparison::FAILED;
}

Comparison equalMaps(const MapContainer &left, const MapContainer &right, NodeWalk &walk)
{
	if (left.size() != right.size())
	{
		return Comparison::NO;
	}
	NodeWalk::Step step(walk, &left);
	for (size_t position = 0; step.isEntered() && position < left.entries().size(); ++position)
	{
		const MapContainer::Entry &entry = left.entries()[position];
		if (entry.isErased())
		{
			continue;
		}
		const size_t other = right.find(entry.name);
		if (other == MapContainer::NOT_FOUND)
		{
			return Comparison::NO;
		}
		const Comparison comparison = equal(entry.value.inPlace(), right.entries()[other].value.inPlace(), walk);
		if (comparison != Comparison::YES)
		{
			return comparison;
		}
	}
	return step.isEntered() ? Comparison::YES : Comparison::FAILED;
}

Comparison equalExpressions(const Value &left, const Value &right, NodeWalk &walk)
{
	if (left.isLeaving() || right.isLeaving())
	{
		return yesNo(left.hasSameBits(right));
	}
	const int order = left.expression()->compare(*right.expression(), walk);
	return walk.isStopped() ? Comparison::FAILED : yesNo(order == 0);
}

Comparison identical(const Value &left, const Value &right, NodeWalk &walk)
{
	const OMType type = left.type();
	if (isErrorOrNaN(type) || type != right.type())
	{
		return Comparison::NO;
	}
	switch (type)
	{
		case OMType::Undefined:
		case OMType::Null:
			return Comparison::YES;
		case OMType::Bool:
		case OMType::Date:
		case OMType::Int:
		case OMType::GUID:
			return yesNo(left.intPayload() == right.intPayload());
		case OMType::Float:
			return yesNo(left.floatPayload() == right.floatPayload());
		case OMType::String:
			if (left.text().size() != right.text().size())
			{
				return Comparison::NO;
			}
			return walk.visitText(left.text().size()) ? yesNo(left.text() == right.text()) : Comparison::FAILED;
		case OMType::Expression:
			return equalExpressions(left, right, walk);
		case OMType::Array:
			return yesNo(left.array() == right.array());
		case OMType::Map:
			return yesNo(left.map() == right.map());
		case OMType::Function:
			// Identity of the program's expression: every evaluation of one function literal gives the same function.
			return yesNo(left.function()->fBody.hasSameBits(right.function()->fBody));
		case OMType::Error:
		case OMType::NaN:
			break;
	}
	return Comparison::NO;
}

Comparison equal(const Value &leftValue, const Value &rightValue, NodeWalk &walk)
{
	if (!walk.visit())
	{
		return Comparison::FAILED;
	}
	const Value left = plain(leftValue);
	const Value right = plain(rightValue);
	const OMType type = left.type();
	if (isErrorOrNaN(type) || isErrorOrNaN(right.type()))
	{
		return Comparison::NO;
	}
	if (isNothing(type) && isNothing(right.type()))
	{
		return Comparison::YES;
	}
	if (type != right.type())
	{
		return Comparison::NO;
	}
	if (left.isNode() || right.isNode())
	{
		return yesNo(left.isNode() && right.isNode() && left.node() == right.node());
	}
	if (type == OMType::Array)
	{
		return equalArrays(*left.array(), *right.array(), walk);
	}
	return type == OMType::Map ? equalMaps(*left.map(), *right.map(), walk) : identical(left, right, walk);
}

Comparison lessOfOneType(const Value &left, const Value &right)
{
	switch (left.type())
	{
		case OMType::Undefined:
		case OMType::Null:
			return Comparison::NO;
		case OMType::Date:
			return yesNo(left.intPayload() < right.intPayload());
		case OMType::Bool:
			return yesNo(!left.boolPayload() && right.boolPayload());
		case OMType::GUID:
			return yesNo(left.guidPayload()->toSectionedString() < right.guidPayload()->toSectionedString());
		case OMType::Expression:
			if (!left.isLeaving() && !right.isLeaving())
			{
				NodeWalk walk("<");
				const int order = left.expression()->compare(*right.expression(), walk);
				return walk.isStopped() ? Comparison::FAILED : yesNo(order < 0);
			}
			return Comparison::NO;
		case OMType::Int:
		case OMType::Float:
		case OMType::String:
		case OMType::Array:
		case OMType::Map:
		case OMType::Error:
		case OMType::Function:
		case OMType::NaN:
			break;
	}
	LOG_ERROR("unexpected type");
	return Comparison::FAILED;
}

bool isNumber(OMType type)
{
	return type == OMType::Int || type == OMType::Float;
}
}

Comparison compareEqual(const Value &left, const Value &right)
{
	// Both sides NaN: unequal to everything, and yet `!=` and `!==` invert what comes from here.
	NodeWalk walk("==");
	return compareEqual(left, right, walk);
}

Comparison compareEqual(const Value &left, const Value &right, NodeWalk &walk)
{
	return equal(left, right, walk);
}

Comparison compareIdentical(const Value &left, const Value &right)
{
	NodeWalk walk("===");
	if (isPlainNode(left) || isPlainNode(right)) [[unlikely]]
	{
		return compareIdentical(plain(left), plain(right));
	}
	if (left.isNode() || right.isNode())
	{
		return yesNo(left.isNode() && right.isNode() && left.node() == right.node());
	}
	return identical(left, right, walk);
}

Comparison compareLess(const Value &left, const Value &right)
{
	if (isPlainNode(left) || isPlainNode(right)) [[unlikely]]
	{
		return compareLess(plain(left), plain(right));
	}
	const OMType leftType = left.type();
	const OMType rightType = right.type();
	if (isErrorOrNaN(leftType) || isErrorOrNaN(rightType))
	{
		return Comparison::NO;
	}
	if (left.isString() || right.isString())
	{
		// The right side is not converted: it is its own text if it is a String, else empty.
		const std::string_view rightText = right.isString() ? right.text() : std::string_view();
		if (left.isString())
		{
			return yesNo(left.text() < rightText);
		}
		std::string leftText;
		return getAsString(left, leftText) ? yesNo(leftText < rightText) : Comparison::FAILED;
	}
	if (isNumber(leftType) && isNumber(rightType))
	{
		return yesNo(getAsNum(left) < getAsNum(right));
	}
	return leftType != rightType ? yesNo(leftType < rightType) : lessOfOneType(left, right);
}
}
