#pragma once

#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvValue.h"

namespace Mrv::LocalVariables
{
// Enters every name that `var` declares in a function's body in its signature: the left side of the element behind a `var`, and of further
// elements that commas join to it. Nested functions are not looked into.
void scan(const Value &body, FunctionSignature &signature);

// Gives a slot to every name that the body may create (by assigning to it, by `++`, by defining a function), and tells every plain name in
// the body the slot it has.
void layOut(const Value &body, FunctionSignature &signature);
}
