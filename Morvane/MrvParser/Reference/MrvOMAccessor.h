#pragma once

#include "MrvParser/Node/MrvIOMNode.h"
#include "MrvParser/Reference/MrvReferenceParser.h"
#include "MrvParser/Reference/MrvReferenceType.h"
#include "MrvTask/MrvTask.h"

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
class OMScope;

// The handle by which program code works on a node and on what lies below it. It wraps one node, which may be missing; copies share the
// node. Each operation takes a target: an index, a text, or none for the node itself.
//
// The text of a getter, a setter and of what says "by reference" is a path reference: `main/val1`, `list[3]`, `*.*/$^x$`. The text of
// `accessOMNode` and of the operations "in one step" is a plain key, whatever characters it has: for keys that come from outside, such as
// the names of files or of entries (`ReferenceParser::escapeReference` makes a segment of one).
//
// What ends in `_yielding` may suspend and follows the protocol of YieldingFrame; the accessor must outlive it. Everything else runs to its
// end at once: where code has to run for that (a stored Expression, a scope that answers for itself), in a task of its own, while the
// other active tasks are served.
class OMAccessor
{
public:
	OMAccessor() = default;
	explicit OMAccessor(std::shared_ptr<IOMNode> omNode) : fOMNode(std::move(omNode)) {}

	const std::shared_ptr<IOMNode> &getAccessorNode() const { return fOMNode; }
	void setAccessorNode(std::shared_ptr<IOMNode> omNode) { fOMNode = std::move(omNode); }
	// The scope in which stored Expressions are run; without one they are given as they are.
	bool setAccessorScope(const std::shared_ptr<OMScope> &scope);

	// Equal when the nodes are equal as values, or both missing. Equal accessors have equal hashes.
	bool operator==(const OMAccessor &other) const;
	uint64_t hash() const { return fOMNode ? fOMNode->hash() : 0; }

	// --- Nodes. `omNode` is the child; null with success where there is none. SET stores the node handed in, or, if that is null, finds or
	// makes the child. False, with a log line, when the operation failed.
	bool accessOMNode(AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode);
	bool accessOMNode(AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode);
	bool accessOMNodeReadOnly(size_t index, std::shared_ptr<IOMNode> &omNode) const;
	bool accessOMNodeReadOnly(const std::string &attribute, std::shared_ptr<IOMNode> &omNode) const;

	// By reference. With SET every match takes the value of the node handed in, containers are shared, and missing ones are made on exact
	// names; an accessor without a node gets an Undefined one first. `omNode` is the match, or an array of the matches; without any it is
	// Undefined, or with SET what it was. Success false and a null `omNode` for a text that is no reference and a walk that failed:
	// `reason`, if given, says why.
	void accessOMNode_yielding(const std::shared_ptr<Task> &task, bool &success, AccessType accessType, const std::string &reference,
	    std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType, std::string *reason = nullptr);
	void accessOMNodeReadOnly_yielding(const std::shared_ptr<Task> &task, bool &success, const std::string &reference,
	    std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType) const;
	// One step: the text is an attribute, whatever characters it has.
	void accessOMNode_yielding(
	    const std::shared_ptr<Task> &task, bool &success, AccessType accessType, size_t index, std::shared_ptr<IOMNode> &omNode);
	void accessOMNode_yielding(const std::shared_ptr<Task> &task, bool &success, AccessType accessType, const std::string &attribute,
	    std::shared_ptr<IOMNode> &omNode);
	void accessOMNodeReadOnly_yielding(
	    const std::shared_ptr<Task> &task, bool &success, size_t index, std::shared_ptr<IOMNode> &omNode) const;
	void accessOMNodeReadOnly_yielding(
	    const std::shared_ptr<Task> &task, bool &success, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) const;

	// Reads by reference; null when there is no match. An accessor without a node gets an empty map first.
	void get_yielding(
	    const std::shared_ptr<Task> &task, std::shared_ptr<IOMNode> &omNode, const std::string &reference, ReferenceType referenceType);
	// Assigns by reference. An accessor without a node gets an empty map first.
	void set_yielding(const std::shared_ptr<Task> &task, bool &success, const std::string &reference, std::shared_ptr<IOMNode> &omNode);

