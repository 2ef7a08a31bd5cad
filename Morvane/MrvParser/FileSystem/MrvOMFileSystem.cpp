#include "MrvParser/FileSystem/MrvOMFileSystem.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/FileSystem/MrvOMFileList.h"
#include "MrvParser/FileSystem/MrvOMFileSystemIterator.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvPlatform/MrvFileSystem.h"
#include "MrvUtils/MrvDirs.h"

#include <algorithm>

namespace Mrv
{
const std::array<OMFileSystem::Description, OMFileSystem::ATTRIBUTE_COUNT> OMFileSystem::DESCRIPTIONS{{
    {"name", OMType::String},
    {"path", OMType::String},
    {"isDir", OMType::Bool},
    {"isFile", OMType::Bool},
    {"isPipe", OMType::Bool},
    {"fileSize", OMType::Int},
    {"contents", OMType::String},
    {"fileList", OMType::Map},
}};

namespace
{
bool isKind(const std::string &path, Platform::FileKind kind)
{
	return Platform::fileInfo(path).kind == kind;
}
}

std::shared_ptr<OMFileSystem> OMFileSystem::factory(std::string path)
{
	return std::shared_ptr<OMFileSystem>(new OMFileSystem(std::move(path), Origin::PATH));
}

std::shared_ptr<OMFileSystem> OMFileSystem::entryFactory(std::string path)
{
	return std::shared_ptr<OMFileSystem>(new OMFileSystem(std::move(path), Origin::ENTRY));
}

OMFileSystem::Attribute OMFileSystem::findAttribute(const std::string &name)
{
	const auto found = std::find_if(
	    DESCRIPTIONS.begin(), DESCRIPTIONS.end(), [&name](const Description &description) { return name == description.name; });
	return static_cast<Attribute>(found - DESCRIPTIONS.begin());
}

std::shared_ptr<IOMNode> OMFileSystem::getOMNode(const std::string &attribute)
{
	const Attribute found = findAttribute(attribute);
	if (found == Attribute::NONE)
	{
		return nullptr;
	}
	std::shared_ptr<IOMNode> &kept = fAttributes[static_cast<size_t>(found)];
	if (!kept)
	{
		kept = makeAttribute(found);
	}
	return kept;
}

bool OMFileSystem::hasAttribute(const std::string &attribute) const
{
	return findAttribute(attribute) != Attribute::NONE;
}

OMType OMFileSystem::getType(const std::string &attribute) const
{
	const Attribute found = findAttribute(attribute);
	return found == Attribute::NONE ? OMType::Undefined : DESCRIPTIONS[static_cast<size_t>(found)].type;
}

std::vector<std::string> OMFileSystem::getOfferedAttributes() const
{
	std::vector<std::string> names{"name", "path", "isDir", "isFile", "isPipe"};
	const Platform::FileKind kind = Platform::fileInfo(fPath).kind;
	if (kind == Platform::FileKind::DIRECTORY)
	{
		names.emplace_back("fileList");
	}
	else if (kind == Platform::FileKind::FILE)
	{
		names.emplace_back("fileSize");
		names.emplace_back("contents");
	}
	return names;
}

std::vector<std::string> OMFileSystem::getAttributeList() const
{
	std::vector<std::string> names = getOfferedAttributes();
	std::sort(names.begin(), names.end());
	return names;
}

std::shared_ptr<IOMNodeIterator> OMFileSystem::getNodeIterator()
{
	return std::make_shared<OMFileSystemIterator>(shared_from_this(), getOfferedAttributes());
}

std::shared_ptr<IOMNode> OMFileSystem::makeAttribute(Attribute attribute) const
{
	switch (attribute)
	{
		case Attribute::NAME:
			return OMStored::factory(Dirs::getPathSegmentFromRight(fPath, 0));
		case Attribute::PATH:
			return OMStored::factory(fPath);
		case Attribute::IS_DIR:
			return OMStored::factory(Dirs::dirExists(fPath));
		case Attribute::IS_FILE:
			return OMStored::factory(Dirs::fileExists(fPath));
		case Attribute::IS_PIPE:
			return OMStored::factory(isKind(fPath, Platform::FileKind::PIPE));
		case Attribute::FILE_SIZE:
			return OMStored::factory(OMInt{Platform::fileInfo(fPath).size});
		case Attribute::CONTENTS:
			return OMStored::factory(readContents());
		case Attribute::FILE_LIST:
			return makeFileList();
		case Attribute::NONE:
			break;
	}
	return nullptr;
}

std::shared_ptr<IOMNode> OMFileSystem::makeFileList() const
{
	std::vector<std::string> names;
	const bool isLinkInWalk = fOrigin == Origin::ENTRY && Platform::isLink(fPath);
	if (!isLinkInWalk && Dirs::dirExists(fPath))
	{
		names = Dirs::scanDir(fPath);
	}
	return OMFileList::factory(fPath, std::move(names));
}

std::string OMFileSystem::readContents() const
{
	// Reading a pipe or a device might never end.
	std::FILE *file = isKind(fPath, Platform::FileKind::FILE) ? Platform::openFile(fPath, Platform::OpenMode::READ) : nullptr;
	if (!file)
	{
		LOG_WARNING("no regular file to read: " + fPath);
		return {};
	}
	// What the system says about the size may be wrong a moment later, or for files that it makes up.
	std::string contents;
	std::array<char, 65536> block;
	size_t count = 0;
	while (contents.size() <= MAX_CONTENTS && (count = std::fread(block.data(), 1, block.size(), file)) > 0)
	{
		contents.append(block.data(), count);
	}
	const bool isRead = std::ferror(file) == 0;
	std::fclose(file);
	if (!isRead || contents.size() > MAX_CONTENTS)
	{
		LOG_WARNING((isRead ? "too large to be read: " : "can't be read: ") + fPath);
		return {};
	}
	return contents;
}

bool OMFileSystem::appendAsString(std::string &text, NodeWalk &walk) const
{
	return Mrv::appendAsString(text, Value::string(std::string_view(fPath)), walk);
}

bool OMFileSystem::appendToString(std::string &text, NodeWalk &walk) const
{
	return Mrv::appendToString(text, Value::string(std::string_view(fPath)), walk);
}
}
