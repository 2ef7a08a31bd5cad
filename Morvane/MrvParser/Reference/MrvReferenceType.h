#pragma once

#include <cstdint>

namespace Mrv
{
// How the nodes that a reference finds become one result.
enum class ReferenceType : uint32_t
{
	OM_REF_SELECTOR_FIRST_MATCH = 0,             // despite its name, as the next one
	OM_REF_SELECTOR_SINGLE_ELEMENT_OR_ARRAY = 1, // one match: that node itself; more: a new array of them
	OM_REF_SELECTOR_ARRAY = 2,                   // a new array, as soon as there is a match
};
}
