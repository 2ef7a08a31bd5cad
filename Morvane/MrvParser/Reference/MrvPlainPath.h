#pragma once

#include "MrvParser/Node/MrvIOMNode.h"

#include <memory>
#include <string>

namespace Mrv
{
// References that are nothing but names and indexes, such as `main/val1` and `list[3]/x`, on stored containers: no chain is made, no task
// runs, each segment is one look-up.
class PlainPath
{
public:
	// False when the reference or what lies on its way asks for a walk: `omNode` is unchanged then. Otherwise `omNode` is the match, null
	// when there is none or a segment doesn't fit what it meets.
	static bool find(const std::shared_ptr<IOMNode> &root, const std::string &reference, std::shared_ptr<IOMNode> &omNode);
};
}
