#include "MrvParser/Node/MrvFunctionSignature.h"

#include "MrvLogger/MrvChecks.h"

#include <algorithm>

namespace Mrv
{
namespace
{
uint32_t sLastLayoutId = 0;
}

FunctionSignature::FunctionSignature() : HeapObject(Children::NONE), fLayoutId(++sLastLayoutId)
{
	addSlot(Name("this"));
	addSlot(Name("arguments"));
}

size_t FunctionSignature::addSlot(const Name &name)
{
	const size_t slot = fSlotNames.size();
	fSlotNames.push_back(name);
	fIsLocalVariable.push_back(false);
	fBloom |= uint64_t{1} << (name.hash >> 58);
	fSlotsByName.set(name, Value::integer(static_cast<OMInt>(slot)));
	return slot;
}

bool FunctionSignature::addParameter(const std::string &parameter)
{
	SANITY_CHECK_AS(fParameterList.empty() || !parameter.empty(), "fParameterList.empty() || ! parameter.empty()", return false);
	if (!fParameterList.empty())
	{
		const Name name(parameter);
		const bool isHidden = name == fSlotNames[ARGUMENTS_SLOT]; // `arguments` is set last
		addSlot(name);
		if (isHidden)
		{
			fSlotsByName.set(name, Value::integer(ARGUMENTS_SLOT));
		}
	}
	fParameterList.push_back(parameter);
	return true;
}

bool FunctionSignature::addLocalVariable(const std::string &localVariable)
{
	SANITY_CHECK_AS(!localVariable.empty(), "! localVariable.empty()", return false);
	const Name name(localVariable);
	size_t slot = findSlot(name);
	if (slot == NO_SLOT)
	{
		slot = addSlot(name);
	}
	fIsLocalVariable[slot] = true;
	return true;
}

size_t FunctionSignature::addAssignedName(const Name &name)
{
	const size_t slot = findSlot(name);
	return slot != NO_SLOT ? slot : addSlot(name);
}

const std::string &FunctionSignature::getFunctionName() const
{
	static const std::string NO_NAME;
	return fParameterList.empty() ? NO_NAME : fParameterList.front();
}

std::vector<std::string> FunctionSignature::getLocalVariables() const
{
	std::vector<std::string> names;
	for (size_t slot = 0; slot < fSlotNames.size(); ++slot)
	{
		if (fIsLocalVariable[slot])
		{
			names.emplace_back(fSlotNames[slot].view());
		}
	}
	std::sort(names.begin(), names.end());
	return names;
}

size_t FunctionSignature::findSlot(const Name &name) const
{
	const size_t position = fSlotsByName.find(name);
	return position == MapContainer::NOT_FOUND ? NO_SLOT : static_cast<size_t>(fSlotsByName.entries()[position].value.intPayload());
}
}
