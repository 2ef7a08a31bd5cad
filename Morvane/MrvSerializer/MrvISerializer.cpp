#include "MrvSerializer/MrvISerializer.h"

#include "MrvUtils/MrvLimits.h"

namespace Mrv
{
bool ISerializer::NestingScope::isTooDeep() const
{
	return fSerializer.fNesting > Limits::DESERIALIZATION_DEPTH;
}
}
