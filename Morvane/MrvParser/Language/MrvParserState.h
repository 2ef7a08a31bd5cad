#pragma once

#include <cstdint>

namespace Mrv
{
// What a state does with the end of the input.
enum class ParserStateEnd : uint8_t
{
	SEEN, // as with any other character
	FAILS // "unexpected end of inputStream"
};

// Whether a `/` may begin a comment.
enum class ParserStateComments : uint8_t
{
	ALLOWED,
	TEXT // all characters are the state's own
};

// The states of the parser, each with what it does with the end of the input, whether comments may stand there, and what has been read or
// is expected. In the order of the language: operands, primaries, operators, strings, braces, arrays, functions, statements.
// clang-format off
#define MRV_PARSER_STATES(X) \
	X(OPERAND,              SEEN,  ALLOWED, "an operand is expected") \
	X(PREFIX_PLUS,          SEEN,  ALLOWED, "after `+` in front of an operand") \
	X(PREFIX_MINUS,         SEEN,  ALLOWED, "after `-` in front of an operand") \
	X(NAME,                 SEEN,  ALLOWED, "in a name or keyword") \
	X(NUMBER,               SEEN,  ALLOWED, "in a number") \
	X(AFTER_KEYWORD,        SEEN,  ALLOWED, "after `break` or `debugger`") \
	X(PRIMARY,              SEEN,  ALLOWED, "after a name, call, index or parentheses: links may follow") \
	X(ARGUMENT,             FAILS, ALLOWED, "an argument is expected") \
	X(AFTER_ARGUMENT,       FAILS, ALLOWED, "after an argument") \
	X(INDEX,                FAILS, ALLOWED, "after the `[` of an index") \
	X(INDEX_END,            FAILS, ALLOWED, "before the `]` of an index") \
	X(MEMBER_DOT,           FAILS, ALLOWED, "after `.`") \
	X(MEMBER_NAME,          SEEN,  ALLOWED, "in the name of a member") \
	X(PARENTHESES_END,      FAILS, ALLOWED, "before the `)` of a parenthesized expression") \
	X(OPERATOR,             SEEN,  ALLOWED, "an operator is expected") \
	X(AFTER_PLUS,           SEEN,  ALLOWED, "after `+` behind an operand") \
	X(AFTER_MINUS,          SEEN,  ALLOWED, "after `-` behind an operand") \
	X(COMPOUND,             SEEN,  ALLOWED, "after an operator that `=` may make an assignment") \
	X(AFTER_ASSIGN,         SEEN,  ALLOWED, "after `=`") \
	X(AFTER_EQUAL,          SEEN,  ALLOWED, "after `==`") \
	X(AFTER_NOT,            SEEN,  ALLOWED, "after `!` behind an operand") \
	X(AFTER_NOT_EQUAL,      SEEN,  ALLOWED, "after `!=`") \
	X(AFTER_GREATER,        SEEN,  ALLOWED, "after `>`") \
	X(AFTER_LESS,           SEEN,  ALLOWED, "after `<` behind an operand") \
	X(AFTER_AND,            SEEN,  ALLOWED, "after `&`") \
	X(AFTER_OR,             SEEN,  ALLOWED, "after `|`") \
	X(CONDITION_DOT,        SEEN,  ALLOWED, "after a `.` behind the `)` of a condition") \
	X(QUESTION,             SEEN,  ALLOWED, "after `?`") \
	X(TERNARY_COLON,        SEEN,  ALLOWED, "before the `:` of `?:`") \
	X(STRING,               FAILS, TEXT,    "in a quoted string") \
	X(STRING_ESCAPE,        FAILS, TEXT,    "after a backslash in a quoted string") \
	X(HEREDOC,              FAILS, TEXT,    "after `<` in front of an operand") \
	X(HEREDOC_NAME_START,   FAILS, TEXT,    "after `<<`") \
	X(HEREDOC_NAME,         FAILS, TEXT,    "in the name of a heredoc") \
	X(HEREDOC_REST,         FAILS, TEXT,    "in the rest of a heredoc's first line") \
	X(HEREDOC_AFTER_CR,     FAILS, TEXT,    "after the CR of a heredoc's first line") \
	X(HEREDOC_BODY,         SEEN,  TEXT,    "in the lines of a heredoc") \
	X(BRACE,                FAILS, ALLOWED, "after `{`") \
	X(FIRST_WORD,           SEEN,  ALLOWED, "in a word after `{` that may be a key") \
	X(FIRST_STRING,         SEEN,  TEXT,    "in a string after `{` that may be a key") \
	X(FIRST_STRING_ESCAPE,  SEEN,  TEXT,    "after a backslash in such a string") \
	X(FIRST_COLON,          SEEN,  ALLOWED, "after such a word or string") \
	X(BLOCK_FIRST,          FAILS, ALLOWED, "after the first element of `{`") \
	X(BLOCK,                FAILS, ALLOWED, "after an element of a block") \
	X(BLOCK_NEXT,           FAILS, ALLOWED, "after a `;` in a block") \
	X(KEY,                  FAILS, ALLOWED, "the key of a property is expected") \
	X(KEY_WORD,             FAILS, ALLOWED, "in an unquoted key") \
	X(KEY_STRING,           FAILS, TEXT,    "in a quoted key") \
	X(KEY_STRING_ESCAPE,    FAILS, TEXT,    "after a backslash in a quoted key") \
	X(KEY_COLON,            FAILS, ALLOWED, "before the `:` of a property") \
	X(PROPERTY_VALUE,       FAILS, ALLOWED, "after the `:` of a property") \
	X(AFTER_PROPERTY,       FAILS, ALLOWED, "after a property") \
	X(ARRAY_ELEMENT,        FAILS, ALLOWED, "an element of an array is expected") \
	X(AFTER_ARRAY_ELEMENT,  FAILS, ALLOWED, "after an element of an array") \
	X(FUNCTION,             FAILS, ALLOWED, "after `function`") \
	X(FUNCTION_NAME,        FAILS, ALLOWED, "in the name of a function") \
	X(PARAMETER_LIST,       FAILS, ALLOWED, "before the `(` of a parameter list") \
	X(PARAMETER,            FAILS, ALLOWED, "a parameter is expected") \
	X(AFTER_PARAMETER,      FAILS, ALLOWED, "after a parameter") \
	X(FUNCTION_SCOPE,       FAILS, ALLOWED, "before the `{` of a function") \
	X(FUNCTION_BODY,        FAILS, ALLOWED, "after the `{` of a function") \
	X(IF,                   FAILS, ALLOWED, "after `if`") \
	X(ELSE_SEARCH,          SEEN,  ALLOWED, "after the first branch of `if`") \
	X(WHILE,                FAILS, ALLOWED, "after `while`") \
	X(DO,                   SEEN,  ALLOWED, "after `do`") \
	X(DO_BODY_END,          SEEN,  ALLOWED, "after the body of `do`") \
	X(DO_WHILE_SEARCH,      SEEN,  ALLOWED, "before the `while` of `do`") \
	X(FOR,                  FAILS, ALLOWED, "after `for`") \
	X(FOR_INITIALIZATION,   FAILS, ALLOWED, "the first clause of `for` is expected") \
	X(FOR_INITIALIZATION_END, FAILS, ALLOWED, "after the first clause of `for`") \
	X(FOR_CONDITION,        FAILS, ALLOWED, "the second clause of `for` is expected") \
	X(FOR_CONDITION_END,    FAILS, ALLOWED, "after the second clause of `for`") \
	X(FOR_ITERATION,        FAILS, ALLOWED, "the third clause of `for` is expected") \
	X(FOR_ITERATION_END,    FAILS, ALLOWED, "after the third clause of `for`") \
	X(FOR_BODY,             SEEN,  ALLOWED, "after the `)` of `for`") \
	X(LEVEL_END,            SEEN,  ALLOWED, "the expression has ended; blanks behind it are passed over")

enum class ParserState : uint8_t
{
#define MRV_STATE(name, end, comments, gloss) name,
	MRV_PARSER_STATES(MRV_STATE)
#undef MRV_STATE
};
// clang-format on

ParserStateEnd getStateEnd(ParserState state);
ParserStateComments getStateComments(ParserState state);
// The enumerator's text.
const char *getStateName(ParserState state);
// What the state stands for, in words.
const char *getStateGloss(ParserState state);
}
