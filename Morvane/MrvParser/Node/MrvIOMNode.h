#pragma once

#include "MrvParser/Node/MrvArrayContainer.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvIExpression.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvNodeTypes.h"
#include "MrvParser/Node/MrvOperators.h"
#include "MrvParser/Node/MrvValue.h"

#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
class IOMNodeIterator;
class NodeWalk;
class OMScope;
class OMStored;
class Task;

// The arguments of a call as nodes.
using ArgumentList = std::shared_ptr<std::vector<std::shared_ptr<class IOMNode>>>;

// A node: what every value, parsed program, scope and tree looks like to program code. Nodes live in shared ownership only and are made
// by factories. Operations ending in `_yielding` may suspend and follow the protocol of YieldingFrame; the others never do.
//
// OMNode implements everything as a node that holds nothing and refuses to be changed; OMStored is the node that holds a value.
class IOMNode : public std::enable_shared_from_this<IOMNode>
{
public:
	virtual ~IOMNode() = default;

	// --- Children, yielding. `success` false means that the operation failed and has logged why; a child that isn't there gives a null
	// node and success true. With SET the node handed in is stored (or, if null, the present child or a new Undefined one).
	virtual void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success,
	    const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments, const std::string &attribute,
	    std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success,
	    const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments, size_t index, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeReadOnlyUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success,
	    const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments, const std::string &attribute,
	    std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void accessOMNodeReadOnlyUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success,
	    const std::shared_ptr<OMScope> &scope, const ArgumentList &arguments, size_t index, std::shared_ptr<IOMNode> &omNode) = 0;
	// Store a node as a child, by pointer. `omNode` is what is stored then.
	virtual void set_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void set_yielding(const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) = 0;
	// Store and give what is stored: in a child, or as the node's own value.
	virtual void setAndAccess_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void setAndAccess_yielding(
	    const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) = 0;
	virtual void setAndAccess_yielding(const std::shared_ptr<Task> &task, bool &success, std::shared_ptr<IOMNode> &omNode) = 0;
	// Runs what the node holds: an Expression in the scope, the children of an Array or Map each; a named Function is defined in
	// the scope. Everything else is its own value.
	virtual void eval_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, const std::shared_ptr<OMScope> &scope,
	    HandleReturnValue handleReturnValue) = 0;

	// --- Children, at once and without resolving them
	virtual std::shared_ptr<IOMNode> getOMNode(const std::string &attribute) = 0;
	virtual std::shared_ptr<IOMNode> getOMNode(size_t index) = 0;
	virtual bool hasAttribute(const std::string &attribute) const = 0;
	virtual bool hasIndex(size_t index) const = 0;
	// Erasing what isn't there succeeds; erasing from a node of the wrong type fails.
	virtual bool eraseAttribute(const std::string &attribute) = 0;
	virtual bool eraseIndex(size_t index) = 0;
	// The keys of a map in byte order.
	virtual std::vector<std::string> getAttributeList() const = 0;
	virtual std::shared_ptr<IOMNodeIterator> getNodeIterator() = 0;
	virtual size_t getSize() const = 0;
	virtual OMType getType() const = 0;
	virtual OMType getType(const std::string &attribute) const = 0;
	virtual OMType getType(size_t index) const = 0;
	// Appends a node, by pointer.
	virtual bool push(const std::shared_ptr<IOMNode> &omNode) = 0;
	// Removes the last element; null when there is none.
	virtual std::shared_ptr<IOMNode> pop() = 0;

	// --- Conversions
	virtual bool getAsBool() const = 0;
	virtual double getAsNum() const = 0;
	virtual int64_t getAsBits() const = 0;
	virtual std::string getAsString() const = 0;
	virtual std::string getAsIdentifier() const = 0;
	virtual std::string toString() const = 0;
	virtual bool appendAsString(std::string &text, NodeWalk &walk) const = 0;
	virtual bool appendToString(std::string &text, NodeWalk &walk) const = 0;
	virtual uint64_t hash() const = 0;
	virtual uint64_t hash(NodeWalk &walk) const = 0;
	// What the node is worth as a value: what it holds, or the node itself.
	virtual Value getPlainValue() const = 0;

	// --- Typed getters: they do not convert. A node of another type answers false, 0, 0.0, an empty string, null.
	virtual bool getBool() const = 0;
	virtual int64_t getDate() const = 0;
	virtual OMFloat getFloat() const = 0;
	virtual OMInt getInt() const = 0;
	virtual GUIDClass *getGUID() const = 0;
	virtual std::string getString() const = 0;
	virtual Ref<IExpression> getExpression() const = 0;
	virtual Ref<FunctionSignature> getFunctionSignature() const = 0;
	virtual std::string getFunctionName() const = 0;

	// --- Kinds
	virtual bool isKeywordExpression() const = 0;
	virtual bool isLValue() const = 0;
	virtual bool isResolved(ScriptPhase phase) const = 0;
	virtual bool isScalar() const = 0;
	virtual bool isWrappedReturnValue() const = 0;
	// This node as an OMStored, or null if it is another kind.
	virtual std::shared_ptr<OMStored> getOMStoredPtr() = 0;

	// --- Data structures: trees in which every node has one parent
	virtual bool isDataStructure() const = 0;
	// False and one log line, with nothing linked, when a container of it holds itself or the nesting limit is reached.
	virtual bool setIsDataStructure(bool isDataStructure) = 0;
	virtual std::shared_ptr<IOMNode> getDataStructureParent() const = 0;
	// The key under which the parent holds this node; for an element its index in decimal digits.
	virtual std::string getDataStructureKey() const = 0;
	// The key as a number, -1 when the node has none.
	virtual int64_t getDataStructureIdx() const = 0;
	// The keys from the root to this node, joined with "/".
	virtual std::string getDataStructurePath() const = 0;
	virtual bool setDataStructureParent(const std::shared_ptr<IOMNode> &parent, const std::string &key) = 0;

	// --- Change. All answer false on a node that can't be changed.
	virtual bool clearNode() = 0;
	// Takes the value of another node: scalars are copied, containers shared. Null makes it Undefined.
	virtual bool set(const std::shared_ptr<IOMNode> &omNode) = 0;
	virtual bool set(const char *text) = 0;
	virtual bool set(const std::string &text) = 0;
	virtual bool set(OMInt number) = 0;
	virtual bool set(OMFloat number) = 0;
	virtual bool set(bool value) = 0;
	virtual bool set(const Ref<ArrayContainer> &array) = 0;
	virtual bool set(const Ref<MapContainer> &map) = 0;
	virtual bool set(const Ref<IExpression> &expression) = 0;
	virtual bool set(Ref<FunctionSignature> signature, const Ref<IExpression> &expression) = 0;
	virtual bool setValue(Value value) = 0;
	virtual bool setDate(int64_t seconds) = 0;
	virtual bool setNum(double number) = 0;
	virtual bool setEmptyArray() = 0;
	virtual bool setEmptyMap() = 0;
	virtual bool setError() = 0;
	virtual bool setNaN() = 0;
	virtual bool setNull() = 0;
	virtual bool setUndefined() = 0;
	// Copies another node with its containers cloned down to `cloneNestLevel` levels (0 shares them, ALL_LEVELS clones everything).
	virtual bool setTo(const std::shared_ptr<IOMNode> &fromOMNode, size_t cloneNestLevel) = 0;
	virtual std::shared_ptr<IOMNode> clone(size_t cloneNestLevel) const = 0;

	// --- Return values
	// The node itself if it is wrapped already, else a new node around it.
	virtual std::shared_ptr<IOMNode> wrapReturnValue() = 0;
	// What is inside all wrappers.
	virtual std::shared_ptr<IOMNode> unwrapReturnValue() = 0;

	// --- Comparison
	virtual bool cmpOp_EQ(const IOMNode &other) const = 0;
	virtual bool cmpOp_NE(const IOMNode &other) const = 0;
	virtual bool cmpOp_LT(const IOMNode &other) const = 0;
	virtual bool cmpOp_GT(const IOMNode &other) const = 0;
};
}