	// --- Parsing: see ReferenceParser.
	static std::shared_ptr<MatchNode> parseReference(const std::string &reference) { return ReferenceParser::parseReference(reference); }
	static std::string parseReference(const std::string &reference, std::string::const_iterator &position)
	{
		return ReferenceParser::parseReference(reference, position);
	}
	static std::vector<std::string> parseReferenceSegments(const std::string &reference, std::string::const_iterator &position)
	{
		return ReferenceParser::parseReferenceSegments(reference, position);
	}
	static bool extractRegExpStr(const std::string &segment, uint64_t &minCount, uint64_t &maxCount, std::string &regExp)
	{
		return ReferenceParser::extractRegExpStr(segment, minCount, maxCount, regExp);
	}

	// --- Values. A target that can't be reached gives the value of nothing: false, 0, "", Undefined; -1 as bits. The first group converts,
	// the second answers for its own type only.
	int64_t getAsBits(size_t index) const;
	int64_t getAsBits(const std::string &target) const;
	int64_t getAsBits() const;
	bool getAsBool(size_t index) const { return read(index, &IOMNode::getAsBool, false); }
	bool getAsBool(const std::string &target) const { return read(target, &IOMNode::getAsBool, false); }
	bool getAsBool() const { return readSelf(&IOMNode::getAsBool, false); }
	double getAsNum(size_t index) const { return read(index, &IOMNode::getAsNum, 0.0); }
	double getAsNum(const std::string &target) const { return read(target, &IOMNode::getAsNum, 0.0); }
	// NaN without a node.
	double getAsNum() const { return readSelf(&IOMNode::getAsNum, std::numeric_limits<double>::quiet_NaN()); }
	std::string getAsString(size_t index) const { return read(index, &IOMNode::getAsString, std::string()); }
	std::string getAsString(const std::string &target) const { return read(target, &IOMNode::getAsString, std::string()); }
	std::string getAsString() const { return readSelf(&IOMNode::getAsString, std::string()); }

	bool getBool(size_t index) const { return read(index, &IOMNode::getBool, false); }
	bool getBool(const std::string &target) const { return read(target, &IOMNode::getBool, false); }
	bool getBool() const { return readSelf(&IOMNode::getBool, false); }
	OMFloat getFloat(size_t index) const { return read(index, &IOMNode::getFloat, 0.0); }
	OMFloat getFloat(const std::string &target) const { return read(target, &IOMNode::getFloat, 0.0); }
	OMFloat getFloat() const { return readSelf(&IOMNode::getFloat, 0.0); }
	OMInt getInt(size_t index) const { return read(index, &IOMNode::getInt, OMInt{0}); }
	OMInt getInt(const std::string &target) const { return read(target, &IOMNode::getInt, OMInt{0}); }
	OMInt getInt() const { return readSelf(&IOMNode::getInt, OMInt{0}); }
	std::string getString(size_t index) const { return read(index, &IOMNode::getString, std::string()); }
	std::string getString(const std::string &target) const { return read(target, &IOMNode::getString, std::string()); }
	std::string getString() const { return readSelf(&IOMNode::getString, std::string()); }

	size_t getSize(size_t index) const { return read(index, &IOMNode::getSize, size_t{0}); }
	size_t getSize(const std::string &target) const { return read(target, &IOMNode::getSize, size_t{0}); }
	size_t getSize() const { return readSelf(&IOMNode::getSize, size_t{0}); }
	OMType getType(size_t index) const { return typeOfNode(find(index)); }
	OMType getType(const std::string &target) const { return typeOfNode(find(target)); }
	OMType getType() const { return typeOfNode(fOMNode); }
	// The text of the operator `typeof`; "error" where there is no node.
	std::string typeOf(size_t index) const { return typeTextOf(find(index)); }
	std::string typeOf(const std::string &target) const { return typeTextOf(find(target)); }
	std::string typeOf() const { return typeTextOf(fOMNode); }
	// The literal rendering.
	std::string toString(size_t index) const { return read(index, &IOMNode::toString, std::string()); }
	std::string toString(const std::string &target) const { return read(target, &IOMNode::toString, std::string()); }
	std::string toString() const { return readSelf(&IOMNode::toString, std::string()); }
	// The same of a copy as stored values, so that nodes of other kinds appear with all that they hold.
	std::string stringify(size_t index) const { return stringifyNode(find(index)); }
	std::string stringify(const std::string &target) const { return stringifyNode(find(target)); }
	std::string stringify() const { return stringifyNode(fOMNode); }

