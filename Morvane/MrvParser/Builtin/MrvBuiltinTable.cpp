#include "MrvParser/Builtin/MrvBuiltinFunctions.h"

#include <array>

namespace Mrv
{
namespace
{
using namespace Builtins;
using Effect = Builtin::Effect;

constexpr Builtin looks(Token token, Value (*run)(const BuiltinCall &))
{
	return {token, Effect::NONE, run, nullptr};
}

constexpr Builtin changes(Token token, Value (*run)(const BuiltinCall &))
{
	return {token, Effect::CHANGES, run, nullptr};
}

constexpr Builtin suspends(Token token, void (*run_yielding)(const BuiltinCall &, Value &))
{
	return {token, Effect::SUSPENDS, nullptr, run_yielding};
}

constexpr std::array TABLE{
    looks(Token::ABS, ftn_abs),
    changes(Token::DIR_EXISTS, ftn_dirExists),
    looks(Token::ENQUOTE, ftn_enquote),
    suspends(Token::EVAL, ftn_eval_yielding),
    suspends(Token::EVAL_SCRIPT, ftn_evalScript_yielding),
    suspends(Token::EXIT, ftn_exit_yielding),
    changes(Token::FILE_CLOSE, ftn_fileClose),
    changes(Token::FILE_EXISTS, ftn_fileExists),
    changes(Token::FILE_OPEN, ftn_fileOpen),
    changes(Token::FILE_READ, ftn_fileRead),
    changes(Token::FILE_WRITE, ftn_fileWrite),
    changes(Token::GET_ENV, ftn_getEnv),
    looks(Token::INDEX_OF, ftn_indexOf),
    looks(Token::IS_NAN, ftn_isNaN),
    looks(Token::LENGTH, ftn_length),
    changes(Token::LOG_ERROR_LINE, ftn_logError),
    changes(Token::LOG_NOTE_LINE, ftn_logNote),
    changes(Token::LOG_TRACE_LINE, ftn_logTrace),
    changes(Token::LOG_WARNING_LINE, ftn_logWarning),
    suspends(Token::OUTPUT, ftn_stdOut_yielding),
    looks(Token::PARENT_PATH, ftn_parentPath),
    looks(Token::PARSE_FLOAT, ftn_parseFloat),
    looks(Token::PARSE_INT, ftn_parseInt),
    suspends(Token::PARSE_SCRIPT, ftn_parseScript_yielding),
    looks(Token::PATH_SEGMENT_FROM_LEFT, ftn_pathSegmentFromLeft),
    looks(Token::PATH_SEGMENT_FROM_RIGHT, ftn_pathSegmentFromRight),
    changes(Token::POP, ftn_pop),
    changes(Token::PUSH, ftn_push),
    changes(Token::QUIT, ftn_quit),
    changes(Token::READ_FILE, ftn_readFile),
    changes(Token::SCRIPT_FILE_PATH, ftn_scriptFilePath), // makes the scope's node
    Builtin{Token::REFERENCE, Effect::SUSPENDS, nullptr, ftn_reference_yielding, access_reference_yielding},
    suspends(Token::SEND_DATA, ftn_sendData_yielding),
    changes(Token::SET_DATA_REQUEST_CALL_BACK, ftn_setDataRequestCallBack),
    looks(Token::SIZE, ftn_size),
    looks(Token::SQR, ftn_sqr),
    looks(Token::SQRT, ftn_sqrt),
    suspends(Token::STD_ERR, ftn_stdErr_yielding),
    suspends(Token::STD_IN, ftn_stdIn_yielding),
    suspends(Token::STD_OUT, ftn_stdOut_yielding),
    looks(Token::STRINGIFY, ftn_stringify),
    looks(Token::SUBSTR, ftn_substr),
    changes(Token::SYS_INFO, ftn_sysInfo),
    looks(Token::TO_LOWER_CASE, ftn_toLowerCase),
    looks(Token::TO_STRING, ftn_toString),
    looks(Token::TO_UPPER_CASE, ftn_toUpperCase),
    changes(Token::WRITE_FILE, ftn_writeFile),
    suspends(Token::YIELD, ftn_yield_yielding),
};

constexpr std::array<const Builtin *, TOKEN_COUNT> makeIndex()
{
	std::array<const Builtin *, TOKEN_COUNT> index{};
	for (const Builtin &builtin : TABLE)
	{
		index[static_cast<size_t>(builtin.token)] = &builtin;
	}
	return index;
}
constexpr std::array<const Builtin *, TOKEN_COUNT> INDEX = makeIndex();
}

const Builtin *Builtin::find(Token token)
{
	const auto number = static_cast<size_t>(token);
	return number < INDEX.size() ? INDEX[number] : nullptr;
}
}
