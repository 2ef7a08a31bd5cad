#include "MrvData/MrvDataOM.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvOperations.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvPlatform/MrvCast.h"

namespace Mrv
{
const std::string DataOM::TYPENAME = "DataOM";

std::shared_ptr<IObject> DataOM::factoryFromOMNode(std::shared_ptr<OMStored> omNode)
{
	return make(std::move(omNode));
}

std::shared_ptr<IObject> DataOM::factoryFromJSONStr(const std::string &jsonString)
{
	const std::shared_ptr<DataOM> retVal = make();
	return retVal->parse(jsonString) ? retVal : nullptr;
}

bool DataOM::parse(const std::string &jsonString)
{
	const std::shared_ptr<OMStored> omNode = OMStored::undefinedFactory();
	SANITY_CHECK(ParseTask::call(omNode, jsonString), return false);
	fOMNode = omNode;
	return true;
}

bool DataOM::serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer)
{
	SANITY_CHECK_AS(Data_abstract::serializeDeserializeContent(mode, serializer),
	    "Data_abstract::serializeDeserializeContent(serializeDeserialize, serializerObj)", return false);
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serializer.putString(toString());
		case SerializeDeserialize::DESERIALIZE:
			SANITY_CHECK_AS(serializer.isStringAvailable(), "serializer->isStringAvailable()", return false);
			return parse(serializer.getString());
	}
	LOG_ERROR("unexpected serializeDeserialize");
	return false;
}

std::string DataOM::toString() const
{
	return fOMNode ? fOMNode->toString() : "null";
}

bool DataOM::operator==(const IObject &other) const
{
	const auto *data = castTo<const DataOM>(&other);
	if (!data || !fOMNode || !data->fOMNode)
	{
		return data && fOMNode == data->fOMNode;
	}
	return compareEqual(fOMNode->getValue(), data->fOMNode->getValue()) == Comparison::YES;
}
}
