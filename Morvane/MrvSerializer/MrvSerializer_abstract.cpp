#include "MrvSerializer/MrvSerializer_abstract.h"

#include "MrvSerializer/MrvSimpleSerializer.h"

namespace Mrv
{
std::shared_ptr<ISerializer> Serializer_abstract::defaultSerializerFactory()
{
	return std::make_shared<SimpleSerializer>();
}
}
