#pragma once

#include "MrvData/MrvDataClass.h"

#include <string>

namespace Mrv
{
// A text.
class DataString final : public DataClass<DataString>
{
public:
	static const std::string TYPENAME;
	static std::shared_ptr<IObject> factoryFromString(std::string text);

	const std::string &getString() const { return fString; }

	bool serializeDeserializeContent(SerializeDeserialize mode, ISerializer &serializer) override;
	std::string toString() const override { return fString; }
	bool operator==(const IObject &other) const override;

private:
	friend class DataClass<DataString>;
	explicit DataString(std::string text = {}) : fString(std::move(text)) {}

	std::string fString;
};
}
