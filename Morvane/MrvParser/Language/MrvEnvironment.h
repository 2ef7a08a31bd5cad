#pragma once

#include "MrvParser/Node/MrvFunctionSignature.h"
#include "MrvParser/Node/MrvMapContainer.h"
#include "MrvParser/Node/MrvValueList.h"

#include <memory>
#include <vector>

namespace Mrv
{
class OMScope;

// Where the names of running code live: a chain of variable stores, innermost first. Scopes are dynamic, so the chain of a call is
// the chain of its callers.
//
// The store of a call starts as an array of slots beside the function's signature and becomes a map when somebody looks at it as
// one (its scope node). The store of any other scope is the map of its OMScope.
//
// To pass over callers quickly, each call carries a Bloom word of the names that are set in it and in the calls around it; a name whose
// bit is missing is looked for in the first environment that is no call. When a name is added behind the back of a running callee, the
// words are no longer trusted (`sNameEpoch`).
class Environment final : public HeapObject
{
public:
	// The environment of a scope node that is no call's; not owned: the node owns its environment.
	Environment(OMScope &scope, Environment *parent);
	// The environment of a call of a function. `this` is LAZY for "the scope of the caller".
	Environment(Environment &caller, const FunctionObject &function, Value thisValue, ValueList &&arguments);
	~Environment() override;

	static void *operator new(size_t size);
	static void operator delete(void *room, size_t size) noexcept;

	Environment *getParent() const { return fParent.get(); }
	bool isCall() const { return fSignature.get() != nullptr; }

	// What a search for a name came to.
	enum class Found : uint8_t
	{
		NO,
		YES,
		OPAQUE, // reached a scope that answers for itself (OMScope::isOpaque): ask that one's node
	};
	struct Variable
	{
		Found found = Found::NO;
		Value *place = nullptr;       // valid until the next change of any variable
		Environment *owner = nullptr; // where it was found
	};

	// Looks a name up along the chain. `guess` remembers the position in the outermost map for next time.
	Variable find(const Name &name, uint32_t &guess);
	Variable find(const Name &name)
	{
		uint32_t guess = 0;
		return find(name, guess);
	}
	// In this environment alone. A LAZY variable comes into being.
	Value *findOwn(const Name &name);

	// The slot of a name that the function with this layout knows, if it is set in this very environment; else null.
	Value *findSlot(uint32_t layoutId, size_t slot)
	{
		if (layoutId == fLayoutId)
		{
			Value &place = fSlots[slot];
			if (!place.isAbsent()) [[likely]]
			{
				return place.kind() == Value::Kind::LAZY ? wakeSlot(slot) : &place;
			}
		}
		return nullptr;
	}

	// Makes a variable in this environment, or finds the one that is there.
	Value &create(const Name &name);
	// Stores where the name is found, else here. False and a log line when writing isn't permitted.
	bool store(const Variable &variable, const Name &name, Value value);

	// The scope node of this environment. A call's variables move into a map on the first call of this.
	std::shared_ptr<OMScope> getScope();
	// The map of a scope's variables, null for a call whose variables are still slots.
	MapContainer *getMap() const;

	const FunctionSignature *getSignature() const { return fSignature.get(); }

private:
	friend class OMScope;

	static uint64_t bloomBit(const Name &name) { return uint64_t{1} << (name.hash >> 58); }
	Value *wakeSlot(size_t slot);
	Value wakeValue(size_t slot);
	void moveToMap();

	static uint32_t sNameEpoch;

	Ref<Environment> fParent;
	Environment *fBase = nullptr; // the first environment outwards that is no call; this one itself if it is none
	uint64_t fBloom = 0;
	static constexpr uint32_t NO_LAYOUT = UINT32_MAX; // what no name's layout is
	uint32_t fLayoutId = NO_LAYOUT;                   // of the slots
	uint32_t fEpoch = 0;
	OMScope *fScope = nullptr; // the node, while it exists; it owns this environment
	Ref<const FunctionSignature> fSignature;
	Ref<MapContainer> fMap;  // the variables of a call once they are a map
	Value *fSlots = nullptr; // the variables of a call until then
	static constexpr size_t INLINE_SLOTS = 8;
	Value fInlineSlots[INLINE_SLOTS];
	std::unique_ptr<Value[]> fHeapSlots;
	ValueList fArguments; // what the call was given
};
}
