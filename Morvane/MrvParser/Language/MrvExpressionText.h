#pragma once

#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Node/MrvOperators.h"

#include <string>
#include <vector>

namespace Mrv
{
// What the classes of expressions render and compare themselves with. The rendered text parses to the same expression: an operand
// that binds looser than its place allows is put in brackets.
namespace ExpressionText
{
// IExpression::getOperatorValue of an expression; 0 for everything else, which never needs brackets.
uint32_t operatorValue(const Value &operand);
// Statements joined by `;`, which can't stand in brackets but in braces.
bool isStatements(const Value &operand);
// Whether it ends with an `if`, which no operator may follow.
bool endsItsLevel(const Value &operand);
bool appendOperand(std::string &text, const Value &operand, bool needsBrackets, NodeWalk &walk);
// What stands in the brackets of a statement's condition.
bool appendCondition(std::string &text, const Value &condition, NodeWalk &walk);
bool appendOperands(std::string &text, const std::vector<Value> &operands, const char *separator, NodeWalk &walk);

// --- Order: below, equal to or above 0
int compareClasses(const IExpression &left, const IExpression &right);
template <class T>
int compareNumbers(T left, T right)
{
	return left < right ? -1 : (right < left ? 1 : 0);
}
// Operands that are expressions by their own order, others by `==` and `<` of values, else by hash.
int compareOperands(const Value &left, const Value &right, NodeWalk &walk);
int compareLists(const std::vector<Value> &left, const std::vector<Value> &right, NodeWalk &walk);

// The other expression as the same class, or null.
template <class T>
const T *sameClass(const T &own, const IExpression &other)
{
	return own.getClass() == other.getClass() ? static_cast<const T *>(&other) : nullptr;
}
}
}
