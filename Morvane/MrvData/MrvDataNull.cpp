#include "MrvData/MrvDataNull.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
const std::string DataNull::TYPENAME = "DataNull";

bool DataNull::operator==(const IObject &other) const
{
	return castTo<const DataNull>(&other) != nullptr;
}
}
