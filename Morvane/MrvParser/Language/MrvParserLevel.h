#pragma once

#include "MrvParser/Language/MrvParseType.h"
#include "MrvParser/Language/MrvParserState.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvOperators.h"
#include "MrvParser/Node/MrvValue.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Mrv
{
// What an expression is nested in another one for. The parser has a table of them.
enum class ParserPurpose : uint8_t
{
	WHOLE, // nested in nothing
	PARENTHESIZED,
	CALL_ARGUMENT,
	INDEX_VALUE,
	TERNARY_FIRST,
	TERNARY_SECOND,
	BLOCK_FIRST,
	BLOCK_ELEMENT,
	PROPERTY_VALUE,
	ARRAY_ELEMENT,
	PARAMETER,
	FUNCTION_BODY,
	IF_CONDITION,
	IF_BRANCH,
	ELSE_BRANCH,
	WHILE_CONDITION,
	WHILE_BRANCH,
	DO_BODY,
	DO_CONDITION,
	FOR_INITIALIZATION,
	FOR_CONDITION,
	FOR_ITERATION,
	FOR_BODY,
	RETURN_VALUE,
};

// A binary operator as it waits on its stack, with its place in the source.
struct ParserOperator
{
	BinOp binOp;
	uint32_t offset;
};

// A prefix operator that waits for its operand.
struct ParserPrefix
{
	UnOp unOp;
	uint32_t offset;
};

// The two values of a `?:` whose condition stands before it on the operand stack.
struct ParserConditional
{
	Value first;
	Value second;
};

// Where the parser is within one expression: one of these for each expression that is nested in another one. Levels are used again, so that
// nesting costs no allocation.
struct ParserLevel
{
	void begin(ParserPurpose newPurpose, ParseType newType, int newNestLevel);
	// Drops all values.
	void clear() noexcept;

	ParserState state = ParserState::OPERAND;
	ParseType type = ParseType::EXPRESSION;
	ParserPurpose purpose = ParserPurpose::WHOLE;
	int nestLevel = 0; // open brackets of the script around it

	// --- The expression

	std::vector<Value> operands; // for a `?:` that waits for its condition: LAZY
	std::vector<ParserOperator> operators;
	std::vector<ParserPrefix> prefixes;
	std::vector<ParserConditional> conditionals; // of the TERNARY operators, in order
	Value current;                               // the primary so far, to which links are added
	bool isBracketed = false;                    // the primary is an expression in brackets, without links so far
	uint32_t currentOffset = 0;
	bool isConditionClosed = false; // a condition whose `)` was read: what may begin a statement ends it
	bool isStatementEnd = false;    // a `;` was consumed behind it, or a line end stands there: nothing more is to be read
	bool isDoEnded = false;         // it ended with a `do` statement: a `;` may follow
	bool isLineEndPassed = false;   // since the last operand
	char lastSkipped = 0;           // the last `,` or `;` in front of all operands

	// --- What is being put together in it; one construct at a time

	Ref<ArrayContainer> array;
	Ref<MapContainer> map;
	bool isData = true; // of the array or map: no code in it so far
	Name key;
	std::vector<Value> arguments;
	Ref<FunctionSignature> signature; // of the function whose body the block is
	std::array<Value, 3> parts;       // of a statement or `?:`, in source order
	Value block;
	bool hasBlock = false;         // an element of the block counted
	bool isSemicolonLast = false;  // in the block
	BinOp joint = BinOp::SEQUENCE; // of the block's next element
	uint64_t elementPosition = 0;  // where that began
};
}
