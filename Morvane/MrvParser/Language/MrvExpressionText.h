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
// The operator value of a binary, ternary or sequence expression; 0 for everything else, which never needs brackets.
uint32_t operatorValue(const Value &operand);
inline bool bindsLooserThanUnary(const Value &operand)
{
	return operatorValue(operand) != 0;
}
bool appendOperand(std::string &text, const Value &operand, bool needsBrackets, NodeWalk &walk);
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
