#pragma once

#include <cstdint>

namespace Mrv
{
// What an expression is parsed for: it decides what a comma and a semicolon mean behind it.
enum class ParseType : uint32_t
{
	EXPRESSION = 0,   // a statement of a script, what stands in parentheses
	OBJECT_VALUE = 1, // the value of an object's property
	ARRAY_ELEMENT = 2,
	ARGUMENT = 3,   // of a call
	PARAMETER = 4,  // a name in a parameter list
	BRANCH = 5,     // the body of `if`, `else`, `while`
	FOR_CLAUSE = 6, // one of the three clauses of `for`
	FOR_BODY = 7,
	ELEMENT = 8,        // conditions, index values, elements of a block, the second value of `?:`
	BODY = 9,           // the body of a function or of `do`
	TERNARY_FIRST = 10, // the first value of `?:`
	COMMA_LIST = 11,    // for callers that want commas as operators
	RETURN_VALUE = 12,
};
}
