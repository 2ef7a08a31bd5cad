#include "MrvParser/Node/MrvValue.h"

#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeBox.h"
#include "MrvParser/Node/MrvOMStored.h"

namespace Mrv
{
Value Value::date(int64_t seconds) noexcept
{
	return Value(Kind::DATE, static_cast<uint64_t>(seconds));
}

Value Value::guid(GUIDClass *value) noexcept
{
	return Value(Kind::GUID, reinterpret_cast<uint64_t>(value));
}

Value Value::string(std::string_view text)
{
	if (text.size() > SHORT_STRING_CAPACITY)
	{
		return Value(Kind::STRING, new StringObject(std::string(text)));
	}
	Value value(Kind::SHORT_STRING);
	std::memcpy(value.fBytes, text.data(), text.size());
	value.fFlags = static_cast<uint8_t>(text.size());
	return value;
}

Value Value::string(std::string &&text)
{
	if (text.size() > SHORT_STRING_CAPACITY)
	{
		return Value(Kind::STRING, new StringObject(std::move(text)));
	}
	return string(std::string_view(text));
}

Value Value::array(const Ref<ArrayContainer> &container) noexcept
{
	return Value(Kind::ARRAY, container.get());
}

Value Value::emptyArray()
{
	return Value(Kind::ARRAY, new ArrayContainer());
}

Value Value::map(const Ref<MapContainer> &container) noexcept
{
	return Value(Kind::MAP, container.get());
}

Value Value::emptyMap()
{
	return Value(Kind::MAP, new MapContainer());
}

Value Value::expression(const Ref<IExpression> &expression) noexcept
{
	return Value(Kind::EXPRESSION, expression.get());
}

Value Value::function(const Ref<FunctionObject> &function) noexcept
{
	return Value(Kind::FUNCTION, function.get());
}

Value Value::fromNode(const std::shared_ptr<IOMNode> &node)
{
	if (!node)
	{
		return Value();
	}
	const auto stored = node->getOMStoredPtr();
	return stored ? stored->getPlainValue() : Value(Kind::NODE, new NodeBox(node));
}

Value Value::nodeItself(const std::shared_ptr<IOMNode> &node)
{
	return Value(Kind::NODE, new NodeBox(node));
}

void Value::settleForStore()
{
	dropControl();
	settle();
	if (fKind == Kind::CELL)
	{
		*this = Value(cellValue());
	}
	else if (fKind == Kind::NODE)
	{
		*this = fromNode(std::shared_ptr<IOMNode>(node()));
	}
}

Value Value::cell(const std::shared_ptr<IOMNode> &node)
{
	return Value(node->getOMStoredPtr() ? Kind::CELL : Kind::NODE, new NodeBox(node));
}

std::shared_ptr<IOMNode> Value::toNode() const
{
	if (fKind == Kind::NODE || fKind == Kind::CELL)
	{
		return node();
	}
	return OMStored::valueFactory(*this);
}

OMType Value::type() const noexcept
{
	if (isReturned())
	{
		return OMType::Expression;
	}
	switch (fKind)
	{
		case Kind::ABSENT:
		case Kind::LAZY:
			return OMType::Undefined;
		case Kind::SHORT_STRING:
			return OMType::String;
		case Kind::BREAK:
			return OMType::Expression;
		case Kind::NODE:
			return node()->getType();
		case Kind::CELL:
			return cellValue().type();
		case Kind::UNDEFINED:
		case Kind::NULL_VALUE:
		case Kind::BOOL:
		case Kind::DATE:
		case Kind::INT:
		case Kind::FLOAT:
		case Kind::STRING:
		case Kind::ARRAY:
		case Kind::MAP:
		case Kind::EXPRESSION:
		case Kind::ERROR_VALUE:
		case Kind::FUNCTION:
		case Kind::NAN_VALUE:
		case Kind::GUID:
			break;
	}
	return static_cast<OMType>(fKind);
}

GUIDClass *Value::guidPayload() const noexcept
{
	return reinterpret_cast<GUIDClass *>(word());
}

const std::shared_ptr<IOMNode> &Value::node() const noexcept
{
	return static_cast<NodeBox *>(object())->fNode;
}

const Value &Value::cellValue() const noexcept
{
	return cellNode().getValue();
}
}
