#include "MrvParser/Language/MrvToken.h"

#include <algorithm>
#include <array>

namespace Mrv
{
namespace
{
struct Word
{
	std::string_view text;
	Token token;
};

// In byte order of the texts.
constexpr std::array WORDS{
    Word{"NaN", Token::NAN_VALUE},
    Word{"abs", Token::ABS},
    Word{"break", Token::BREAK},
    Word{"debugger", Token::DEBUGGER},
    Word{"dirExists", Token::DIR_EXISTS},
    Word{"do", Token::DO},
    Word{"else", Token::ELSE},
    Word{"enquote", Token::ENQUOTE},
    Word{"eval", Token::EVAL},
    Word{"evalScript", Token::EVAL_SCRIPT},
    Word{"exit", Token::EXIT},
    Word{"false", Token::FALSE_VALUE},
    Word{"fileClose", Token::FILE_CLOSE},
    Word{"fileExists", Token::FILE_EXISTS},
    Word{"fileOpen", Token::FILE_OPEN},
    Word{"fileRead", Token::FILE_READ},
    Word{"fileWrite", Token::FILE_WRITE},
    Word{"for", Token::FOR},
    Word{"function", Token::FUNCTION},
    Word{"getEnv", Token::GET_ENV},
    Word{"if", Token::IF},
    Word{"indexOf", Token::INDEX_OF},
    Word{"isNaN", Token::IS_NAN},
    Word{"length", Token::LENGTH},
    Word{"logError", Token::LOG_ERROR_LINE},
    Word{"logNote", Token::LOG_NOTE_LINE},
    Word{"logTrace", Token::LOG_TRACE_LINE},
    Word{"logWarning", Token::LOG_WARNING_LINE},
    Word{"null", Token::NULL_VALUE},
    Word{"output", Token::OUTPUT},
    Word{"parentPath", Token::PARENT_PATH},
    Word{"parseFloat", Token::PARSE_FLOAT},
    Word{"parseInt", Token::PARSE_INT},
    Word{"parseScript", Token::PARSE_SCRIPT},
    Word{"pathSegmentFromLeft", Token::PATH_SEGMENT_FROM_LEFT},
    Word{"pathSegmentFromRight", Token::PATH_SEGMENT_FROM_RIGHT},
    Word{"pop", Token::POP},
    Word{"push", Token::PUSH},
    Word{"quit", Token::QUIT},
    Word{"readFile", Token::READ_FILE},
    Word{"reference", Token::REFERENCE},
    Word{"return", Token::RETURN},
    Word{"scriptFilePath", Token::SCRIPT_FILE_PATH},
    Word{"sendData", Token::SEND_DATA},
    Word{"setDataRequestCallBack", Token::SET_DATA_REQUEST_CALL_BACK},
    Word{"size", Token::SIZE},
    Word{"sqr", Token::SQR},
    Word{"sqrt", Token::SQRT},
    Word{"stdErr", Token::STD_ERR},
    Word{"stdIn", Token::STD_IN},
    Word{"stdOut", Token::STD_OUT},
    Word{"stringify", Token::STRINGIFY},
    Word{"substr", Token::SUBSTR},
    Word{"sysInfo", Token::SYS_INFO},
    Word{"toLowerCase", Token::TO_LOWER_CASE},
    Word{"toString", Token::TO_STRING},
    Word{"toUpperCase", Token::TO_UPPER_CASE},
    Word{"true", Token::TRUE_VALUE},
    Word{"typeof", Token::TYPEOF},
    Word{"undefined", Token::UNDEFINED},
    Word{"var", Token::VAR},
    Word{"while", Token::WHILE},
    Word{"writeFile", Token::WRITE_FILE},
    Word{"yield", Token::YIELD},
};

// The words that are the parser's own.
constexpr std::array KEYWORDS{
    Token::BREAK,
    Token::DEBUGGER,
    Token::DO,
    Token::ELSE,
    Token::FALSE_VALUE,
    Token::FOR,
    Token::FUNCTION,
    Token::IF,
    Token::NAN_VALUE,
    Token::NULL_VALUE,
    Token::RETURN,
    Token::TRUE_VALUE,
    Token::TYPEOF,
    Token::UNDEFINED,
    Token::VAR,
    Token::WHILE,
};

constexpr bool isBefore(const Word &word, std::string_view text)
{
	return word.text < text;
}

static_assert(std::ranges::is_sorted(WORDS, {}, &Word::text), "the words are searched by halves");
static_assert(WORDS.size() == TOKEN_COUNT - 3, "all numbers but 28, 32 and 56");

constexpr size_t INITIALS = 128;

// The words that begin with a letter are those from its entry up to the next letter's.
constexpr std::array<uint8_t, INITIALS + 1> makeFirstByInitial()
{
	std::array<uint8_t, INITIALS + 1> first{};
	for (size_t initial = 0; initial <= INITIALS; ++initial)
	{
		uint8_t index = 0;
		while (index < WORDS.size() && static_cast<size_t>(WORDS[index].text[0]) < initial)
		{
			++index;
		}
		first[initial] = index;
	}
	return first;
}
constexpr std::array<uint8_t, INITIALS + 1> FIRST_BY_INITIAL = makeFirstByInitial();

constexpr std::array<std::string_view, TOKEN_COUNT> makeTexts()
{
	std::array<std::string_view, TOKEN_COUNT> texts{};
	for (const Word &word : WORDS)
	{
		texts[static_cast<size_t>(word.token)] = word.text;
	}
	return texts;
}
constexpr std::array<std::string_view, TOKEN_COUNT> TEXTS = makeTexts();
}

Token findToken(std::string_view word)
{
	if (word.empty() || static_cast<unsigned char>(word[0]) >= INITIALS)
	{
		return Token::NONE;
	}
	const size_t initial = static_cast<unsigned char>(word[0]);
	const auto *const end = WORDS.data() + FIRST_BY_INITIAL[initial + 1];
	const auto *const found = std::lower_bound(WORDS.data() + FIRST_BY_INITIAL[initial], end, word, isBefore);
	return found != end && found->text == word ? found->token : Token::NONE;
}

std::string_view getTokenText(Token token)
{
	const auto number = static_cast<size_t>(token);
	return number < TEXTS.size() ? TEXTS[number] : std::string_view();
}

bool isFunctionToken(Token token)
{
	return !getTokenText(token).empty() && std::ranges::find(KEYWORDS, token) == KEYWORDS.end();
}
}
