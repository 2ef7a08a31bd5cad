#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Mrv
{
// The reserved names of the language: its keywords and its built-in functions. The numbers are fixed.
enum class Token : uint32_t
{
	ABS = 0,
	BREAK = 1,
	DEBUGGER = 2,
	DIR_EXISTS = 3,
	DO = 4,
	ELSE = 5,
	ENQUOTE = 6,
	EVAL = 7,
	EVAL_SCRIPT = 8,
	EXIT = 9,
	FALSE_VALUE = 10,
	FILE_CLOSE = 11,
	FILE_EXISTS = 12,
	FILE_OPEN = 13,
	FILE_READ = 14,
	FILE_WRITE = 15,
	FOR = 16,
	FUNCTION = 17,
	GET_ENV = 18,
	IF = 19,
	INDEX_OF = 20,
	IS_NAN = 21,
	LENGTH = 22,
	LOG_ERROR_LINE = 23,
	LOG_NOTE_LINE = 24,
	LOG_TRACE_LINE = 25,
	LOG_WARNING_LINE = 26,
	NAN_VALUE = 27,
	NONE = 28, // a name that is not reserved
	NULL_VALUE = 29,
	OUTPUT = 30,
	PARENT_PATH = 31,
	PARSE_FLOAT = 33,
	PARSE_INT = 34,
	PARSE_SCRIPT = 35,
	PATH_SEGMENT_FROM_LEFT = 36,
	PATH_SEGMENT_FROM_RIGHT = 37,
	POP = 38,
	PUSH = 39,
	QUIT = 40,
	READ_FILE = 41,
	REFERENCE = 42,
	RETURN = 43,
	SCRIPT_FILE_PATH = 44,
	SEND_DATA = 45,
	SET_DATA_REQUEST_CALL_BACK = 46,
	SIZE = 47,
	SQR = 48,
	SQRT = 49,
	STD_ERR = 50,
	STD_IN = 51,
	STD_OUT = 52,
	STRINGIFY = 53,
	SUBSTR = 54,
	SYS_INFO = 55,
	TO_LOWER_CASE = 57,
	TO_STRING = 58,
	TO_UPPER_CASE = 59,
	TRUE_VALUE = 60,
	TYPEOF = 61,
	UNDEFINED = 62,
	VAR = 63,
	WHILE = 64,
	WRITE_FILE = 65,
	YIELD = 66,
};

constexpr uint32_t TOKEN_COUNT = 67; // the highest number and one

// The token of a word, NONE if it is none.
Token findToken(std::string_view word);
// The word of a token; empty for NONE and for numbers that are not used.
std::string_view getTokenText(Token token);
// A word that calls a built-in function wherever it stands. The others are the parser's.
bool isFunctionToken(Token token);
}
