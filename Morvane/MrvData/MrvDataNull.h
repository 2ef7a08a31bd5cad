#pragma once

#include "MrvData/MrvDataClass.h"

namespace Mrv
{
// What is written where there is no object. Its type name is all of it.
class DataNull final : public DataClass<DataNull>
{
public:
	static const std::string TYPENAME;

	// All are equal.
	bool operator==(const IObject &other) const override;

private:
	friend class DataClass<DataNull>;
	DataNull() = default;
};
}