	// --- Change. False, with a log line, when it can't be done. With a target, an accessor without a node gets an empty container first
	// (an array for an index, a map for a text), and the target is made if it isn't there.
	bool set(size_t index, const char *value);
	bool set(const std::string &target, const char *value);
	bool set(const char *value);
	bool set(size_t index, const std::string &value);
	bool set(const std::string &target, const std::string &value);
	bool set(const std::string &value);
	// The value is copied first, so that what is stored is not the caller's node.
	bool set(size_t index, const std::shared_ptr<IOMNode> &value);
	bool set(const std::string &target, const std::shared_ptr<IOMNode> &value);
	bool set(const std::shared_ptr<IOMNode> &value);
	// Stores this very node at an index; it comes back changed when another one had to take its place. A text assigns its value, and it
	// comes back as the node that was assigned to. Without a target: as above.
	bool set(size_t index, std::shared_ptr<IOMNode> &value);
	bool set(const std::string &target, std::shared_ptr<IOMNode> &value);
	bool set(std::shared_ptr<IOMNode> &value);
	bool set(size_t index, double value);
	bool set(const std::string &target, double value);
	bool set(double value);
	bool set(size_t index, OMInt value);
	bool set(const std::string &target, OMInt value);
	bool set(OMInt value);
	bool set(size_t index, bool value);
	bool set(const std::string &target, bool value);
	bool set(bool value);

	bool setEmptyArray(size_t index);
	bool setEmptyArray(const std::string &target);
	bool setEmptyArray();
	bool setEmptyMap(size_t index);
	bool setEmptyMap(const std::string &target);
	bool setEmptyMap();
	bool setError(size_t index);
	bool setError(const std::string &target);
	bool setError();
	bool setNaN(size_t index);
	bool setNaN(const std::string &target);
	bool setNaN();
	bool setNull(size_t index);
	bool setNull(const std::string &target);
	bool setNull();
	bool setUndefined(size_t index);
	bool setUndefined(const std::string &target);
	bool setUndefined();

private:
	// The node of a target, null when there is none or it can't be reached.
	std::shared_ptr<IOMNode> find(size_t index) const;
	std::shared_ptr<IOMNode> find(const std::string &target) const;
	// The same, making what isn't there; null when that failed.
	std::shared_ptr<IOMNode> findOrMake(size_t index);
	// Assigns a node by reference. False when it failed; `what` is how the log line names the setter then.
	bool setByReference(const std::string &target, std::shared_ptr<IOMNode> omNode, const char *what);
	bool assignByReference(const std::string &target, std::shared_ptr<IOMNode> &omNode);
	std::shared_ptr<IOMNode> findHere(size_t index) const;
	// A walk from the node. `isMatched`: whether there was a match; `omNode` is as for `accessOMNode_yielding`.
	struct WalkResult
	{
		bool isSuccess = false;
		bool isMatched = false;
		std::string reason;
	};
	void walk_yielding(const std::shared_ptr<Task> &task, WalkResult &walkResult, AccessType accessType, const std::string &reference,
	    std::shared_ptr<IOMNode> &omNode, ReferenceType referenceType) const;
	bool makeMap();
	bool makeArray();

	template <class Target, class Result>
	Result read(const Target &target, Result (IOMNode::*getter)() const, Result nothing) const
	{
		const std::shared_ptr<IOMNode> omNode = find(target);
		return omNode ? ((*omNode).*getter)() : nothing;
	}
	template <class Result>
	Result readSelf(Result (IOMNode::*getter)() const, Result nothing) const
	{
		return fOMNode ? ((*fOMNode).*getter)() : nothing;
	}
	static OMType typeOfNode(const std::shared_ptr<IOMNode> &omNode) { return omNode ? omNode->getType() : OMType::Undefined; }
	static std::string typeTextOf(const std::shared_ptr<IOMNode> &omNode);
	static std::string stringifyNode(const std::shared_ptr<IOMNode> &omNode);

	std::shared_ptr<IOMNode> fOMNode;
	std::shared_ptr<OMScope> fScope;
};

struct OMAccessorHash
{
	size_t operator()(const OMAccessor &accessor) const { return accessor.hash(); }
};
}
