#include "MrvParser/FileSystem/MrvOMFileSystemIterator.h"

#include "MrvParser/Node/MrvIOMNode.h"

namespace Mrv
{
std::shared_ptr<IOMNode> OMFileSystemIterator::getValue()
{
	return isEnd() ? nullptr : fNode->getOMNode(fNames[fPosition]);
}
}
