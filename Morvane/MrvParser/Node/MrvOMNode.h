#pragma once

#include "MrvParser/Node/MrvIOMNode.h"

namespace Mrv
{
// What all nodes share: the link to a parent inside a data structure, and the algorithms that work on any node through the
// virtual getters. By itself it is a node that holds nothing and can't be changed.
class OMNode : public IOMNode
{
public:
	void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeReadOnlyUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeReadOnlyUnresolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void set_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void set_yielding(const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void setAndAccess_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void setAndAccess_yielding(const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void setAndAccess_yielding(const std::shared_ptr<Task> &task, bool &success, std::shared_ptr<IOMNode> &omNode) override;
	void eval_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, const std::shared_ptr<OMScope> &scope,
	    HandleReturnValue handleReturnValue) override;

	std::shared_ptr<IOMNode> getOMNode(const std::string &) override { return nullptr; }
	std::shared_ptr<IOMNode> getOMNode(size_t) override { return nullptr; }
	bool hasAttribute(const std::string &) const override { return false; }
	bool hasIndex(size_t) const override { return false; }
	bool eraseAttribute(const std::string &) override { return false; }
	bool eraseIndex(size_t) override { return false; }
	std::vector<std::string> getAttributeList() const override { return {}; }
	std::shared_ptr<IOMNodeIterator> getNodeIterator() override;
	size_t getSize() const override { return 0; }
	OMType getType() const override { return OMType::Undefined; }
	OMType getType(const std::string &) const override { return OMType::Undefined; }
	OMType getType(size_t) const override { return OMType::Undefined; }
	bool push(const std::shared_ptr<IOMNode> &omNode) override;
	std::shared_ptr<IOMNode> pop() override;

	bool getAsBool() const override;
	double getAsNum() const override;
	int64_t getAsBits() const override;
	std::string getAsString() const override;
	std::string getAsIdentifier() const override { return {}; }
	std::string toString() const override;
	bool appendAsString(std::string &text, NodeWalk &walk) const override;
	bool appendToString(std::string &text, NodeWalk &walk) const override;
	uint64_t hash() const override;
	uint64_t hash(NodeWalk &walk) const override;
	Value getPlainValue() const override;

	bool getBool() const override { return false; }
	int64_t getDate() const override { return 0; }
	OMFloat getFloat() const override { return 0.0; }
	OMInt getInt() const override { return 0; }
	GUIDClass *getGUID() const override { return nullptr; }
	std::string getString() const override { return {}; }
	Ref<IExpression> getExpression() const override { return {}; }
	Ref<FunctionSignature> getFunctionSignature() const override;
	std::string getFunctionName() const override { return {}; }

	bool isKeywordExpression() const override { return false; }
	bool isLValue() const override { return false; }
	bool isResolved(ScriptPhase) const override { return true; }
	bool isScalar() const override;
	bool isWrappedReturnValue() const override { return false; }
	std::shared_ptr<OMStored> getOMStoredPtr() override { return nullptr; }

	bool isDataStructure() const override { return fIsDataStructure; }
	bool setIsDataStructure(bool isDataStructure) override;
	std::shared_ptr<IOMNode> getDataStructureParent() const override { return fDataStructureParent.lock(); }
	std::string getDataStructureKey() const override { return fDataStructureKey; }
	int64_t getDataStructureIdx() const override;
	std::string getDataStructurePath() const override;
	bool setDataStructureParent(const std::shared_ptr<IOMNode> &parent, const std::string &key) override;

	bool clearNode() override;
	bool set(const std::shared_ptr<IOMNode> &) override { return false; }
	bool set(const char *) override { return false; }
	bool set(const std::string &) override { return false; }
	bool set(OMInt) override { return false; }
	bool set(OMFloat) override { return false; }
	bool set(bool) override { return false; }
	bool set(const Ref<ArrayContainer> &) override { return false; }
	bool set(const Ref<MapContainer> &) override { return false; }
	bool set(const Ref<IExpression> &) override { return false; }
	bool set(Ref<FunctionSignature>, const Ref<IExpression> &) override;
	bool setValue(Value) override { return false; }
	bool setDate(int64_t) override { return false; }
	bool setNum(double) override { return false; }
	bool setEmptyArray() override { return false; }
	bool setEmptyMap() override { return false; }
	bool setError() override { return false; }
	bool setNaN() override { return false; }
	bool setNull() override { return false; }
	bool setUndefined() override { return false; }
	bool setTo(const std::shared_ptr<IOMNode> &, size_t) override { return false; }
	std::shared_ptr<IOMNode> clone(size_t cloneNestLevel) const override;

	std::shared_ptr<IOMNode> wrapReturnValue() override;
	std::shared_ptr<IOMNode> unwrapReturnValue() override { return shared_from_this(); }

	bool cmpOp_EQ(const IOMNode &other) const override { return compareAs(BinOp::EQ, other); }
	bool cmpOp_NE(const IOMNode &other) const override { return compareAs(BinOp::NE, other); }
	bool cmpOp_LT(const IOMNode &other) const override { return compareAs(BinOp::LT, other); }
	bool cmpOp_GT(const IOMNode &other) const override { return compareAs(BinOp::GT, other); }

	// Operators on nodes. Null when the operator can't act on these operands.
	static std::shared_ptr<IOMNode> binaryOperation(BinOp binOp, const IOMNode &node1, const IOMNode &node2);
	static std::shared_ptr<IOMNode> unaryOperation(UnOp unOp, const IOMNode &node);
	static std::shared_ptr<IOMNode> ternaryOperation(
	    TernOp ternOp, const std::shared_ptr<IOMNode> &node1, const std::shared_ptr<IOMNode> &node2, const std::shared_ptr<IOMNode> &node3);

protected:
	OMNode() = default;
	virtual bool linkChildren(bool isDataStructure);
	bool compareAs(BinOp binOp, const IOMNode &other) const;
	std::shared_ptr<IOMNode> self() const { return std::const_pointer_cast<IOMNode>(shared_from_this()); }

	bool fIsDataStructure = false;
	std::string fDataStructureKey;
	std::weak_ptr<IOMNode> fDataStructureParent;
};
}
