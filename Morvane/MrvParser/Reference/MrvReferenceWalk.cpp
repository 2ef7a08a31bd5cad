// The stack of steps, and what the three kinds of links do. What functions calculate stands in MrvReferenceWalkFunctions.cpp.
//
// A step is one link at one node. A link that looks at children does, for each that matches: itself one level deeper, then the end of the
// link at this child (a match, or the next link there); and after all children, if it may take no level, the same at the node
// itself. The order of matches is what this gives.
#include "MrvParser/Reference/MrvReferenceWalk.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvOMScope.h"
#include "MrvParser/Reference/MrvMatchNodeExactMatch.h"
#include "MrvParser/Reference/MrvMatchNodeFunction.h"
#include "MrvTask/MrvNestingGuard.h"

#include <algorithm>

namespace Mrv
{
namespace
{
const char *const INVALID_PATTERN = "not a valid regular expression";
const char *const NOT_PERMITTED = "not permitted - need PERMISSION_WRITE";

bool hasChildren(OMType type)
{
	return type == OMType::Array || type == OMType::Map;
}

const char *describeType(OMType type)
{
	switch (type)
	{
		case OMType::Undefined:
			return "an undefined value";
		case OMType::Null:
			return "null";
		case OMType::Array:
			return "an array";
		case OMType::Map:
			return "a map";
		case OMType::Bool:
		case OMType::Date:
		case OMType::Int:
		case OMType::Float:
		case OMType::String:
		case OMType::Expression:
		case OMType::Error:
		case OMType::Function:
		case OMType::NaN:
		case OMType::GUID:
			break;
	}
	return "a value that holds no others";
}

MatchList::Content contentFor(const MatchNode &link)
{
	if (link.getKind() != MatchNode::Kind::FUNCTION)
	{
		return MatchList::Content::NODES;
	}
	const auto function = static_cast<const MatchNodeFunction &>(link).getFunction();
	if (function == MatchNodeFunction::Function::COUNT)
	{
		return MatchList::Content::COUNT;
	}
	return function == MatchNodeFunction::Function::NAME ? MatchList::Content::KEYS : MatchList::Content::NODES;
}

// Whether nobody but its place knows a child: then it can't be met under another parent. A container may, as the child of a copy; its own
// node can't.
bool isAlone(const Value *place)
{
	if (!place)
	{
		return false;
	}
	return (!place->isCell() && !place->isNode()) || place->node().use_count() == 1;
}
}

ReferenceWalk::ReferenceWalk(std::shared_ptr<const MatchNode> chain, std::shared_ptr<IOMNode> root, std::shared_ptr<OMScope> scope,
    AccessType accessType, std::shared_ptr<IOMNode> value)
    : fChain(std::move(chain)),
      fScope(std::move(scope)),
      fAccessType(accessType),
      fValue(std::move(value))
{
	std::vector<const MatchNode *> links;
	for (const MatchNode *link = fChain.get(); link; link = link->getNext().get())
	{
		links.push_back(link);
		LinkState state;
		state.collector = 0;
		if (links.size() > 1)
		{
			const MatchNode &parent = *links[links.size() - 2];
			state.collector = parent.getKind() == MatchNode::Kind::FUNCTION ? parent.getDepth() : fLinks.back().collector;
		}
		const bool isCollector = links.size() == 1 || link->getKind() == MatchNode::Kind::FUNCTION;
		state.matches = MatchList(isCollector ? contentFor(*link) : MatchList::Content::NODES);
		fLinks.push_back(std::move(state));
	}
	bool isFunctionBehind = false;
	for (size_t depth = links.size(); depth-- > 0;)
	{
		const MatchNode &link = *links[depth];
		const bool isFixed = link.getMinCount() == link.getMaxCount();
		fLinks[depth].isMemorable = accessType == AccessType::GET && !isFunctionBehind && link.getKind() == MatchNode::Kind::CHILDREN;
		fLinks[depth].findsOnce = fLinks[depth].isMemorable && link.getMinCount() > 0 && (link.isUnlimited() || isFixed);
		isFunctionBehind = isFunctionBehind || link.getKind() == MatchNode::Kind::FUNCTION;
		if (accessType == AccessType::SET && link.getKind() == MatchNode::Kind::FUNCTION &&
		    static_cast<const MatchNodeFunction &>(link).refusesAssignment())
		{
			fail("nothing can be assigned through " + static_cast<const MatchNodeFunction &>(link).getFunctionName() + "()");
			return;
		}
	}
	fSteps.reserve(16);
	fIsSuccess = push(*fChain, 0, root, ChildCursor(), false);
}

bool ReferenceWalk::fail(std::string reason)
{
	fReason = std::move(reason);
	fIsSuccess = false;
	fSteps.clear();
	return false;
}

ReferenceWalk::Outcome ReferenceWalk::advance(size_t steps)
{
	fBudget = steps;
	fCall = Call::NONE;
	bool isGoing = true;
	while (isGoing && !fSteps.empty() && fBudget > 0 && fCall == Call::NONE)
	{
		Step &step = fSteps.back();
		switch (step.link->getKind())
		{
			case MatchNode::Kind::KEY:
				--fBudget;
				isGoing = stepKey(step);
				break;
			case MatchNode::Kind::CHILDREN:
				isGoing = stepChildren(step);
				break;
			case MatchNode::Kind::FUNCTION:
				--fBudget;
				isGoing = stepFunction(step);
				break;
		}
	}
	if (fSteps.empty())
	{
		return Outcome::DONE;
	}
	holdNodes();
	return fCall == Call::NONE ? Outcome::MORE : Outcome::CALL;
}

std::shared_ptr<IOMNode> ReferenceWalk::getResult(ReferenceType referenceType) const
{
	const std::vector<std::shared_ptr<IOMNode>> nodes = fLinks.front().matches.getNodes();
	if (nodes.size() > 1 || referenceType == ReferenceType::OM_REF_SELECTOR_ARRAY)
	{
		return OMStored::factory(nodes);
	}
	return nodes.front();
}

// --- The stack

bool ReferenceWalk::push(const MatchNode &link, uint64_t count, std::shared_ptr<IOMNode> node, ChildCursor cursor, bool isSameNode)
{
	if (!link.isValid())
	{
		return fail(INVALID_PATTERN);
	}
	Step step;
	step.link = &link;
	step.count = count;
	step.node = std::move(node);
	step.isSameNode = isSameNode;
	if (link.getKind() == MatchNode::Kind::CHILDREN)
	{
		if (step.node)
		{
			cursor = ChildCursor(step.node);
		}
		step.cursor = std::move(cursor);
		if (!mayEnter(step))
		{
			return true;
		}
		step.at = Step::At::CHILD;
	}
	if (fSteps.size() == MAX_DEPTH)
	{
		NestingGuard::report("reference");
		return fail("nested too deep");
	}
	fSteps.push_back(std::move(step));
	return true;
}

// Whether a link has anything new to find at a node. What can only repeat itself is left out: each match counts once.
bool ReferenceWalk::mayEnter(Step &step)
{
	const MatchNode &link = *step.link;
	LinkState &state = stateOf(link);
	if (!step.cursor.getContainerIdentity())
	{
		return true;
	}
	if (!state.isMemorable)
	{
		return step.count == 0 || !link.isUnlimited() || !isInside(link, step.cursor);
	}
	// Without a maximum, what has been taken doesn't matter any more once the next level reaches the minimum.
	const uint64_t least = link.getMinCount() > 0 ? link.getMinCount() - 1 : 0;
	if (!state.entered.insert(step.cursor, link.isUnlimited() ? std::min(step.count, least) : step.count))
	{
		// With no level taken, a link that needs none stands for the node itself as well: another one may hold the same children.
		step.cursor = ChildCursor();
		return step.count == 0 && link.getMinCount() == 0;
	}
	return true;
}

// Whether the link is in the middle of this container on the present descent.
bool ReferenceWalk::isInside(const MatchNode &link, const ChildCursor &cursor) const
{
	for (auto step = fSteps.rbegin(); step != fSteps.rend() && step->link == &link; ++step)
	{
		if (step->cursor.getContainerIdentity() == cursor.getContainerIdentity())
		{
			return true;
		}
		if (step->count == 0)
		{
			break;
		}
	}
	return false;
}

// A link at the present child of the topmost step.
bool ReferenceWalk::pushChild(const MatchNode &link, uint64_t count)
{
	if (!link.isValid())
	{
		return fail(INVALID_PATTERN); // also where there is nothing to look at
	}
	Step &step = fSteps.back();
	if (step.child)
	{
		return push(link, count, step.child, ChildCursor(), false);
	}
	const Value *const place = step.cursor.getPlace();
	if (link.getKind() == MatchNode::Kind::CHILDREN && place)
	{
		const Value &value = place->inPlace();
		if (hasChildren(value.type()) && !value.isNode())
		{
			return push(link, count, nullptr, ChildCursor(value), false);
		}
		if (!value.isNode() && (link.getMinCount() > 0 || count > 0))
		{
			return true; // no children, and not to be taken itself
		}
	}
	auto node = step.cursor.getNode();
	return !node || push(link, count, std::move(node), ChildCursor(), false);
}

// A link at the node of the topmost step.
bool ReferenceWalk::pushSame(const MatchNode &link)
{
	return push(link, 0, nodeAt(fSteps.size() - 1), ChildCursor(), true);
}

const std::shared_ptr<IOMNode> &ReferenceWalk::nodeAt(size_t position)
{
	Step &step = fSteps[position];
	if (!step.node && position > 0)
	{
		if (step.isSameNode)
		{
			step.node = nodeAt(position - 1);
		}
		else
		{
			const Step &below = fSteps[position - 1];
			step.node = below.child ? below.child : below.cursor.getNode();
		}
		if (!step.node)
		{
			step.node = OMStored::undefinedFactory(); // it has gone
		}
	}
	return step.node;
}

std::shared_ptr<IOMNode> ReferenceWalk::parentOf(size_t position)
{
	while (position > 0 && fSteps[position].isSameNode)
	{
		--position;
	}
	return position > 0 ? nodeAt(position - 1) : fSteps[0].node->getDataStructureParent();
}

std::string ReferenceWalk::keyOf(size_t position) const
{
	while (position > 0 && fSteps[position].isSameNode)
	{
		--position;
	}
	if (position == 0)
	{
		return fSteps[0].node->getDataStructureKey();
	}
	const Step &below = fSteps[position - 1];
	if (below.link->getKind() == MatchNode::Kind::KEY)
	{
		return static_cast<const MatchNodeExactMatch &>(*below.link).getText();
	}
	ChildCursor::KeyRoom room;
	return below.cursor.isEnd() ? std::string() : std::string(below.cursor.getKey(room));
}

// Before others may change the tree: what lies under a cursor then is no longer what was entered.
void ReferenceWalk::holdNodes()
{
	for (; fHeldSteps < fSteps.size(); ++fHeldSteps)
	{
		nodeAt(fHeldSteps);
	}
}

void ReferenceWalk::pop()
{
	fSteps.pop_back();
	fHeldSteps = std::min(fHeldSteps, fSteps.size());
}

// --- Links that look at children

bool ReferenceWalk::stepChildren(Step &step)
{
	const MatchNode &link = *step.link;
	while (fBudget > 0)
	{
		switch (step.at)
		{
			case Step::At::CHILD:
				--fBudget;
				if (step.cursor.isEnd())
				{
					return stepEnd(step);
				}
				if (!link.isIterMatch(step.cursor))
				{
					step.cursor.next();
					break;
				}
				step.childType = step.cursor.getType();
				step.at = Step::At::HERE;
				if (step.count + 1 < link.getMaxCount() && hasChildren(step.childType))
				{
					return pushChild(link, step.count + 1);
				}
				break;
			case Step::At::HERE:
				step.at = Step::At::NEXT;
				if (link.getMinCount() <= step.count + 1)
				{
					if (!link.getNext())
					{
						if (!takeChild(step))
						{
							return false;
						}
					}
					else if (isTraversable(step.childType))
					{
						return pushChild(*link.getNext(), 0);
					}
				}
				break;
			case Step::At::NEXT:
				step.cursor.next();
				step.at = Step::At::CHILD;
				break;
			case Step::At::LAST:
			case Step::At::START:
			case Step::At::ACCESSED:
			case Step::At::IGNORE_KNOWN:
			case Step::At::CALCULATE:
			case Step::At::RESULT_KNOWN:
			case Step::At::HAND_ON:
				pop();
				return true;
		}
	}
	return true;
}

// After all children: the link may also take no level at all.
bool ReferenceWalk::stepEnd(Step &step)
{
	const MatchNode &link = *step.link;
	if (!link.isValid())
	{
		return fail("the regular expression failed");
	}
	if (link.getMinCount() != 0 || step.count != 0)
	{
		pop();
		return true;
	}
	if (!link.getNext())
	{
		if (!takeOwn(step, "omNode.set(setOMNode)"))
		{
			return false;
		}
		pop();
		return true;
	}
	step.at = Step::At::LAST;
	return !isTraversable(nodeAt(fSteps.size() - 1)->getType()) || pushSame(*link.getNext());
}

// The child at the cursor is a match.
bool ReferenceWalk::takeChild(Step &step)
{
	LinkState &state = stateOf(*step.link);
	MatchList &matches = fLinks[state.collector].matches;
	ChildCursor::KeyRoom room;
	if (state.findsOnce && isAlone(step.cursor.getPlace()))
	{
		matches.addOnce(
		    matches.needsNodes() ? step.cursor.getNode() : nullptr, matches.needsKeys() ? step.cursor.getKey(room) : std::string_view());
		return true;
	}
	const auto child = step.cursor.getNode();
	if (!child)
	{
		return true; // it has gone
	}
	if (fAccessType == AccessType::SET)
	{
		if (step.cursor.isReadOnly())
		{
			return fail(std::string("'") + std::string(step.cursor.getKey(room)) + "' of a node that is for reading only");
		}
		if (!step.cursor.isWritable())
		{
			LOG_ERROR(NOT_PERMITTED);
			return true;
		}
		if (!assign(*child, "childOMNode->set(setOMNode)"))
		{
			return false;
		}
	}
	matches.add(child, matches.needsKeys() && !step.cursor.isEnd() ? step.cursor.getKey(room) : std::string_view());
	return true;
}

// The node of the topmost step is a match.
bool ReferenceWalk::takeOwn(Step &step, const char *setText)
{
	const size_t position = fSteps.size() - 1;
	const std::shared_ptr<IOMNode> &node = nodeAt(position);
	if (fAccessType == AccessType::SET && !assign(*node, setText))
	{
		return false;
	}
	const bool isFunction = step.link->getKind() == MatchNode::Kind::FUNCTION;
	MatchList &matches = isFunction ? stateOf(*step.link).matches : fLinks[stateOf(*step.link).collector].matches;
	matches.add(node, matches.needsKeys() ? keyOf(position) : std::string());
	return true;
}

bool ReferenceWalk::assign(IOMNode &omNode, const char *setText)
{
	if (omNode.set(fValue))
	{
		return true;
	}
	LOG_ERROR(std::string("SANITY_CHECK failed: '") + setText + "' evaluates to false");
	return fail("a node can't be assigned to");
}

// --- Exact links

bool ReferenceWalk::stepKey(Step &step)
{
	const auto &link = static_cast<const MatchNodeExactMatch &>(*step.link);
	if (step.at == Step::At::START)
	{
		if (!isReadyForKey(step, link))
		{
			return false;
		}
		step.at = Step::At::ACCESSED;
		return accessStored(step, link);
	}
	if (step.at == Step::At::ACCESSED)
	{
		if (!fIsCallSuccess && fAccessType != AccessType::GET && link.isIndex())
		{
			return fail("index '" + link.getText() + "' lies too far beyond the end");
		}
		step.child = fIsCallSuccess ? fCallChild : nullptr;
		return stepKeyKnown(step);
	}
	pop();
	return true;
}

// Whether the node can have such a child; a write makes a container of what holds nothing.
bool ReferenceWalk::isReadyForKey(Step &step, const MatchNodeExactMatch &link)
{
	OMType type = step.node->getType();
	if (fAccessType != AccessType::GET && (type == OMType::Undefined || type == OMType::Null))
	{
		if (link.isIndex())
		{
			SANITY_CHECK_AS(step.node->setEmptyArray(), "omNode.setEmptyArray()", return fail("no array can be made"));
			type = OMType::Array;
		}
		else
		{
			SANITY_CHECK_AS(step.node->setEmptyMap(), "omNode.setEmptyMap()", return fail("no map can be made"));
			type = OMType::Map;
		}
	}
	if (type != (link.isIndex() ? OMType::Array : OMType::Map))
	{
		const char *const what = link.isIndex() ? "index " : "name ";
		return fail(what + ("'" + link.getText() + "' in " + describeType(type)));
	}
	return true;
}

// A stored container is looked into at once; anything else, and a child that is code, is asked by a call.
bool ReferenceWalk::accessStored(Step &step, const MatchNodeExactMatch &link)
{
	const auto stored = step.node->getOMStoredPtr();
	const bool isPlain =
	    stored && (stored->getValue().isMap() || stored->getValue().isArray()) && !std::dynamic_pointer_cast<OMScope>(stored);
	if (isPlain && fAccessType == AccessType::GET)
	{
		step.child = link.isIndex() ? stored->OMStored::getOMNode(link.getIndex()) : stored->OMStored::getOMNode(link.getText());
		if (!step.child || step.child->getType() != OMType::Expression || !fScope)
		{
			return stepKeyKnown(step);
		}
		step.child = nullptr;
	}
	fCall = Call::ACCESS;
	fIsCallSuccess = false;
	fCallChild = nullptr;
	return true;
}

bool ReferenceWalk::stepKeyKnown(Step &step)
{
	if (!step.child)
	{
		pop();
		return true;
	}
	const MatchNode *const next = step.link->getNext().get();
	step.at = Step::At::LAST;
	if (next)
	{
		return !isTraversable(step.child->getType()) || pushChild(*next, 0);
	}
	if (fAccessType == AccessType::SET && !assign(*step.child, "childOMNode->set(setOMNode)"))
	{
		return false;
	}
	MatchList &matches = fLinks[stateOf(*step.link).collector].matches;
	matches.add(step.child, static_cast<const MatchNodeExactMatch &>(*step.link).getText());
	return true;
}
}
