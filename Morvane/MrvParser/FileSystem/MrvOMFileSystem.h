#pragma once

#include "MrvParser/FileSystem/MrvReadOnlyMap.h"

#include <array>
#include <string>
#include <vector>

namespace Mrv
{
// A path on disk as a read-only Map, meant to live for one query: each attribute is read when it is asked for, once, and kept.
//
//   name      String  the last segment of the path
//   path      String  the path
//   isDir     Bool    a folder is there
//   isFile    Bool    a regular file is there
//   isPipe    Bool    a named pipe is there; on POSIX systems a fifo or a local socket
//   fileSize  Int     bytes of a regular file, else 0
//   contents  String  the bytes of a regular file of at most MAX_CONTENTS, else "" and a log line
//   fileList  Map     the entries of a folder by name, each as such a node; else empty
//
// All of them can be asked for by name; walks meet the first five, of a folder `fileList`, of a file `fileSize` and `contents`. An entry
// that is a link to a folder is a folder without entries, so that walks come to an end. A path where nothing is, or that can't be read, is
// neither folder nor file. As text the node is its path.
class OMFileSystem final : public ReadOnlyMap
{
public:
	static constexpr size_t MAX_CONTENTS = size_t{256} * 1024 * 1024;

	// What the path says about links on the way is followed, at the path's end as well.
	static std::shared_ptr<OMFileSystem> factory(std::string path);
	// An entry of a folder.
	static std::shared_ptr<OMFileSystem> entryFactory(std::string path);

	using ReadOnlyMap::getOMNode;
	using ReadOnlyMap::getType;
	std::shared_ptr<IOMNode> getOMNode(const std::string &attribute) override;
	bool hasAttribute(const std::string &attribute) const override;
	// Without a look at the disk.
	OMType getType(const std::string &attribute) const override;
	// What walks meet.
	std::vector<std::string> getAttributeList() const override;
	std::shared_ptr<IOMNodeIterator> getNodeIterator() override;
	size_t getSize() const override { return getOfferedAttributes().size(); }

	bool appendAsString(std::string &text, NodeWalk &walk) const override;
	bool appendToString(std::string &text, NodeWalk &walk) const override;

	const std::string &getPath() const { return fPath; }

private:
	enum class Attribute : uint8_t
	{
		NAME,
		PATH,
		IS_DIR,
		IS_FILE,
		IS_PIPE,
		FILE_SIZE,
		CONTENTS,
		FILE_LIST,
		NONE,
	};
	static constexpr size_t ATTRIBUTE_COUNT = static_cast<size_t>(Attribute::NONE);
	struct Description
	{
		const char *name;
		OMType type;
	};
	static const std::array<Description, ATTRIBUTE_COUNT> DESCRIPTIONS;
	static Attribute findAttribute(const std::string &name);

	enum class Origin : uint8_t
	{
		PATH,  // somebody's text
		ENTRY, // of a folder
	};
	OMFileSystem(std::string path, Origin origin) : fPath(std::move(path)), fOrigin(origin) {}

	std::vector<std::string> getOfferedAttributes() const;
	std::shared_ptr<IOMNode> makeAttribute(Attribute attribute) const;
	std::shared_ptr<IOMNode> makeFileList() const;
	std::string readContents() const;

	std::string fPath;
	Origin fOrigin;
	std::array<std::shared_ptr<IOMNode>, ATTRIBUTE_COUNT> fAttributes; // as far as they were asked for
};
}
