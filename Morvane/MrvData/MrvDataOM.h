#pragma once

#include "MrvData/MrvDataClass.h"
#include "MrvParser/Node/MrvOMStored.h"

#include <string>

namespace Mrv
{
// A node, as JSON text; without one it is "null".
class DataOM final : public DataClass<DataOM>
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factoryFromOMNode(std::shared_ptr<OMStored> omNode);
	// Empty, with a log line, when the text can't be parsed.
	static std::shared_ptr<IObject> factoryFromJSONStr(const std::string &jsonString);

	const std::shared_ptr<OMStored> &getOMNode() const { return fOMNode; }

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::string toString() const override;
	// By the values of the nodes.
	bool operator==(const IObject &other) const override;

private:
	friend class DataClass<DataOM>;
	explicit DataOM(std::shared_ptr<OMStored> omNode = nullptr) : fOMNode(std::move(omNode)) {}
	bool parse(const std::string &jsonString);

	std::shared_ptr<OMStored> fOMNode;
};
}
