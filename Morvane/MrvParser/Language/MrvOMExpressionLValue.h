#pragma once

#include "MrvParser/Language/MrvEvaluation.h"
#include "MrvParser/Language/MrvOMExpression.h"
#include "MrvParser/Node/MrvOperators.h"

#include <string>
#include <vector>

namespace Mrv
{
// Anything that names a place: `a`, `a.b`, `a[1]`, `a[i]`, and calls `f(x)`, `a.f(x)`, `(g)(x)`. Each link of a chain has the
// link before it as parent. A link can be read and assigned; one with an argument list is a call, which can't be assigned to.
class OMExpressionLValue : public OMExpression
{
public:
	// The l-value that an operand is, or null.
	static const OMExpressionLValue *fromOperand(const Value &operand)
	{
		return operand.isExpression() && operand.expression()->isLValue() ? static_cast<const OMExpressionLValue *>(operand.expression())
		                                                                  : nullptr;
	}

	const Value &getParent() const { return fParent; }
	bool hasParent() const { return !fParent.isAbsent(); }
	virtual bool isCall() const { return false; }
	// A name without parent and arguments: a variable.
	virtual bool isPlainName() const { return false; }

	// Places that can't be assigned to, known without evaluating anything: calls, and built-in words but for one. The reason is for the
	// log.
	virtual bool refusesAssignment() const { return isCall(); }
	virtual std::string getRefusal() const { return "SANITY_CHECK failed: '! optionalNewValue' evaluates to false"; }

	// Stores a value: parents and index are evaluated once, what is missing on the way is created. The result is the value, or an Error
	// when the place can't take it; nothing has changed then.
	virtual void assign_yielding(Task &task, Value &result, const Value &value, Environment &environment) const;
	// `++` and `--` on the place: the place is found once. An absent place gives an Error and nothing is created.
	virtual void increment_yielding(Task &task, Value &result, UnOp unOp, Environment &environment) const;
	// The same without a frame. False: not possible so; nothing has happened.
	bool canAssignDirect() const { return fIsDirect && !refusesAssignment(); }
	virtual bool assignDirect(Value &result, Value &&value, Environment &environment) const = 0;
	// Whether the place lies in a container that is there: asked before the value is worked out, which may log and must not be done twice.
	bool isWithinReach(Environment &environment) const;
	bool incrementDirect(Value &result, UnOp unOp, Environment &environment) const;
	// The place of a plain name that is there, in a scope where it may simply be written; else null.
	virtual Value *findPlainPlace(Environment &) const { return nullptr; }

	void set_yielding(const std::shared_ptr<Task> &task, bool &success, std::shared_ptr<IOMNode> &value,
	    const std::shared_ptr<OMScope> &scope, ScriptPhase phase) const override;

protected:
	// A place that has been worked out, to be read or written. It holds what the place lies in, never a pointer, so it stays good across
	// a suspension. Containers that an assignment creates on the way hang together among themselves; the first of them is attached
	// to what was there only when the value has been stored, so that a refused assignment changes nothing.
	struct Place
	{
		enum class Kind : uint8_t
		{
			BAD,      // can't be reached; the reason has been logged
			VARIABLE, // `key` in the environment
			CHILD,    // `key` in `container`
			COMPUTED, // no place: `container` is a value that something gave
		};

		Kind kind = Kind::BAD;
		Value container;
		Value key; // a position (Int) or a name (String)

		Kind attachKind = Kind::BAD; // where `created` belongs; BAD: nothing was created
		Value attachContainer;
		Value attachKey;
		Value created;
	};

	explicit OMExpressionLValue(Value parent) : fParent(std::move(parent)) {}

	// Works out the place. With SET, missing parents are created as containers fit for the key below them.
	virtual void locate_yielding(Task &task, Place &place, AccessType accessType, Environment &environment) const = 0;
	// The same without a frame and without creating: false when a parent is missing or can't be looked into so.
	virtual bool locateDirect(Place &place, Environment &environment) const = 0;
	void locateParent_yielding(Task &task, Place &parentPlace, AccessType accessType, Environment &environment) const;
	// The place of a key in what lies at the parent's place; with SET a container is created where there is Undefined or Null.
	Place locateChild(const Place &parentPlace, const Value &key, AccessType accessType, Environment &environment) const;
	Place badPlace() const;
	static Place variablePlace(const Name &name);

	// What lies at the place from here on is what lies there now, unless nothing does.
	static void takeContainer(Place &place, Environment &environment);
	// Reads a place; ABSENT when nothing is there.
	static Value read(const Place &place, Environment &environment);
	// Writes a place. False when it can't be; the reason has been logged and noted.
	bool write(const Place &place, const Value &value, Environment &environment) const;
	static bool writeAt(Place::Kind kind, const Value &container, const Value &key, Value value, Environment &environment);
	// The node at a place, which holds its value from then on; null when nothing is there.
	static std::shared_ptr<IOMNode> nodeAt(const Place &place, Environment &environment);
	// "cannot access identifier" or what fits the class.
	virtual const char *getAccessComplaint() const { return "cannot access identifier"; }
	// Changes what lies at a place by `++` or `--`; gives the value of the operation.
	Value increment(const Place &place, UnOp unOp, Environment &environment) const;

	uint64_t hashParent(NodeWalk &walk) const;
	bool appendParent(std::string &text, NodeWalk &walk) const;

	const Value fParent; // ABSENT: none
};
}
