#include "MrvParser/Reference/MrvMatchNode.h"

#include "MrvLogger/MrvChecks.h"

namespace Mrv
{
MatchNode::~MatchNode() = default;

bool MatchNode::setParent(const std::shared_ptr<MatchNode> &parent, const std::shared_ptr<MatchNode> &thisNode)
{
	SANITY_CHECK(thisNode, return false);
	thisNode->fParent = parent;
	thisNode->fDepth = parent ? parent->fDepth + 1 : 0;
	if (parent)
	{
		parent->fNext = thisNode;
	}
	return true;
}
}
