#pragma once

#include "MrvParser/Language/MrvSourceText.h"
#include "MrvParser/Language/MrvToken.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvOperators.h"
#include "MrvParser/Node/MrvValue.h"

#include <string>
#include <vector>

namespace Mrv
{
// What the parser builds programs with. Operations on constants are folded: the result is then the plain value. Nothing here
// suspends or runs code.
//
// All give false when the operation is refused; `message` then says why (for the line of the parse error) and `result` is
// Undefined. `offset` is where the operation stands in the source, in bytes, for the messages of a running script.
class ExpressionFactory
{
public:
	// An expression higher than this is refused: "nesting limit reached".
	static constexpr uint32_t MAX_HEIGHT = 5000;

	// The source, which may be null, is where the offsets are counted in.
	explicit ExpressionFactory(std::string &message, Ref<SourceText> source = nullptr) : fMessage(message), fSource(std::move(source)) {}

	// ASSIGN needs an l-value on the left. COMMA, SEQUENCE and ADD gather into sequences: a left side that is such a sequence of the
	// same operator is added to, in constant time, and must not be used afterwards.
	bool registerBinaryOperation(Value &result, BinOp binOp, const Value &left, const Value &right, uint32_t offset);
	// RETURN wraps: a value that is wrapped already stays as it is.
	bool registerUnaryOperation(Value &result, UnOp unOp, const Value &operand, uint32_t offset);
	bool registerTernaryOperation(
	    Value &result, TernOp ternOp, const Value &condition, const Value &first, const Value &second, uint32_t offset);
	// BREAK, DEBUGGER, VAR.
	bool registerKeywordOperation(Value &result, Token token, uint32_t offset);

	// l-values. An ABSENT parent means that there is none: a plain name, or a built-in word that is not behind a dot.
	bool makeName(Value &result, const Value &parent, const std::string &identifier, uint32_t offset);
	bool makeToken(Value &result, const Value &parent, Token token, uint32_t offset);
	// `container[index]`: by position for an Int (at least 0), by name for a String, else by expression.
	bool makeIndex(Value &result, const Value &container, const Value &index, uint32_t offset);
	// `callee(arguments)`: on a name or a built-in word without arguments it becomes that one's argument list, on anything else, and on
	// a callee in brackets, a call of the value.
	bool makeCall(Value &result, const Value &callee, bool isBracketed, std::vector<Value> &&arguments, uint32_t offset);

	// A function of a finished body: finds its local variables and lays out its slots. A body that isn't an Expression is wrapped as a
	// return value.
	bool makeFunction(Value &result, const Ref<FunctionSignature> &signature, const Value &body);

	// A constant: its evaluation needs no scope. Kept as a bit of containers and known from the kind of everything else.
	static bool isConstant(const Value &value);
	static bool isLValue(const Value &value);
	// The name that a parent-less, argument-less name expression stands for; empty for everything else.
	static std::string getPlainName(const Value &value);

private:
	bool refuse(Value &result, const char *message);
	bool accept(Value &result, const Ref<class OMExpression> &expression, uint32_t offset);

	std::string &fMessage;
	Ref<SourceText> fSource;
};
}
