#include "MrvParser/Node/MrvOMNode.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvIOMNodeIterator.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Node/MrvOMStored.h"
#include "MrvParser/Node/MrvOperations.h"
#include "MrvUtils/MrvUtils.h"

#include <limits>

namespace Mrv
{
// --- Children: there are none

void OMNode::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, AccessType accessType, const std::string &, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	omNode = accessType == AccessType::GET_CREATE ? OMStored::errorFactory() : nullptr;
}

void OMNode::accessOMNodeResolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, AccessType accessType, size_t, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	omNode = accessType == AccessType::GET_CREATE ? OMStored::errorFactory() : nullptr;
}

void OMNode::accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	accessOMNodeResolved_yielding(task, success, scope, arguments, accessType, attribute, omNode);
}

void OMNode::accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	accessOMNodeResolved_yielding(task, success, scope, arguments, accessType, index, omNode);
}

void OMNode::accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	omNode = getOMNode(attribute);
}

void OMNode::accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	omNode = getOMNode(index);
}

void OMNode::accessOMNodeReadOnlyUnresolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	omNode = getOMNode(attribute);
}

void OMNode::accessOMNodeReadOnlyUnresolved_yielding(const std::shared_ptr<Task> &, bool &success, const std::shared_ptr<OMScope> &,
    const ArgumentList &, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	success = true;
	omNode = getOMNode(index);
}

void OMNode::set_yielding(const std::shared_ptr<Task> &, bool &success, const std::string &, std::shared_ptr<IOMNode> &)
{
	success = false;
}

void OMNode::set_yielding(const std::shared_ptr<Task> &, bool &success, size_t, std::shared_ptr<IOMNode> &)
{
	success = false;
}

void OMNode::setAndAccess_yielding(
    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode)
{
	set_yielding(task, success, attribute, omNode);
}

void OMNode::setAndAccess_yielding(const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode)
{
	set_yielding(task, success, index, omNode);
}

void OMNode::setAndAccess_yielding(const std::shared_ptr<Task> &, bool &success, std::shared_ptr<IOMNode> &omNode)
{
	success = set(omNode);
	omNode = success ? shared_from_this() : nullptr;
}

void OMNode::eval_yielding(
    const std::shared_ptr<Task> &, std::shared_ptr<IOMNode> &result, const std::shared_ptr<OMScope> &, HandleReturnValue)
{
	result = shared_from_this();
}

std::shared_ptr<IOMNodeIterator> OMNode::getNodeIterator()
{
	return nullptr;
}

bool OMNode::push(const std::shared_ptr<IOMNode> &)
{
	LOG_ERROR("unimplemented push()");
	return false;
}

std::shared_ptr<IOMNode> OMNode::pop()
{
	LOG_ERROR("unimplemented pop()");
	return nullptr;
}

// --- Conversions: of what the node is worth as a value; of itself where it is no value, by its type

bool OMNode::getAsBool() const
{
	const Value value = getPlainValue();
	return value.isNode() ? getType() == OMType::Map || getType() == OMType::Array : Mrv::getAsBool(value);
}

double OMNode::getAsNum() const
{
	const Value value = getPlainValue();
	return value.isNode() ? std::numeric_limits<double>::quiet_NaN() : Mrv::getAsNum(value);
}

int64_t OMNode::getAsBits() const
{
	const Value value = getPlainValue();
	return value.isNode() ? -1 : Mrv::getAsBits(value);
}

std::string OMNode::getAsString() const
{
	std::string text;
	NodeWalk walk("getAsString");
	return appendAsString(text, walk) ? text : "error";
}

std::string OMNode::toString() const
{
	std::string text;
	NodeWalk walk("toString");
	return appendToString(text, walk) ? text : "error";
}

bool OMNode::appendAsString(std::string &text, NodeWalk &walk) const
{
	const Value value = getPlainValue();
	if (!value.isNode())
	{
		return Mrv::appendAsString(text, value, walk);
	}
	text += "undefined";
	return true;
}

bool OMNode::appendToString(std::string &text, NodeWalk &walk) const
{
	const Value value = getPlainValue();
	if (!value.isNode())
	{
		return Mrv::appendToString(text, value, walk);
	}
	text += "undefined";
	return true;
}

