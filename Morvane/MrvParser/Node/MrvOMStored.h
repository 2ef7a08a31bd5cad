#pragma once

#include "MrvParser/Node/MrvOMNode.h"

namespace Mrv
{
class InputStream;

// The concrete node: it holds a value of any of the fourteen types.
class OMStored : public OMNode
{
public:
	OMStored() = default;
	explicit OMStored(Value value) : fValue(std::move(value)) {}
	~OMStored() override;

	static std::shared_ptr<OMStored> undefinedFactory() { return valueFactory(Value()); }
	static std::shared_ptr<OMStored> nullFactory() { return valueFactory(Value::null()); }
	static std::shared_ptr<OMStored> nanFactory() { return valueFactory(Value::nan()); }
	static std::shared_ptr<OMStored> errorFactory() { return valueFactory(Value::error()); }
	static std::shared_ptr<OMStored> arrayFactory() { return valueFactory(Value::emptyArray()); }
	static std::shared_ptr<OMStored> mapFactory() { return valueFactory(Value::emptyMap()); }
	static std::shared_ptr<OMStored> dateFactory(int64_t seconds) { return valueFactory(Value::date(seconds)); }
	static std::shared_ptr<OMStored> factory(bool value) { return valueFactory(Value::boolean(value)); }
	static std::shared_ptr<OMStored> factory(OMInt number) { return valueFactory(Value::integer(number)); }
	static std::shared_ptr<OMStored> factory(const char *text) { return valueFactory(Value::string(text)); }
	static std::shared_ptr<OMStored> factory(const std::string &text) { return valueFactory(Value::string(std::string_view(text))); }
	// NaN becomes a NaN node, an integral number an Int.
	static std::shared_ptr<OMStored> factory(double number) { return valueFactory(Value::number(number)); }
	static std::shared_ptr<OMStored> factory(const IOMNode &node) { return valueFactory(node.getPlainValue()); }
	// An array of the nodes themselves.
	static std::shared_ptr<OMStored> factory(const std::vector<std::shared_ptr<IOMNode>> &nodes);
	static std::shared_ptr<OMStored> valueFactory(Value value) { return std::make_shared<OMStored>(std::move(value)); }
	static std::shared_ptr<OMStored> cloneFactory(const IOMNode &node, size_t cloneNestLevel);
	// The same object when it is an OMStored, else a new one with its value.
	static std::shared_ptr<OMStored> rewrapFactory(const std::shared_ptr<IOMNode> &node);

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
	void set_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void set_yielding(const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) override;
	void eval_yielding(const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &result, const std::shared_ptr<OMScope> &scope,
	    HandleReturnValue handleReturnValue) override;

	std::shared_ptr<IOMNode> getOMNode(const std::string &attribute) override;
	std::shared_ptr<IOMNode> getOMNode(size_t index) override;
	bool hasAttribute(const std::string &attribute) const override;
	bool hasIndex(size_t index) const override;
	bool eraseAttribute(const std::string &attribute) override;
	bool eraseIndex(size_t index) override;
	std::vector<std::string> getAttributeList() const override;
	// Always an iterator; at its end at once where there are no children.
	std::shared_ptr<IOMNodeIterator> getNodeIterator() override;
	size_t getSize() const override;
	OMType getType() const override { return fValue.type(); }
	OMType getType(const std::string &attribute) const override;
	OMType getType(size_t index) const override;
	bool push(const std::shared_ptr<IOMNode> &omNode) override;
	std::shared_ptr<IOMNode> pop() override;

	Value getPlainValue() const override { return fValue; }
	std::string getAsIdentifier() const override;

	bool getBool() const override;
	int64_t getDate() const override;
	OMFloat getFloat() const override;
	OMInt getInt() const override;
	GUIDClass *getGUID() const override;
	std::string getString() const override;
	Ref<IExpression> getExpression() const override;
	Ref<FunctionSignature> getFunctionSignature() const override;
	std::string getFunctionName() const override;

	bool isKeywordExpression() const override;
	bool isLValue() const override;
	bool isResolved(ScriptPhase phase) const override;
	bool isWrappedReturnValue() const override;
	std::shared_ptr<OMStored> getOMStoredPtr() override;

	bool set(const std::shared_ptr<IOMNode> &omNode) override;
	bool set(const char *text) override { return setValue(Value::string(text)); }
	bool set(const std::string &text) override { return setValue(Value::string(std::string_view(text))); }
	bool set(OMInt number) override { return setValue(Value::integer(number)); }
	// Keeps the Float type; `setNum` normalises.
	bool set(OMFloat number) override { return setValue(number != number ? Value::nan() : Value::floating(number)); }
	bool set(bool value) override { return setValue(Value::boolean(value)); }
	bool set(const Ref<ArrayContainer> &array) override { return setValue(Value::array(array)); }
	bool set(const Ref<MapContainer> &map) override { return setValue(Value::map(map)); }
	bool set(const Ref<IExpression> &expression) override { return setValue(Value::expression(expression)); }
	bool set(Ref<FunctionSignature> signature, const Ref<IExpression> &expression) override;
	bool setValue(Value value) override;
	bool setDate(int64_t seconds) override { return setValue(Value::date(seconds)); }
	bool setNum(double number) override { return setValue(Value::number(number)); }
	bool setEmptyArray() override { return setValue(Value::emptyArray()); }
	bool setEmptyMap() override { return setValue(Value::emptyMap()); }
	bool setError() override { return setValue(Value::error()); }
	bool setNaN() override { return setValue(Value::nan()); }
	bool setNull() override { return setValue(Value::null()); }
	bool setUndefined() override { return setValue(Value()); }
	bool setTo(const std::shared_ptr<IOMNode> &fromOMNode, size_t cloneNestLevel) override;
	std::shared_ptr<IOMNode> unwrapReturnValue() override;

	// Permission bits of an attribute of a map (MapContainer::PERMISSION_WRITE and others).
	bool setPermissions(const std::string &attribute, uint8_t permissions);

	const Value &getValue() const { return fValue; }
	Value &getValue() { return fValue; }

	// Stores a value in a child as assignments of scripts do: the child becomes a place of its own, and a data structure keeps its links.
	// False and a log line when it is not permitted, the index lies too far out, or this is no container.
	static bool storeIn(const Value &container, const Name &name, Value value);
	static bool storeIn(const Value &container, size_t index, Value value);

protected:
	bool linkChildren(bool isDataStructure) override;

private:
	static bool linkChild(OMStored &owner, Value &place, const std::string &key);
	static void unlinkChild(const OMStored *owner, Value &place);
	void releaseOwnership();
	bool isInsideItself() const;

	Value fValue;
};

inline OMStored &Value::cellNode() const noexcept
{
	return static_cast<OMStored &>(*node());
}
}
