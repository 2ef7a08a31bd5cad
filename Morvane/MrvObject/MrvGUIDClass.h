#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace Mrv
{
// 128 bits, as two halves.
struct GUIDValue
{
	std::uint64_t high = 0;
	std::uint64_t low = 0;

	auto operator<=>(const GUIDValue &) const = default; // NOLINT(modernize-use-nullptr): the check mistakes the generated code
};

// Something that stands for a GUID.
class IGUIDSource
{
public:
	virtual ~IGUIDSource() = default;
	virtual GUIDValue getGUIDValue() const = 0;
};

// An immutable 128-bit name. There is one instance for each value, which lives until the module is unloaded: equal GUIDs are equal
// pointers, and `GUIDClass *` is what is passed around, compared and used as a key.
class GUIDClass
{
public:
	GUIDClass(const GUIDClass &) = delete;
	GUIDClass &operator=(const GUIDClass &) = delete;

	// Reads the hexadecimal digits of `text`, high ones first, and skips everything else; of more than 32 the last ones count. Never null:
	// text without a digit gives the null GUID. Whether the text has the form of a GUID is for `isValid` to say.
	static GUIDClass *factory(const std::string &text);

	// The instance for a value. 0 gives the one null GUID.
	static GUIDClass *factory(const GUIDValue &value);
	static GUIDClass *factory(const IGUIDSource &source);

	// The instance for a text that is valid, in the sense of `isValid`; null for another.
	static GUIDClass *factoryIfValid(const std::string &text);

	// Whether `text` holds exactly 32 hexadecimal digits and besides them nothing but "_-[]{}()".
	static bool isValid(const std::string &text);

	// A random value; all 128 bits are drawn.
	static GUIDClass *randomFactory();
	// 64 bits from where those are drawn.
	static std::uint64_t randomBits();

	GUIDValue get() const { return fValue; }

	// Upper-case hexadecimal as 8-4-4-4-12. Always the same string object.
	const std::string &toSectionedString();

	// 22 characters of a base-64 alphabet, lowest six bits first: a short form for names, which nothing reads back. Always the same
	// string object.
	const std::string &toCompactString();

	// The order of the sectioned texts, which is the order of the values.
	std::strong_ordering operator<=>(const GUIDClass &other) const { return fValue <=> other.fValue; }
	bool operator==(const GUIDClass &other) const { return fValue == other.fValue; }

private:
	explicit GUIDClass(const GUIDValue &value) : fValue(value) {}

	const GUIDValue fValue;
	std::unique_ptr<const std::string> fSectionedString;
	std::unique_ptr<const std::string> fCompactString;
};
}
