#include "MrvAddress/MrvHostNameAddress_trait.h"

#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
bool HostNameAddress_trait::serializeDeserializeHost(SerializeDeserialize mode, ISerializer &serializer)
{
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serializer.putString(fHostName);
		case SerializeDeserialize::DESERIALIZE:
			SANITY_CHECK_AS(serializer.isStringAvailable(), "serializer->isStringAvailable()", return false);
			fHostName = serializer.getString();
			return true;
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}
}
