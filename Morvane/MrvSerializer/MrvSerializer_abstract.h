#pragma once

#include "MrvObject/MrvObject.h"
#include "MrvSerializer/MrvISerializer.h"

#include <memory>

namespace Mrv
{
class Serializer_abstract : public Object, public ISerializer
{
public:
	// A new serializer of the kind that messages travel in.
	static std::shared_ptr<ISerializer> defaultSerializerFactory();

	std::shared_ptr<IObject> getSerializerObj() override { return shared_from_this(); }

	// Two different things: the GUID of this object (on a constant one), and the next one that is read.
	using ISerializer::getGUID;
	using Object::getGUID;
};
}
