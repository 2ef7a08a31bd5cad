#pragma once

#include "MrvObject/MrvIObject.h"
#include "MrvSerializer/MrvISerializer.h"

namespace Mrv
{
// An object that can be written as text and made from it again.
class IData : public virtual IObject
{
public:
	// Writes or reads what the object holds, which stands behind its type name. False, with a log line, when that fails; what was read
	// so far is not to be used then.
	virtual bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) = 0;
};
}
