#include "MrvAddress/MrvIndexedAddress_trait.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvUtils.h"

namespace Mrv
{
IndexedAddress_trait::IndexedAddress_trait(const std::string &indices) : fIndices(indices)
{
	splitIndices(fIndices, fIndexVector);
}

void IndexedAddress_trait::splitIndices(std::string &indices, std::vector<std::string> &indexVector)
{
	indexVector.clear();
	if (indices.empty())
	{
		return;
	}
	indexVector = Utils::split(indices, '/');
	bool isIndexReported = false;
	bool isNameReported = false;
	for (size_t position = 1; position < indexVector.size(); ++position)
	{
		// One line of each kind is enough for a path of any length.
		if (position % 2 == 1 && !Utils::isNumeric(indexVector[position]) && !isIndexReported)
		{
			LOG_ERROR("invalid index number");
			isIndexReported = true;
		}
		else if (position % 2 == 0 && !Utils::isIdentifierName(indexVector[position]) && !isNameReported)
		{
			LOG_ERROR("invalid index name");
			isNameReported = true;
		}
	}
	if (indexVector.size() % 2 == 1)
	{
		indexVector.emplace_back("0");
		indices += "/0";
	}
}

bool IndexedAddress_trait::serializeDeserializeIndices(SerializeDeserialize mode, ISerializer &serializer)
{
	switch (mode)
	{
		case SerializeDeserialize::SERIALIZE:
			return serializer.putString(fIndices);
		case SerializeDeserialize::DESERIALIZE:
			SANITY_CHECK_AS(serializer.isStringAvailable(), "serializer->isStringAvailable()", return false);
			fIndices = serializer.getString();
			splitIndices(fIndices, fIndexVector);
			return true;
	}
	LOG_ERROR("no serializeDeserialize");
	return false;
}
}
