#pragma once

#include <cstdint>

namespace Mrv
{
using OMInt = int64_t;
using OMFloat = double;

// The type of a node or value. The order of the numbers is the order of values of different types under `<`.
enum class OMType : uint8_t
{
	Undefined = 1,
	Null = 2,
	Bool = 3,
	Date = 4, // signed 64-bit, seconds since 1970 UTC
	Int = 5,
	Float = 6,
	String = 7, // bytes, UTF-8 by convention, may contain NUL
	Array = 8,
	Map = 9,
	Expression = 10,
	Error = 11,
	Function = 12,
	NaN = 13,
	GUID = 14,
};
}
