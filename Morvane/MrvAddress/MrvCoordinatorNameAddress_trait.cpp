#include "MrvAddress/MrvCoordinatorNameAddress_trait.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
CoordinatorNameAddress_trait::CoordinatorNameAddress_trait(const std::string &coordinatorName) : fCoordinatorName(coordinatorName)
{
	if (!Utils::isCoordinatorName(fCoordinatorName))
	{
		LOG_ERROR("invalid coordinator name");
	}
}

bool CoordinatorNameAddress_trait::serializeDeserializeName(SerializeDeserialize mode, ISerializer &serializer)
{
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serializer.putString(fCoordinatorName);
		case SerializeDeserialize::DESERIALIZE:
			fCoordinatorName = serializer.getString();
			SANITY_CHECK_AS(Utils::isCoordinatorName(fCoordinatorName), "Utils::isIdentifierName(fCoordinatorName)", return false);
			return true;
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}
}
