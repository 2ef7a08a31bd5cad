// The stored node. Its yielding operations stand with the language (MrvOMStoredAccess.cpp), since they may run code.
#include "MrvParser/Node/MrvOMStored.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeWalk.h"
#include "MrvParser/Node/MrvOMStoredNodeIterator.h"
#include "MrvTask/MrvNestingGuard.h"

namespace Mrv
{
namespace
{
// The children of a container with their keys, each as a place.
template <class Function>
bool forEachChild(const Value &value, Function function)
{
	if (value.isArray())
	{
		std::vector<Value> &items = value.array()->fItems;
		for (size_t index = 0; index < items.size(); ++index)
		{
			if (!function(items[index], std::to_string(index)))
			{
				return false;
			}
		}
	}
	else if (value.isMap())
	{
		std::vector<MapContainer::Entry> &entries = value.map()->entries();
		for (size_t position = 0; position < entries.size(); ++position)
		{
			if (!entries[position].isErased() && !function(entries[position].value, std::string(entries[position].name.view())))
			{
				return false;
			}
		}
	}
	return true;
}

bool isValueResolved(const Value &value, ScriptPhase phase, NodeWalk &walk)
{
	if (!walk.visit())
	{
		return false;
	}
	if (value.isReturned())
	{
		return phase == ScriptPhase::RUN;
	}
	if (value.isArray() || value.isMap())
	{
		const HeapObject *container = value.isArray() ? static_cast<const HeapObject *>(value.array()) : value.map();
		if (walk.isOnPath(container))
		{
			return true; // being judged already
		}
		NodeWalk::Step step(walk, container);
		return step.isEntered() && forEachChild(value, [phase, &walk](Value &place, const std::string &)
		                               { return isValueResolved(place.inPlace(), phase, walk); });
	}
	if (value.type() == OMType::Expression)
	{
		return phase == ScriptPhase::RUN && (value.isBreak() || value.expression()->getKeywordToken() >= 0 ||
		                                        value.expression()->isReturn() || value.expression()->isLValue());
	}
	return !value.isFunction() || phase == ScriptPhase::RUN;
}

OMStored *ownerOf(const Value &container)
{
	if (container.isArray())
	{
		return container.array()->fDataStructureOwner;
	}
	return container.isMap() ? container.map()->fDataStructureOwner : nullptr;
}

void setOwner(const Value &container, OMStored *owner)
{
	if (container.isArray())
	{
		container.array()->fDataStructureOwner = owner;
	}
	else if (container.isMap())
	{
		container.map()->fDataStructureOwner = owner;
	}
}
}

OMStored::~OMStored()
{
	releaseOwnership();
}

void OMStored::releaseOwnership()
{
	if (ownerOf(fValue) == this)
	{
		setOwner(fValue, nullptr);
	}
}

std::shared_ptr<OMStored> OMStored::factory(const std::vector<std::shared_ptr<IOMNode>> &nodes)
{
	auto array = arrayFactory();
	for (const auto &node : nodes)
	{
		array->push(node);
	}
	return array;
}

std::shared_ptr<OMStored> OMStored::cloneFactory(const IOMNode &node, size_t cloneNestLevel)
{
	auto copy = undefinedFactory();
	copy->setTo(std::const_pointer_cast<IOMNode>(node.shared_from_this()), cloneNestLevel);
	return copy;
}

std::shared_ptr<OMStored> OMStored::rewrapFactory(const std::shared_ptr<IOMNode> &node)
{
	const auto stored = node->getOMStoredPtr();
	return stored ? stored : factory(*node);
}

std::shared_ptr<OMStored> OMStored::getOMStoredPtr()
{
	return std::static_pointer_cast<OMStored>(shared_from_this());
}

// --- Children

std::shared_ptr<IOMNode> OMStored::getOMNode(const std::string &attribute)
{
	if (fValue.isMap())
	{
		const size_t position = fValue.map()->find(attribute);
		return position == MapContainer::NOT_FOUND ? nullptr : fValue.map()->nodeAt(position);
	}
	size_t index = 0;
	return fValue.isArray() && parseIndex(attribute, index) ? getOMNode(index) : nullptr;
}

std::shared_ptr<IOMNode> OMStored::getOMNode(size_t index)
{
	if (fValue.isArray())
	{
		return index < fValue.array()->size() ? fValue.array()->nodeAt(index) : nullptr;
	}
	return fValue.isMap() ? getOMNode(std::to_string(index)) : nullptr;
}

bool OMStored::hasAttribute(const std::string &attribute) const
{
	return fValue.isMap() && fValue.map()->find(attribute) != MapContainer::NOT_FOUND;
}

bool OMStored::hasIndex(size_t index) const
{
	return fValue.isArray() && index < fValue.array()->size();
}

bool OMStored::eraseAttribute(const std::string &attribute)
{
	if (!fValue.isMap())
	{
		return false;
	}
	const Name name(attribute);
	if (Value *place = fValue.map()->get(name))
	{
		unlinkChild(ownerOf(fValue), *place);
	}
	return fValue.map()->erase(name);
}

bool OMStored::eraseIndex(size_t index)
{
	if (!fValue.isArray())
	{
		return false;
	}
	std::vector<Value> &items = fValue.array()->fItems;
	if (index >= items.size())
	{
		return true;
	}
	OMStored *owner = ownerOf(fValue);
	unlinkChild(owner, items[index]);
	items.erase(items.begin() + static_cast<std::ptrdiff_t>(index));
	for (size_t behind = index; owner && behind < items.size(); ++behind)
	{
		linkChild(*owner, items[behind], std::to_string(behind));
	}
	return true;
}

std::vector<std::string> OMStored::getAttributeList() const
{
	std::vector<std::string> keys;
	if (fValue.isMap())
	{
		for (const Name &name : fValue.map()->sortedNames())
		{
			keys.emplace_back(name.view());
		}
	}
	return keys;
}

std::shared_ptr<IOMNodeIterator> OMStored::getNodeIterator()
{
	return std::make_shared<OMStoredNodeIterator>(std::static_pointer_cast<OMStored>(shared_from_this()));
}

size_t OMStored::getSize() const
{
	if (fValue.isArray())
	{
		return fValue.array()->size();
	}
	return fValue.isMap() ? fValue.map()->size() : 0;
}

OMType OMStored::getType(const std::string &attribute) const
{
	if (fValue.isMap())
	{
		const Value *place = fValue.map()->get(attribute);
		return place ? place->type() : OMType::Undefined;
	}
	size_t index = 0;
	return parseIndex(attribute, index) ? getType(index) : OMType::Undefined;
}

OMType OMStored::getType(size_t index) const
{
	if (fValue.isMap())
	{
		return getType(std::to_string(index));
	}
	return hasIndex(index) ? fValue.array()->fItems[index].type() : OMType::Undefined;
}

bool OMStored::push(const std::shared_ptr<IOMNode> &omNode)
{
	if (!fValue.isArray() || !omNode)
	{
		return false;
	}
	ArrayContainer &array = *fValue.array();
	array.fItems.push_back(Value::cell(omNode));
	OMStored *owner = array.fDataStructureOwner;
	return !owner || linkChild(*owner, array.fItems.back(), std::to_string(array.size() - 1));
}

std::shared_ptr<IOMNode> OMStored::pop()
{
	if (!fValue.isArray() || fValue.array()->fItems.empty())
	{
		return nullptr;
	}
	ArrayContainer &array = *fValue.array();
	unlinkChild(array.fDataStructureOwner, array.fItems.back());
	auto node = array.fItems.back().toNode();
	array.fItems.pop_back();
	return node;
}

// --- Typed getters

std::string OMStored::getAsIdentifier() const
{
	return fValue.type() == OMType::Expression && !fValue.isLeaving() ? fValue.expression()->getIdentifier() : std::string();
}

bool OMStored::getBool() const
{
	return fValue.type() == OMType::Bool && fValue.boolPayload();
}

int64_t OMStored::getDate() const
{
	return fValue.type() == OMType::Date ? fValue.intPayload() : 0;
}

OMFloat OMStored::getFloat() const
{
	return fValue.type() == OMType::Float ? fValue.floatPayload() : 0.0;
}

OMInt OMStored::getInt() const
{
	return fValue.type() == OMType::Int ? fValue.intPayload() : 0;
}

GUIDClass *OMStored::getGUID() const
{
	return fValue.type() == OMType::GUID ? fValue.guidPayload() : nullptr;
}

std::string OMStored::getString() const
{
	return fValue.type() == OMType::String ? std::string(fValue.text()) : std::string();
}

Ref<IExpression> OMStored::getExpression() const
{
	if (fValue.isFunction())
	{
		return Ref<IExpression>(fValue.function()->fBody.expression());
	}
	return fValue.isExpression() ? Ref<IExpression>(fValue.expression()) : Ref<IExpression>();
}

Ref<FunctionSignature> OMStored::getFunctionSignature() const
{
	return fValue.isFunction() ? fValue.function()->fSignature : Ref<FunctionSignature>();
}

std::string OMStored::getFunctionName() const
{
	return fValue.isFunction() ? fValue.function()->fSignature->getFunctionName() : std::string();
}

// --- Kinds

bool OMStored::isKeywordExpression() const
{
	return fValue.isBreak() || (fValue.isExpression() && fValue.expression()->getKeywordToken() >= 0);
}

bool OMStored::isLValue() const
{
	return fValue.isExpression() && fValue.expression()->isLValue();
}

bool OMStored::isResolved(ScriptPhase phase) const
{
	NodeWalk walk("isResolved");
	return isValueResolved(fValue, phase, walk);
}

bool OMStored::isWrappedReturnValue() const
{
	return fValue.isReturned() || (fValue.isExpression() && fValue.expression()->isReturn());
}

std::shared_ptr<IOMNode> OMStored::unwrapReturnValue()
{
	Value value = fValue;
	value.setReturned(false);
	while (value.isExpression() && value.expression()->isReturn())
	{
		value = Value(*value.expression()->getReturnOperand());
	}
	return isWrappedReturnValue() ? valueFactory(std::move(value)) : shared_from_this();
}

// --- Change

bool OMStored::setValue(Value value)
{
	releaseOwnership();
	fValue = std::move(value);
	return !fIsDataStructure || linkChildren(true);
}

bool OMStored::set(const std::shared_ptr<IOMNode> &omNode)
{
	if (omNode.get() == this)
	{
		return true;
	}
	return omNode ? setTo(omNode, 0) : setUndefined();
}

bool OMStored::set(Ref<FunctionSignature> signature, const Ref<IExpression> &expression)
{
	SANITY_CHECK(signature, return false);
	SANITY_CHECK(expression, return false);
	return setValue(Value::function(makeRef<FunctionObject>(std::move(signature), Value::expression(expression))));
}

bool OMStored::setTo(const std::shared_ptr<IOMNode> &fromOMNode, size_t cloneNestLevel)
{
	SANITY_CHECK_AS(this != fromOMNode.get(), "this != fromOMNode.get()", return false);
	if (fIsDataStructure && fDataStructureParent.lock())
	{
		// A child of a data structure keeps its mark and its place; a container becomes its own.
		return setValue(cloneValue(fromOMNode->getPlainValue(), ALL_LEVELS));
	}
	const bool sharesContainer = cloneNestLevel == 0 && (fromOMNode->getType() == OMType::Array || fromOMNode->getType() == OMType::Map);
	releaseOwnership();
	fValue = cloneValue(fromOMNode->getPlainValue(), cloneNestLevel);
	fIsDataStructure = fromOMNode->isDataStructure() && !sharesContainer;
	return !fIsDataStructure || linkChildren(true);
}

bool OMStored::setPermissions(const std::string &attribute, uint8_t permissions)
{
	if (!fValue.isMap())
	{
		return false;
	}
	fValue.map()->setPermissions(attribute, permissions);
	return true;
}

bool OMStored::storeIn(const Value &container, const Name &name, Value value)
{
	MapContainer &map = *container.map();
	if (!map.isWritable(name.view()))
	{
		LOG_ERROR("not permitted - need PERMISSION_WRITE");
		return false;
	}
	OMStored *owner = map.fDataStructureOwner;
	Value &place = map.getOrCreate(name);
	if (!owner)
	{
		place = std::move(value);
		return true;
	}
	unlinkChild(owner, place);
	place = std::move(value);
	return linkChild(*owner, place, std::string(name.view()));
}

bool OMStored::storeIn(const Value &container, size_t index, Value value)
{
	ArrayContainer &array = *container.array();
	const size_t oldSize = array.size();
	if (!array.growTo(index))
	{
		LOG_ERROR("array index too far beyond the end");
		return false;
	}
	OMStored *owner = array.fDataStructureOwner;
	if (!owner)
	{
		array.fItems[index] = std::move(value);
		return true;
	}
	for (size_t fill = oldSize; fill < index; ++fill)
	{
		linkChild(*owner, array.fItems[fill], std::to_string(fill));
	}
	unlinkChild(owner, array.fItems[index]);
	array.fItems[index] = std::move(value);
	return linkChild(*owner, array.fItems[index], std::to_string(index));
}

// --- Data structures

bool OMStored::linkChildren(bool isDataStructure)
{
	const NestingGuard guard;
	if (guard.isExceeded())
	{
		if (isDataStructure) // not a second time when this is taken back
		{
			NestingGuard::report("data structure");
		}
		return false;
	}
	if (isDataStructure)
	{
		if (isInsideItself())
		{
			LOG_ERROR("data structure: a container holds itself");
			return false;
		}
		setOwner(fValue, this);
		return forEachChild(fValue, [this](Value &place, const std::string &key) { return linkChild(*this, place, key); });
	}
	releaseOwnership();
	return forEachChild(fValue,
	    [this](Value &place, const std::string &)
	    {
		    if (place.isCell() && place.node()->getDataStructureParent().get() == this)
		    {
			    return place.node()->setIsDataStructure(false);
		    }
		    return true;
	    });
}

// Whether a node above this one in the data structure holds the same container.
bool OMStored::isInsideItself() const
{
	const OMStored *owner = ownerOf(fValue);
	if (!owner || owner == this)
	{
		return false; // no data structure above holds it
	}
	for (auto parent = getDataStructureParent(); parent; parent = parent->getDataStructureParent())
	{
		const auto stored = parent->getOMStoredPtr();
		if (stored && stored->fValue.hasSameBits(fValue))
		{
			return true;
		}
	}
	return false;
}

bool OMStored::linkChild(OMStored &owner, Value &place, const std::string &key)
{
	if (!place.isCell() && !place.isNode())
	{
		place = Value::cell(place.toNode());
	}
	auto child = place.node();
	const auto parent = child->getDataStructureParent();
	if (parent && parent.get() != &owner)
	{
		child = child->clone(ALL_LEVELS); // a node never has two parents
		place = Value::cell(child);
	}
	return child->setDataStructureParent(owner.self(), key);
}

void OMStored::unlinkChild(const OMStored *owner, Value &place)
{
	if (owner && place.isCell() && place.node()->getDataStructureParent().get() == owner)
	{
		place.node()->setIsDataStructure(false);
	}
}
}
