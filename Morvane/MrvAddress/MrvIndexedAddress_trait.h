#pragma once

#include "MrvAddress/MrvIAddress.h"
#include "MrvSerializer/MrvISerializer.h"

#include <string>
#include <vector>

namespace Mrv
{
// The part of an address that leads from a coordinator down to a service: "name/index/name/index". Empty: the coordinator itself.
class IndexedAddress_trait : public virtual IIndexedAddress
{
public:
	const std::string &getIndices() const override { return fIndices; }
	const std::vector<std::string> &getIndexVector() const override { return fIndexVector; }

	// Splits a path at its slashes. A last index that was left out is put in, in both forms. What is no number or no name is logged and
	// kept; the first name isn't looked at, so that it may have dots.
	static void splitIndices(std::string &indices, std::vector<std::string> &indexVector);

protected:
	IndexedAddress_trait() = default;
	explicit IndexedAddress_trait(const std::string &indices);
	~IndexedAddress_trait() = default;
	bool serializeDeserializeIndices(SerializeDeserialize mode, ISerializer &serializer);
	std::string indicesToString() const { return "Indices = " + fIndices; }

private:
	std::string fIndices;
	std::vector<std::string> fIndexVector;
};
}
