#pragma once

#include "MrvParser/Node/MrvMapContainer.h"

#include <string>
#include <vector>

namespace Mrv
{
// Name, parameters and local variables of a function, and the layout of a call's variables that follows from them: slot 0 is
// `this`, slot 1 `arguments`, then the parameters, the `var` names and every other name that the body assigns to.
class FunctionSignature final : public HeapObject
{
public:
	static constexpr size_t THIS_SLOT = 0;
	static constexpr size_t ARGUMENTS_SLOT = 1;
	static constexpr size_t FIRST_PARAMETER_SLOT = 2;
	static constexpr size_t NO_SLOT = static_cast<size_t>(-1);

	FunctionSignature();

	// The first entry is the function's name, possibly empty; the parameters follow. Only the name may be empty.
	bool addParameter(const std::string &parameter);
	// A name that `var` declares in the body; set to Undefined before the body runs.
	bool addLocalVariable(const std::string &localVariable);
	// A name that the body may create: it gets a slot, but isn't there until it is assigned.
	size_t addAssignedName(const Name &name);

	const std::vector<std::string> &getParameterList() const { return fParameterList; }
	const std::string &getFunctionName() const;
	// Sorted.
	std::vector<std::string> getLocalVariables() const;

	// --- The layout

	// Never given twice while the process runs: what tells whether a slot number belongs to this layout.
	uint32_t getLayoutId() const { return fLayoutId; }
	size_t getSlotCount() const { return fSlotNames.size(); }
	// The slot of a name, or NO_SLOT. Of a parameter named twice the later one.
	size_t findSlot(const Name &name) const;
	const Name &getSlotName(size_t slot) const { return fSlotNames[slot]; }
	size_t getParameterCount() const { return fParameterList.empty() ? 0 : fParameterList.size() - 1; }
	// A Bloom word of the names of all slots.
	uint64_t getBloom() const { return fBloom; }
	bool isLocalVariableSlot(size_t slot) const { return fIsLocalVariable[slot]; }

private:
	size_t addSlot(const Name &name);

	std::vector<std::string> fParameterList;
	std::vector<Name> fSlotNames;
	std::vector<bool> fIsLocalVariable;
	MapContainer fSlotsByName; // Int values
	uint32_t fLayoutId;
	uint64_t fBloom = 0;
};

// What a Function value holds: shared by all copies of it.
class FunctionObject final : public HeapObject
{
public:
	FunctionObject(Ref<FunctionSignature> signature, Value body)
	    : HeapObject(Children::SOME),
	      fSignature(std::move(signature)),
	      fBody(std::move(body))
	{
	}

	const Ref<FunctionSignature> fSignature;
	const Value fBody; // an Expression
};

inline FunctionObject *Value::function() const noexcept
{
	return static_cast<FunctionObject *>(object());
}
}
