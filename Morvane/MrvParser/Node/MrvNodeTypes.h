#pragma once

#include <cstdint>

namespace Mrv
{
enum class AccessType : uint32_t
{
	GET = 1,
	SET = 2,
	GET_CREATE = 3, // a child that is missing is created
};

// Why code is evaluated: to fold constants while parsing, or to run.
enum class ScriptPhase : uint32_t
{
	PARSE = 0,
	RUN = 1,
};

// Whether a wrapped `return` value travels on as it is or is unwrapped here.
enum class HandleReturnValue : uint32_t
{
	PASS = 0,
	UNWRAP = 1,
};

// Whether an operand is a temporary that may hold the result.
enum class NodeReuse : uint32_t
{
	KEEP = 0,
	REUSE = 1,
};
}