uint64_t OMNode::hash() const
{
	NodeWalk walk("hash");
	return hash(walk);
}

uint64_t OMNode::hash(NodeWalk &walk) const
{
	const Value value = getPlainValue();
	return value.isNode() ? computeHash(Value(), walk) : computeHash(value, walk);
}

Value OMNode::getPlainValue() const
{
	return Value::fromNode(self());
}

Ref<FunctionSignature> OMNode::getFunctionSignature() const
{
	return {};
}

bool OMNode::isScalar() const
{
	const OMType type = getType();
	return type != OMType::Array && type != OMType::Map && type != OMType::Expression && type != OMType::Function;
}

// --- Data structures

bool OMNode::setIsDataStructure(bool isDataStructure)
{
	fIsDataStructure = isDataStructure;
	if (!isDataStructure)
	{
		fDataStructureParent.reset();
		fDataStructureKey.clear();
	}
	if (linkChildren(isDataStructure))
	{
		return true;
	}
	if (isDataStructure)
	{
		setIsDataStructure(false);
	}
	return false;
}

bool OMNode::linkChildren(bool)
{
	return true;
}

int64_t OMNode::getDataStructureIdx() const
{
	if (fDataStructureKey.empty())
	{
		return -1;
	}
	SANITY_CHECK(Utils::isNumeric(fDataStructureKey), return -1);
	int64_t index = -1;
	return Utils::toInt64(fDataStructureKey, index) ? index : -1;
}

std::string OMNode::getDataStructurePath() const
{
	std::string path = fDataStructureKey;
	for (auto parent = getDataStructureParent(); parent; parent = parent->getDataStructureParent())
	{
		const std::string key = parent->getDataStructureKey();
		if (!key.empty())
		{
			path.insert(0, key + "/");
		}
	}
	return path;
}

bool OMNode::setDataStructureParent(const std::shared_ptr<IOMNode> &parent, const std::string &key)
{
	if (!parent)
	{
		return setIsDataStructure(false);
	}
	fDataStructureParent = parent;
	fDataStructureKey = key;
	return setIsDataStructure(true);
}

bool OMNode::clearNode()
{
	setUndefined();
	fIsDataStructure = false;
	fDataStructureKey.clear();
	fDataStructureParent.reset();
	return true;
}

bool OMNode::set(Ref<FunctionSignature>, const Ref<IExpression> &)
{
	return false;
}

std::shared_ptr<IOMNode> OMNode::clone(size_t cloneNestLevel) const
{
	return OMStored::cloneFactory(*this, cloneNestLevel);
}

std::shared_ptr<IOMNode> OMNode::wrapReturnValue()
{
	Value value = Value::fromNode(shared_from_this());
	value.setReturned(true);
	return value.toNode();
}

// --- Operators

bool OMNode::compareAs(BinOp binOp, const IOMNode &other) const
{
	const auto result = binaryOperation(binOp, *this, other);
	return result && result->getBool();
}

std::shared_ptr<IOMNode> OMNode::binaryOperation(BinOp binOp, const IOMNode &node1, const IOMNode &node2)
{
	bool isOk = false;
	Value result = Mrv::binaryOperation(binOp, node1.getPlainValue(), node2.getPlainValue(), isOk);
	return isOk ? result.toNode() : nullptr;
}

std::shared_ptr<IOMNode> OMNode::unaryOperation(UnOp unOp, const IOMNode &node)
{
	bool isOk = false;
	Value result = Mrv::unaryOperation(unOp, node.getPlainValue(), isOk);
	return isOk ? result.toNode() : nullptr;
}

std::shared_ptr<IOMNode> OMNode::ternaryOperation(
    TernOp ternOp, const std::shared_ptr<IOMNode> &node1, const std::shared_ptr<IOMNode> &node2, const std::shared_ptr<IOMNode> &node3)
{
	SANITY_CHECK(node1, return nullptr);
	SANITY_CHECK(node2, return nullptr);
	SANITY_CHECK(node3, return nullptr);
	if (ternOp != TernOp::CONDITIONAL && ternOp != TernOp::IF_ELSE)
	{
		LOG_ERROR("unexpected ternary operation");
		return nullptr;
	}
	return node1->getAsBool() ? node2 : node3;
}
}
