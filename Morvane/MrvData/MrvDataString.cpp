#include "MrvData/MrvDataString.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
const std::string DataString::TYPENAME = "DataString";

std::shared_ptr<IObject> DataString::factoryFromString(std::string text)
{
	return make(std::move(text));
}

bool DataString::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	SANITY_CHECK_AS(Data_abstract::serializeDeserializeContent(mode, serializer),
	    "Data_abstract::serializeDeserializeContent(serializeDeserialize, serializerObj)", return false);
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serializer.putString(fString);
		case SerializeDeserialize::DESERIALIZE:
			SANITY_CHECK_AS(serializer.isStringAvailable(), "serializer->isStringAvailable()", return false);
			fString = serializer.getString();
			return true;
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}

bool DataString::operator==(const IObject &other) const
{
	const auto *data = castTo<const DataString>(&other);
	return data && data->fString == fString;
}
}
