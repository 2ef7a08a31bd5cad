#pragma once

#include "MrvParser/Node/MrvValueList.h"
#include "MrvParser/Reference/MrvEnteredSet.h"
#include "MrvParser/Reference/MrvFunctionPhase.h"
#include "MrvParser/Reference/MrvMatchList.h"
#include "MrvParser/Reference/MrvMatchNode.h"
#include "MrvParser/Reference/MrvReferenceType.h"

#include <memory>
#include <string>
#include <vector>

namespace Mrv
{
class MatchNodeExactMatch;
class MatchNodeFunction;
class OMScope;
class Task;

// One walk of a chain of links over a tree: depth first, each match collected once, in order of discovery. A walk reads, creates what is
// missing on exact names, or assigns to every match while it goes; nothing is taken back when it fails later.
//
// It keeps its own stack, so a tree's depth is no matter of the native one, and it stops after each few children: the caller goes on
// with it (`advance`) when it likes, and runs what can suspend (`call_yielding`). No node is marked or cloned for a walk, and children
// become nodes only when they are entered or kept. A tree may change between two calls.
class ReferenceWalk
{
public:
	// A deeper one is given up, with a log line.
	static constexpr size_t MAX_DEPTH = 10000;

	enum class Outcome : uint8_t
	{
		MORE, // advance again
		CALL, // call, then advance again
		DONE,
	};

	// `value` is what SET assigns. Without a scope no code is run: stored Expressions are given as they are, and functions of the script do
	// nothing.
	ReferenceWalk(std::shared_ptr<const MatchNode> chain, std::shared_ptr<IOMNode> root, std::shared_ptr<OMScope> scope,
	    AccessType accessType, std::shared_ptr<IOMNode> value);

	// Looks at this many children at most.
	Outcome advance(size_t steps);
	// Runs the operation that `advance` has asked for. Yielding.
	void call_yielding(const std::shared_ptr<Task> &task);

	bool isSuccess() const { return fIsSuccess; }
	// Why it failed, for a log line; may be empty.
	const std::string &getReason() const { return fReason; }
	bool hasMatches() const { return !fLinks.front().matches.empty(); }
	// What the matches come to. There must be one.
	std::shared_ptr<IOMNode> getResult(ReferenceType referenceType) const;

private:
	// One link at one node.
	struct Step
	{
		enum class At : uint8_t
		{
			START,
			CHILD,        // at the cursor's child, or at the end
			HERE,         // what lies deeper under the same link is done; the link may end at this child
			NEXT,         // this child is done
			ACCESSED,     // an exact child is known
			IGNORE_KNOWN, // whether a function has its children passed over
			CALCULATE,    // a function has looked below the node
			RESULT_KNOWN, // what a function of the script makes of its matches
			HAND_ON,      // the calculated node is known
			LAST,         // what came last has been started
		};

		const MatchNode *link = nullptr;
		std::shared_ptr<IOMNode> node; // null until somebody asks (nodeAt)
		bool isSameNode = false;       // as that of the step below
		At at = At::START;
		OMType childType = OMType::Undefined;
		uint64_t count = 0;             // levels that the link had taken when it came to the node
		ChildCursor cursor;             // of a link that looks at children
		std::shared_ptr<IOMNode> child; // of an exact link; calculated, of a function
	};
	struct LinkState
	{
		MatchList matches; // of those that collect: the top link and functions
		EnteredSet entered;
		size_t collector = 0;     // the link that keeps what this one finds
		bool isMemorable = false; // entering it once more at the same place finds nothing new
		bool findsOnce = false;   // beside that, each child is found but once
	};
	enum class Call : uint8_t
	{
		NONE,
		ACCESS,
		FUNCTION,
	};

	bool fail(std::string reason);

	// Each does one piece of work at the topmost step. False: the walk has failed.
	bool stepChildren(Step &step);
	bool stepEnd(Step &step);
	bool stepKey(Step &step);
	bool stepKeyKnown(Step &step);
	bool stepFunction(Step &step);
	bool gather(Step &step, const MatchNodeFunction &link);
	bool calculate(Step &step, const MatchNodeFunction &link);
	bool isReadyForKey(Step &step, const MatchNodeExactMatch &link);
	bool accessStored(Step &step, const MatchNodeExactMatch &link);

	void pop();
	bool push(const MatchNode &link, uint64_t count, std::shared_ptr<IOMNode> node, ChildCursor cursor, bool isSameNode);
	bool pushChild(const MatchNode &link, uint64_t count);
	bool pushSame(const MatchNode &link);
	bool mayEnter(Step &step);
	bool isInside(const MatchNode &link, const ChildCursor &cursor) const;

	bool takeChild(Step &step);
	bool takeOwn(Step &step, const char *setText);
	bool assign(IOMNode &omNode, const char *setText);

	const std::shared_ptr<IOMNode> &nodeAt(size_t position);
	// The parent and the key by which the walk came to the node of a step; no parent at the root.
	std::shared_ptr<IOMNode> parentOf(size_t position);
	std::string keyOf(size_t position) const;
	void holdNodes();

	// Whether a reference goes on below values of a type.
	static bool isTraversable(OMType type)
	{
		return type == OMType::Undefined || type == OMType::Null || type == OMType::Array || type == OMType::Map;
	}
	LinkState &stateOf(const MatchNode &link) { return fLinks[link.getDepth()]; }
	void askFunction(const MatchNodeFunction &link, FunctionPhase phase, ValueList arguments);

	const std::shared_ptr<const MatchNode> fChain;
	const std::shared_ptr<OMScope> fScope;
	const AccessType fAccessType;
	const std::shared_ptr<IOMNode> fValue;
	std::vector<LinkState> fLinks; // by depth in the chain
	std::vector<Step> fSteps;
	size_t fHeldSteps = 0; // of them, from the bottom, whose nodes are known
	size_t fBudget = 0;
	bool fIsSuccess = false;
	std::string fReason;

	// The operation that is asked for, and what it gave.
	Call fCall = Call::NONE;
	std::string fCallName;
	Value fCallPhase;
	ValueList fCallArguments;
	bool fIsCallSuccess = false;
	std::shared_ptr<IOMNode> fCallChild;
	Value fCallResult;

	void access_yielding(const std::shared_ptr<Task> &task);
	void function_yielding(const std::shared_ptr<Task> &task);
};
}
