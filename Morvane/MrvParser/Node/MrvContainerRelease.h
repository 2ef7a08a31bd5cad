#pragma once

#include "MrvParser/Node/MrvValue.h"

namespace Mrv
{
// Empties every container that can be reached from a value, without recursion. A container that holds itself is a cycle of counted
// pointers, which nothing else would break.
void emptyReachableContainers(const Value &root);
}
