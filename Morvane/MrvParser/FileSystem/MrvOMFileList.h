#pragma once

#include "MrvParser/FileSystem/MrvReadOnlyMap.h"

#include <string>
#include <vector>

namespace Mrv
{
class OMFileSystem;

// The entries of a folder by name, in byte order: a read-only Map. The names were read once; the nodes are made when they are asked for.
class OMFileList final : public ReadOnlyMap
{
public:
	// names: sorted.
	static std::shared_ptr<OMFileList> factory(const std::string &folderPath, std::vector<std::string> names);

	using ReadOnlyMap::getOMNode;
	using ReadOnlyMap::getType;
	std::shared_ptr<IOMNode> getOMNode(const std::string &attribute) override;
	bool hasAttribute(const std::string &attribute) const override;
	OMType getType(const std::string &attribute) const override;
	std::vector<std::string> getAttributeList() const override { return fNames; }
	std::shared_ptr<IOMNodeIterator> getNodeIterator() override;
	size_t getSize() const override { return fNames.size(); }

	// The folder with its names.
	bool appendAsString(std::string &text, NodeWalk &walk) const override;
	bool appendToString(std::string &text, NodeWalk &walk) const override;

private:
	OMFileList(std::string pathPrefix, std::vector<std::string> names);
	size_t find(const std::string &name) const;

	std::string fPathPrefix; // of the entries
	std::vector<std::string> fNames;
	std::vector<std::shared_ptr<OMFileSystem>> fEntries; // as far as they were asked for
};
}
