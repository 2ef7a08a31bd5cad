#pragma once

#include "MrvParser/Node/MrvHeapObject.h"
#include "MrvParser/Node/MrvOMType.h"

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace Mrv
{
class ArrayContainer;
class FunctionObject;
class GUIDClass;
class IExpression;
class IOMNode;
class MapContainer;
class NodeBox;
class OMStored;

// A string on the heap. Shared strings are never changed; the only holder may append in place.
class StringObject final : public HeapObject
{
public:
	explicit StringObject(std::string &&text) noexcept : HeapObject(Children::NONE), fText(std::move(text)) {}
	std::string fText;
};

// A value of the script language in a cell of 16 bytes: what variables, elements, operands and results are made of.
// Scalars and strings of up to 14 bytes live inside, everything else is a counted pointer, so that copying an Array or a
// Map shares its container. A value becomes a node (OMStored) only when somebody asks for one.
//
// Beside the fourteen types there are kinds that only the inside of the system sees:
//   ABSENT  what a name, member or element that isn't there reads as; everywhere else it counts as Undefined;
//   NODE    a node that is no plain stored value (a scope, a folder): it travels as itself;
//   CELL    a place (element, variable) whose node somebody has asked for: the node holds the value from then on;
//   BREAK   the value of `break`, on its way up to its loop;
//   LAZY    a variable of a call (`this`, `arguments`) that comes into being when it is asked for.
// A value on its way up from `return` carries the mark `isReturned`.
class alignas(8) Value
{
public:
	enum class Kind : uint8_t
	{
		ABSENT = 0,
		UNDEFINED = 1,
		NULL_VALUE = 2,
		BOOL = 3,
		DATE = 4,
		INT = 5,
		FLOAT = 6,
		STRING = 7, // on the heap
		ARRAY = 8,
		MAP = 9,
		EXPRESSION = 10,
		ERROR_VALUE = 11,
		FUNCTION = 12,
		NAN_VALUE = 13,
		GUID = 14,
		SHORT_STRING = 15,
		NODE = 16,
		CELL = 17,
		BREAK = 18,
		LAZY = 19,
	};

	static constexpr size_t SHORT_STRING_CAPACITY = 14;

	Value() noexcept { setBare(Kind::UNDEFINED); }
	Value(const Value &other) noexcept
	{
		copyBits(other);
		if (isHeap())
		{
			object()->retain();
		}
	}
	Value(Value &&other) noexcept
	{
		copyBits(other);
		other.setBare(Kind::UNDEFINED);
	}
	~Value()
	{
		if (isHeap())
		{
			object()->release();
		}
	}
	Value &operator=(const Value &other) noexcept
	{
		if (other.isHeap())
		{
			other.object()->retain();
		}
		replaceBy(other);
		return *this;
	}
	Value &operator=(Value &&other) noexcept
	{
		if (this != &other)
		{
			const Value::Bits bits = other.bits();
			other.setBare(Kind::UNDEFINED);
			replaceBy(bits);
		}
		return *this;
	}
	// The same as assigning `integer` or `boolean`, for the paths that are walked most.
	void setInteger(OMInt value) noexcept { setPlain(Kind::INT, static_cast<uint64_t>(value)); }
	void setBoolean(bool value) noexcept { setPlain(Kind::BOOL, value ? 1 : 0); }
	void swap(Value &other) noexcept
	{
		const Bits own = bits();
		copyBits(other);
		std::memcpy(static_cast<void *>(&other), &own, sizeof own);
	}

	static Value absent() noexcept { return Value(Kind::ABSENT); }
	static Value null() noexcept { return Value(Kind::NULL_VALUE); }
	static Value nan() noexcept { return Value(Kind::NAN_VALUE); }
	static Value error() noexcept { return Value(Kind::ERROR_VALUE); }
	static Value breakValue() noexcept { return Value(Kind::BREAK); }
	static Value lazy() noexcept { return Value(Kind::LAZY); }
	static Value boolean(bool value) noexcept;
	static Value integer(OMInt value) noexcept;
	static Value date(int64_t seconds) noexcept;
	// NaN becomes the NaN value; an integral number within 64 bits becomes an Int, any other stays a Float.
	static Value number(double value) noexcept;
	// Keeps the Float type, whatever the number.
	static Value floating(double value) noexcept;
	static Value guid(GUIDClass *value) noexcept;
	static Value string(std::string_view text);
	static Value string(std::string &&text);
	static Value string(const char *text) { return string(std::string_view(text)); }
	static Value array(const Ref<ArrayContainer> &container) noexcept;
	static Value emptyArray();
	static Value map(const Ref<MapContainer> &container) noexcept;
	static Value emptyMap();
	static Value expression(const Ref<IExpression> &expression) noexcept;
	static Value function(const Ref<FunctionObject> &function) noexcept;
	// The value of a node: what it holds if it is a plain stored value, else the node itself. Null gives Undefined.
	static Value fromNode(const std::shared_ptr<IOMNode> &node);
	// The node itself, also when it is a stored value: what `this` is.
	static Value nodeItself(const std::shared_ptr<IOMNode> &node);
	// A place whose value lives in this node from now on.
	static Value cell(const std::shared_ptr<IOMNode> &node);

	// What a place may hold: a node that is a plain stored value (a scope that is assigned) becomes that value, what isn't there
	// becomes Undefined, the marks of `break` and `return` go.
	void settleForStore();

	// A node for this value: NODE and CELL give theirs, everything else a new OMStored.
	std::shared_ptr<IOMNode> toNode() const;

	Kind kind() const noexcept { return fKind; }
	// ABSENT counts as Undefined, BREAK and what is returned as Expression (that is what they are as nodes).
	OMType type() const noexcept;

	bool isAbsent() const noexcept { return fKind == Kind::ABSENT; }
	bool isInt() const noexcept { return fKind == Kind::INT; }
	bool isFloat() const noexcept { return fKind == Kind::FLOAT; }
	bool isBool() const noexcept { return fKind == Kind::BOOL; }
	bool isError() const noexcept { return fKind == Kind::ERROR_VALUE; }
	bool isString() const noexcept { return fKind == Kind::STRING || fKind == Kind::SHORT_STRING; }
	bool isArray() const noexcept { return fKind == Kind::ARRAY; }
	bool isMap() const noexcept { return fKind == Kind::MAP; }
	bool isExpression() const noexcept { return fKind == Kind::EXPRESSION; }
	bool isFunction() const noexcept { return fKind == Kind::FUNCTION; }
	bool isNode() const noexcept { return fKind == Kind::NODE; }
	bool isCell() const noexcept { return fKind == Kind::CELL; }
	bool isBreak() const noexcept { return fKind == Kind::BREAK; }
	bool isReturned() const noexcept { return (fFlags & RETURNED) != 0; }
	// `break` or a returned value: what ends a sequence of statements.
	bool isLeaving() const noexcept { return isReturned() || isBreak(); }
	void setReturned(bool isReturned) noexcept
	{
		fFlags = isReturned ? static_cast<uint8_t>(fFlags | RETURNED) : static_cast<uint8_t>(fFlags & ~RETURNED);
	}
	// Absent becomes Undefined.
	void settle() noexcept
	{
		if (fKind == Kind::ABSENT)
		{
			fKind = Kind::UNDEFINED;
		}
	}
	// What an operand is worth: `break` is Undefined, a returned value its inner value.
	void dropControl() noexcept
	{
		fFlags = static_cast<uint8_t>(fFlags & ~RETURNED);
		if (fKind == Kind::BREAK)
		{
			fKind = Kind::UNDEFINED;
		}
	}

	// Payloads; each may be asked of its own kind only.
	bool boolPayload() const noexcept { return word() != 0; }
	int64_t intPayload() const noexcept { return static_cast<int64_t>(word()); }
	void setIntPayload(int64_t value) noexcept { setWord(static_cast<uint64_t>(value)); }
	double floatPayload() const noexcept;
	GUIDClass *guidPayload() const noexcept;
	// Of STRING and SHORT_STRING; points into this cell or the shared string.
	std::string_view text() const noexcept;
	StringObject *stringObject() const noexcept;
	ArrayContainer *array() const noexcept;
	MapContainer *map() const noexcept;
	IExpression *expression() const noexcept;
	FunctionObject *function() const noexcept;
	// Of NODE and CELL.
	const std::shared_ptr<IOMNode> &node() const noexcept;
	// Of CELL.
	OMStored &cellNode() const noexcept;

	// The value in a place: through a CELL the value that its node holds, else itself.
	const Value &inPlace() const noexcept { return fKind == Kind::CELL ? cellValue() : *this; }
	Value &inPlace() noexcept { return fKind == Kind::CELL ? const_cast<Value &>(cellValue()) : *this; }

	// Same kind and same bits: enough for scalars and short strings, identity for what is on the heap.
	bool hasSameBits(const Value &other) const noexcept
	{
		const Bits own = bits();
		const Bits others = other.bits();
		return own.words[0] == others.words[0] && own.words[1] == others.words[1];
	}

private:
	struct Bits
	{
		uint64_t words[2] = {};
	};

	Bits bits() const noexcept
	{
		Bits copy{};
		std::memcpy(&copy, static_cast<const void *>(this), sizeof copy);
		return copy;
	}

	static constexpr uint8_t RETURNED = 0x80;
	static constexpr uint8_t LENGTH_MASK = 0x0f;
	static constexpr uint32_t HEAP_KINDS = (1u << 7) | (1u << 8) | (1u << 9) | (1u << 10) | (1u << 12) | (1u << 16) | (1u << 17);

	// Takes over the bits of another value, references included, and lets go of what was held, last of all: that may run destructors.
	template <class Source>
	void replaceBy(const Source &source) noexcept
	{
		HeapObject *old = isHeap() ? object() : nullptr;
		std::memcpy(static_cast<void *>(this), static_cast<const void *>(&source), sizeof(Value));
		if (old) [[unlikely]]
		{
			old->release();
		}
	}
	void setPlain(Kind kind, uint64_t payload) noexcept
	{
		HeapObject *old = isHeap() ? object() : nullptr;
		const Bits plain{{static_cast<uint64_t>(kind), payload}}; // both systems are little-endian: the kind is the first byte
		std::memcpy(static_cast<void *>(this), &plain, sizeof plain);
		if (old) [[unlikely]]
		{
			old->release();
		}
	}

	explicit Value(Kind kind) noexcept { setBare(kind); }
	Value(Kind kind, uint64_t payload) noexcept
	{
		setBare(kind);
		setWord(payload);
	}
	Value(Kind kind, HeapObject *object) noexcept : Value(kind, reinterpret_cast<uint64_t>(object)) { object->retain(); }

	bool isHeap() const noexcept { return ((HEAP_KINDS >> static_cast<uint8_t>(fKind)) & 1u) != 0; }
	HeapObject *object() const noexcept { return reinterpret_cast<HeapObject *>(word()); }
	void copyBits(const Value &other) noexcept { std::memcpy(static_cast<void *>(this), static_cast<const void *>(&other), sizeof(Value)); }
	void setBare(Kind kind) noexcept
	{
		std::memset(static_cast<void *>(this), 0, sizeof(Value));
		fKind = kind;
	}
	uint64_t word() const noexcept
	{
		uint64_t value = 0;
		std::memcpy(&value, fBytes + 6, sizeof value);
		return value;
	}
	void setWord(uint64_t value) noexcept { std::memcpy(fBytes + 6, &value, sizeof value); }
	const Value &cellValue() const noexcept;

	Kind fKind;
	uint8_t fFlags;                     // RETURNED, and the length of a short string
	char fBytes[SHORT_STRING_CAPACITY]; // a short string, or the payload in the last 8
};
static_assert(sizeof(Value) == 16);

inline Value Value::boolean(bool value) noexcept
{
	return Value(Kind::BOOL, value ? uint64_t{1} : uint64_t{0});
}

inline Value Value::integer(OMInt value) noexcept
{
	return Value(Kind::INT, static_cast<uint64_t>(value));
}

inline Value Value::floating(double value) noexcept
{
	uint64_t bits = 0;
	std::memcpy(&bits, &value, sizeof bits);
	return Value(Kind::FLOAT, bits);
}

inline Value Value::number(double value) noexcept
{
	constexpr double LIMIT = 9223372036854775808.0; // 2^63: what lies outside stays a Float
	if (value >= -LIMIT && value < LIMIT)
	{
		const auto truncated = static_cast<int64_t>(value);
		if (static_cast<double>(truncated) == value)
		{
			return integer(truncated);
		}
	}
	return value != value ? nan() : floating(value);
}

inline double Value::floatPayload() const noexcept
{
	double value = 0;
	std::memcpy(&value, fBytes + 6, sizeof value);
	return value;
}

inline StringObject *Value::stringObject() const noexcept
{
	return static_cast<StringObject *>(object());
}

inline std::string_view Value::text() const noexcept
{
	return fKind == Kind::SHORT_STRING ? std::string_view(fBytes, fFlags & LENGTH_MASK) : std::string_view(stringObject()->fText);
}
}
