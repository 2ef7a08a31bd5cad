#include "MrvParser/FileSystem/MrvOMFileList.h"

#include "MrvParser/FileSystem/MrvOMFileSystem.h"
#include "MrvParser/FileSystem/MrvOMFileSystemIterator.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvPlatform/MrvFileSystem.h"

#include <algorithm>

namespace Mrv
{
OMFileList::OMFileList(std::string pathPrefix, std::vector<std::string> names)
    : fPathPrefix(std::move(pathPrefix)),
      fNames(std::move(names)),
      fEntries(fNames.size())
{
}

std::shared_ptr<OMFileList> OMFileList::factory(const std::string &folderPath, std::vector<std::string> names)
{
	std::string prefix = folderPath;
	if (!prefix.ends_with(Platform::pathSeparator()))
	{
		prefix += Platform::pathSeparator();
	}
	return std::shared_ptr<OMFileList>(new OMFileList(std::move(prefix), std::move(names)));
}

// The position of a name, behind the end if there is none.
size_t OMFileList::find(const std::string &name) const
{
	const auto found = std::lower_bound(fNames.begin(), fNames.end(), name);
	return found != fNames.end() && *found == name ? static_cast<size_t>(found - fNames.begin()) : fNames.size();
}

std::shared_ptr<IOMNode> OMFileList::getOMNode(const std::string &attribute)
{
	const size_t position = find(attribute);
	if (position == fNames.size())
	{
		return nullptr;
	}
	if (!fEntries[position])
	{
		fEntries[position] = OMFileSystem::entryFactory(fPathPrefix + attribute);
	}
	return fEntries[position];
}

bool OMFileList::hasAttribute(const std::string &attribute) const
{
	return find(attribute) != fNames.size();
}

OMType OMFileList::getType(const std::string &attribute) const
{
	return hasAttribute(attribute) ? OMType::Map : OMType::Undefined;
}

std::shared_ptr<IOMNodeIterator> OMFileList::getNodeIterator()
{
	return std::make_shared<OMFileSystemIterator>(shared_from_this(), fNames);
}

bool OMFileList::appendAsString(std::string &text, NodeWalk &walk) const
{
	return appendToString(text, walk);
}

bool OMFileList::appendToString(std::string &text, NodeWalk &walk) const
{
	const char *separator = "[";
	for (const std::string &name : fNames)
	{
		text += separator;
		separator = ", ";
		if (!walk.visit() || !Mrv::appendToString(text, Value::string(std::string_view(name)), walk))
		{
			return false;
		}
	}
	text += fNames.empty() ? "[]" : "]";
	return true;
}
}
