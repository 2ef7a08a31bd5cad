#pragma once

#include <cstdint>

namespace Mrv
{
// What a message asks for. The numbers travel.
enum class OpCode : std::uint32_t
{
	NONE = 0,
	TERMINATE = 1,
	PING = 2,
	PING_REPLY = 3,
	LOG_TRACE = 4,
	LOG_NOTE = 5,
	LOG_WARNING = 6,
	LOG_ERROR = 7,
	STD_OUT = 8,
	STD_ERR = 9,
	OPEN_SESSION = 10,
	CLOSE_SESSION = 11,
	EVAL = 12,
	EVAL_FILE = 13,
	EVAL_RESULT = 14,
	DATA_REQUEST = 15,
	DATA_REPLY = 16,
};
}
