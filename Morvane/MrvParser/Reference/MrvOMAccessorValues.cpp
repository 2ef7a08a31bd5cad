// Values: what is read of nodes and written into them.
#include "MrvParser/Reference/MrvOMAccessor.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvOMStored.h"

#include <utility>

namespace Mrv
{
namespace
{
// Sets a node by one of its setters. `what` is how the log line names it: omNode for a target, fOMNode for the accessor's own.
template <class Setter>
bool change(const std::shared_ptr<IOMNode> &omNode, const char *node, const char *what, Setter setter)
{
	if (omNode && setter(*omNode))
	{
		return true;
	}
	LOG_ERROR(std::string("SANITY_CHECK failed: '") + node + what + "' evaluates to false");
	return false;
}

template <class Setter>
bool changeTarget(const std::shared_ptr<IOMNode> &omNode, const char *what, Setter setter)
{
	return change(omNode, "omNode", what, setter);
}

template <class Setter>
bool changeSelf(const std::shared_ptr<IOMNode> &omNode, const char *what, Setter setter)
{
	SANITY_CHECK_AS(omNode, "fOMNode", return false);
	return change(omNode, "fOMNode", what, setter);
}
}

int64_t OMAccessor::getAsBits(size_t index) const
{
	SANITY_CHECK(fOMNode, return -1);
	return read(index, &IOMNode::getAsBits, int64_t{-1});
}

int64_t OMAccessor::getAsBits(const std::string &target) const
{
	SANITY_CHECK(fOMNode, return -1);
	return read(target, &IOMNode::getAsBits, int64_t{-1});
}

int64_t OMAccessor::getAsBits() const
{
	SANITY_CHECK(fOMNode, return -1);
	return fOMNode->getAsBits();
}

std::string OMAccessor::typeTextOf(const std::shared_ptr<IOMNode> &omNode)
{
	return omNode ? getTypeText(omNode->getPlainValue()) : "error";
}

std::string OMAccessor::stringifyNode(const std::shared_ptr<IOMNode> &omNode)
{
	return omNode ? OMStored::cloneFactory(*omNode, ALL_LEVELS)->toString() : std::string();
}

// --- Nodes as values

bool OMAccessor::set(size_t index, std::shared_ptr<IOMNode> &value)
{
	const bool isStored = makeArray() && accessOMNode(AccessType::SET, index, value);
	SANITY_CHECK_AS(isStored && value, "accessOMNode(AccessType::SET, target, omNode)", return false);
	return true;
}

bool OMAccessor::set(const std::string &target, std::shared_ptr<IOMNode> &value)
{
	const bool isStored = assignByReference(target, value);
	SANITY_CHECK_AS(isStored && value, "accessOMNode(AccessType::SET, target, omNode)", return false);
	return true;
}

bool OMAccessor::setByReference(const std::string &target, std::shared_ptr<IOMNode> omNode, const char *what)
{
	if (assignByReference(target, omNode))
	{
		return true;
	}
	LOG_ERROR(std::string("SANITY_CHECK failed: 'omNode") + what + "' evaluates to false");
	return false;
}

bool OMAccessor::set(size_t index, const std::shared_ptr<IOMNode> &value)
{
	std::shared_ptr<IOMNode> omNodePtr = OMStored::undefinedFactory();
	SANITY_CHECK(omNodePtr->set(value), return false);
	return set(index, omNodePtr);
}

bool OMAccessor::set(const std::string &target, const std::shared_ptr<IOMNode> &value)
{
	std::shared_ptr<IOMNode> omNodePtr = OMStored::undefinedFactory();
	SANITY_CHECK(omNodePtr->set(value), return false);
	return set(target, omNodePtr);
}

bool OMAccessor::set(const std::shared_ptr<IOMNode> &value)
{
	return changeSelf(fOMNode, "->set(value)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(std::shared_ptr<IOMNode> &value)
{
	return set(std::as_const(value));
}

// --- Plain values

bool OMAccessor::set(size_t index, const char *value)
{
	return changeTarget(findOrMake(index), "->set(str)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(const std::string &target, const char *value)
{
	return setByReference(target, OMStored::factory(value), "->set(str)");
}

bool OMAccessor::set(const char *value)
{
	return changeSelf(fOMNode, "->set(str)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(size_t index, const std::string &value)
{
	return changeTarget(findOrMake(index), "->set(str)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(const std::string &target, const std::string &value)
{
	return setByReference(target, OMStored::factory(value), "->set(str)");
}

bool OMAccessor::set(const std::string &value)
{
	return changeSelf(fOMNode, "->set(str)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(size_t index, double value)
{
	return changeTarget(findOrMake(index), "->set(d)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(const std::string &target, double value)
{
	return setByReference(target, OMStored::valueFactory(value != value ? Value::nan() : Value::floating(value)), "->set(d)");
}

bool OMAccessor::set(double value)
{
	return changeSelf(fOMNode, "->set(d)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(size_t index, OMInt value)
{
	return changeTarget(findOrMake(index), "->set(i)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(const std::string &target, OMInt value)
{
	return setByReference(target, OMStored::factory(value), "->set(i)");
}

bool OMAccessor::set(OMInt value)
{
	return changeSelf(fOMNode, "->set(i)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(size_t index, bool value)
{
	return changeTarget(findOrMake(index), "->set(b)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::set(const std::string &target, bool value)
{
	return setByReference(target, OMStored::factory(value), "->set(b)");
}

bool OMAccessor::set(bool value)
{
	return changeSelf(fOMNode, "->set(b)", [&](IOMNode &omNode) { return omNode.set(value); });
}

bool OMAccessor::setEmptyArray(size_t index)
{
	return changeTarget(findOrMake(index), "->setEmptyArray()", [](IOMNode &omNode) { return omNode.setEmptyArray(); });
}

bool OMAccessor::setEmptyArray(const std::string &target)
{
	return setByReference(target, OMStored::arrayFactory(), "->setEmptyArray()");
}

bool OMAccessor::setEmptyArray()
{
	return changeSelf(fOMNode, "->setEmptyArray()", [](IOMNode &omNode) { return omNode.setEmptyArray(); });
}

bool OMAccessor::setEmptyMap(size_t index)
{
	return changeTarget(findOrMake(index), "->setEmptyMap()", [](IOMNode &omNode) { return omNode.setEmptyMap(); });
}

bool OMAccessor::setEmptyMap(const std::string &target)
{
	return setByReference(target, OMStored::mapFactory(), "->setEmptyMap()");
}

bool OMAccessor::setEmptyMap()
{
	return changeSelf(fOMNode, "->setEmptyMap()", [](IOMNode &omNode) { return omNode.setEmptyMap(); });
}

bool OMAccessor::setError(size_t index)
{
	return changeTarget(findOrMake(index), "->setError()", [](IOMNode &omNode) { return omNode.setError(); });
}

bool OMAccessor::setError(const std::string &target)
{
	return setByReference(target, OMStored::errorFactory(), "->setError()");
}

bool OMAccessor::setError()
{
	return changeSelf(fOMNode, "->setError()", [](IOMNode &omNode) { return omNode.setError(); });
}

bool OMAccessor::setNaN(size_t index)
{
	return changeTarget(findOrMake(index), "->setNaN()", [](IOMNode &omNode) { return omNode.setNaN(); });
}

bool OMAccessor::setNaN(const std::string &target)
{
	return setByReference(target, OMStored::nanFactory(), "->setNaN()");
}

bool OMAccessor::setNaN()
{
	return changeSelf(fOMNode, "->setNaN()", [](IOMNode &omNode) { return omNode.setNaN(); });
}

bool OMAccessor::setNull(size_t index)
{
	return changeTarget(findOrMake(index), "->setNull()", [](IOMNode &omNode) { return omNode.setNull(); });
}

bool OMAccessor::setNull(const std::string &target)
{
	return setByReference(target, OMStored::nullFactory(), "->setNull()");
}

bool OMAccessor::setNull()
{
	return changeSelf(fOMNode, "->setNull()", [](IOMNode &omNode) { return omNode.setNull(); });
}

bool OMAccessor::setUndefined(size_t index)
{
	return changeTarget(findOrMake(index), "->setUndefined()", [](IOMNode &omNode) { return omNode.setUndefined(); });
}

bool OMAccessor::setUndefined(const std::string &target)
{
	return setByReference(target, OMStored::undefinedFactory(), "->setUndefined()");
}

bool OMAccessor::setUndefined()
{
	return changeSelf(fOMNode, "->setUndefined()", [](IOMNode &omNode) { return omNode.setUndefined(); });
}
}
